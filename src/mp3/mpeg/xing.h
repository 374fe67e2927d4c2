// The VBR headers an encoder puts into the first frame of an MP3 stream: reading Xing (and
// recognising LAME's "Info" and Fraunhofer's "VBRI"), and building a Xing frame for the repair.
#ifndef TAGVERA_MP3_MPEG_XING_H
#define TAGVERA_MP3_MPEG_XING_H

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "base/error.h"

namespace tagvera {

enum XingFlag : uint32_t {
    kXingFrames = 0x01,
    kXingBytes = 0x02,
    kXingToc = 0x04,
    kXingQuality = 0x08,
    kXingExtraA = 0x10,  // 20 bytes; never set by the scan, written as zeros
    kXingExtraB = 0x20,  // 20 bytes; likewise
};

struct XingHeader {
    uint32_t offset = 0;  // of "Xing" from the frame start
    uint32_t flags = 0;
    uint32_t frames = 0;
    uint32_t bytes = 0;
    uint32_t quality = 0;
    std::array<uint8_t, 100> toc{};
    // Any TOC byte non-zero, or no TOC at all.
    bool tocValid = false;
};

// Where the tag sits in a Layer III frame: after the header and the side information.
// MPEG-1 (sample rate 32 kHz and up) 36 bytes, or 21 in mono; MPEG-2 21, or 13 in mono.
uint32_t XingOffset(uint32_t sampleRate, uint32_t channels);

// Reads a "Xing" header from the first frame's bytes. Only Xing is taken: LAME's "Info" marks a
// constant bit rate and is refused like anything else. E_FAIL for MPEG-2.5 rates (below 16 kHz),
// fewer than offset + 120 bytes, or another tag.
HRESULT ParseXingHeader(std::span<const uint8_t> frame, uint32_t sampleRate, uint32_t channels, XingHeader* out);

// True when the frame carries "Xing" or "Info" at its Xing offset: a tag frame, not audio.
bool HasXingOrInfoTag(std::span<const uint8_t> frame, uint32_t sampleRate, uint32_t channels);

// Fraunhofer's VBR header, always 32 bytes after the 4-byte frame header.
struct VbriHeader {
    uint32_t bytes = 0;
    uint32_t frames = 0;
};
inline constexpr uint32_t kVbriOffset = 36;
HRESULT ParseVbriHeader(std::span<const uint8_t> frame, VbriHeader* out);

// Builds a Layer III frame carrying a Xing header; returns its length, or 0 when the sample rate
// is not an MPEG-1/2 rate or no bit rate gives a frame long enough. With quality 0 the given
// bitRateIndex is used as it stands; otherwise the smallest index whose frame holds the header.
// toc, extraA (20 bytes) and extraB (20 bytes) may be null: zeros are written.
uint32_t BuildXingFrame(uint32_t sampleRate, uint32_t channelMode, uint32_t copyright, uint32_t original,
                        uint32_t flags, uint32_t frames, uint32_t bytes, uint32_t quality, const uint8_t* toc,
                        std::vector<uint8_t>* out, const uint8_t* extraA, const uint8_t* extraB,
                        uint32_t bitRateIndex);

}  // namespace tagvera

#endif
