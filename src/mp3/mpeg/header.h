// One 32-bit MPEG audio frame header (MPEG-1, MPEG-2, MPEG-2.5; Layers I, II, III): its fields,
// and the frame length and duration that follow from them.
#ifndef TAGVERA_MP3_MPEG_HEADER_H
#define TAGVERA_MP3_MPEG_HEADER_H

#include <cstdint>

namespace tagvera {

// Sync, version bits, layer and sample-rate index: what stays the same from frame to frame.
inline constexpr uint32_t kMpegStableHeaderMask = 0xFFFE0C00u;

enum MpegVersion : uint32_t { kMpeg1 = 0, kMpeg2 = 1, kMpeg25 = 2 };

class CMpegHeader {
public:
    // Fills the fields from h (bit 31 is the first bit in the file); an invalid header clears them
    // all. Free-format frames (bit-rate index 0) are refused: their length cannot be derived.
    bool Decode(uint32_t h);

    bool valid = false;
    uint32_t raw = 0;
    uint32_t version = kMpeg1;  // kMpeg1, kMpeg2, kMpeg25
    uint32_t layer = 0;         // 1, 2 or 3
    bool crcPresent = false;
    uint32_t bitRateIndex = 0;
    uint32_t sampleRateIndex = 0;
    uint32_t padding = 0;
    uint32_t privateBit = 0;
    uint32_t channelMode = 0;  // 3 = single channel
    uint32_t modeExtension = 0;
    uint32_t copyright = 0;
    uint32_t original = 0;
    uint32_t emphasis = 0;

    uint32_t channels = 0;
    uint32_t sampleRate = 0;       // Hz
    uint32_t bitRate = 0;          // bits per second
    uint32_t samplesPerFrame = 0;
    uint32_t frameBits = 0;        // whole frame, header included

    double frameMs() const { return sampleRate ? samplesPerFrame * 1000.0 / sampleRate : 0; }

    uint32_t frameBytes() const { return frameBits / 8; }
};

// Bit rate in kbit/s for a version, layer (1..3) and index (0..14); 0 for anything else.
uint32_t MpegBitRateKbps(uint32_t version, uint32_t layer, uint32_t index);
// Sample rate in Hz for a version and index (0..2); 0 for anything else.
uint32_t MpegSampleRate(uint32_t version, uint32_t index);
uint32_t MpegSamplesPerFrame(uint32_t version, uint32_t layer);

}  // namespace tagvera

#endif
