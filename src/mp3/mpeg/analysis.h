// What a window of MPEG audio frames says about the stream as a whole: channels, sample rate,
// mean bit rate, block layout, padding and CRC habits, and whether the bit rate varies.
#ifndef TAGVERA_MP3_MPEG_ANALYSIS_H
#define TAGVERA_MP3_MPEG_ANALYSIS_H

#include <array>
#include <cstdint>
#include <span>

#include "mp3/mpeg/header.h"

namespace tagvera {

inline constexpr uint16_t WAVE_FORMAT_MPEGLAYER3 = 85;
inline constexpr uint16_t MPEGLAYER3_ID_MPEG = 1;
inline constexpr uint32_t MPEGLAYER3_FLAG_PADDING_ISO = 0;
inline constexpr uint32_t MPEGLAYER3_FLAG_PADDING_ON = 1;
inline constexpr uint32_t MPEGLAYER3_FLAG_PADDING_OFF = 2;
inline constexpr uint32_t kMpegFlagCrcAlways = 0x10;
inline constexpr uint32_t kMpegFlagCrcNever = 0x20;
// The bit rate follows no period of 1 to 4 frames.
inline constexpr uint32_t kMpegFlagVariableBitRate = 0x100;

// The Windows MPEGLAYER3WAVEFORMAT record; the first 18 bytes of its serialized form are the
// WAVEFORMATEX part.
struct MpegLayer3WaveFormat {
    uint16_t wFormatTag = 0;
    uint16_t nChannels = 0;
    uint32_t nSamplesPerSec = 0;
    uint32_t nAvgBytesPerSec = 0;
    uint16_t nBlockAlign = 0;
    uint16_t wBitsPerSample = 0;
    uint16_t cbSize = 0;
    uint16_t wID = 0;
    uint32_t fdwFlags = 0;
    uint16_t nBlockSize = 0;
    uint16_t nFramesPerBlock = 0;
    uint16_t nCodecDelay = 0;

    static constexpr size_t kSize = 30;
    static constexpr size_t kWaveFormatExSize = 18;
    // Little-endian, packed, as the structure is laid out on Windows.
    std::array<uint8_t, kSize> ToBytes() const;
};

// Analyses the frames in data (at most its first 64 KB). With fixBlockSize, a block size of 1 is
// replaced by the Layer III frame size without padding. Returns the bits skipped before the first
// frame, or -1 when there is no frame. firstHeader, when given, receives the first frame's header.
int32_t AnalyzeMpegAudio(std::span<const uint8_t> data, MpegLayer3WaveFormat* out, bool fixBlockSize,
                         CMpegHeader* firstHeader = nullptr);

}  // namespace tagvera

#endif
