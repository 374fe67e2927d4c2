#include "mp3/mpeg/header.h"

namespace tagvera {

namespace {

// Rows: MPEG-1 Layer I, II, III; MPEG-2/2.5 Layer I, Layers II and III.
constexpr uint16_t kBitRates[5][15] = {
    {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
    {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
    {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
};

constexpr uint32_t kSampleRates[3][3] = {
    {44100, 48000, 32000},
    {22050, 24000, 16000},
    {11025, 12000, 8000},
};

constexpr uint32_t kSamplesPerFrame[3][3] = {
    {384, 1152, 1152},
    {384, 1152, 576},
    {384, 1152, 576},
};

// The same lookups at compile time (the frame-length table) and at run time.
constexpr uint32_t BitRateKbpsOf(uint32_t version, uint32_t layer, uint32_t index) {
    if (version > kMpeg25 || layer < 1 || layer > 3 || index > 14) return 0;
    const uint32_t row = version == kMpeg1 ? layer - 1 : (layer == 1 ? 3 : 4);
    return kBitRates[row][index];
}

constexpr uint32_t SampleRateOf(uint32_t version, uint32_t index) {
    return version > kMpeg25 || index > 2 ? 0 : kSampleRates[version][index];
}

constexpr uint32_t SamplesPerFrameOf(uint32_t version, uint32_t layer) {
    return version > kMpeg25 || layer < 1 || layer > 3 ? 0 : kSamplesPerFrame[version][layer - 1];
}

// Frame length in bits for every version, layer, bit-rate index, sample-rate index and padding
// bit: a frame walk decodes a header per frame, and a VBR stream changes it nearly every frame.
constexpr uint32_t FrameBitsOf(uint32_t version, uint32_t layer, uint32_t bri, uint32_t sri, uint32_t padding) {
    const uint32_t sampleRate = SampleRateOf(version, sri);
    const uint32_t bitRate = BitRateKbpsOf(version, layer, bri) * 1000u;
    if (sampleRate == 0 || bitRate == 0) return 0;
    const uint32_t slotBits = layer == 1 ? 32 : 8;
    return ((bitRate / slotBits * SamplesPerFrameOf(version, layer)) / sampleRate + padding) * slotBits;
}

struct FrameBitsTable {
    uint32_t bits[3][4][16][4][2] = {};
    constexpr FrameBitsTable() {
        for (uint32_t v = 0; v < 3; ++v)
            for (uint32_t l = 1; l <= 3; ++l)
                for (uint32_t b = 1; b <= 14; ++b)
                    for (uint32_t s = 0; s <= 2; ++s)
                        for (uint32_t p = 0; p <= 1; ++p) bits[v][l][b][s][p] = FrameBitsOf(v, l, b, s, p);
    }
};

constexpr FrameBitsTable kFrameBits;

}  // namespace

uint32_t MpegBitRateKbps(uint32_t version, uint32_t layer, uint32_t index) { return BitRateKbpsOf(version, layer, index); }
uint32_t MpegSampleRate(uint32_t version, uint32_t index) { return SampleRateOf(version, index); }
uint32_t MpegSamplesPerFrame(uint32_t version, uint32_t layer) { return SamplesPerFrameOf(version, layer); }

bool CMpegHeader::Decode(uint32_t h) {
    // A stream repeats its header from frame to frame: the fields are already these.
    if (valid && h == raw) return true;
    const uint32_t bri = (h >> 12) & 0xF;
    // A VBR stream changes only the bit rate and the padding bit; the other fields stand.
    constexpr uint32_t kRateAndPadding = 0xF200;
    if (!valid || ((h ^ raw) & ~kRateAndPadding) != 0) {
        const uint32_t notMpeg25 = (h >> 20) & 1;
        const uint32_t versionId = (h >> 19) & 1;
        const uint32_t layerField = (h >> 17) & 3;
        const uint32_t sri = (h >> 10) & 3;
        const uint32_t layerNumber = 4 - layerField;
        // MPEG-2.5 exists for Layer III only; version bits 01 are reserved.
        if ((h >> 21) != 0x7FF || layerField == 0 || sri > 2 || (!notMpeg25 && (versionId || layerNumber != 3))) {
            *this = CMpegHeader{};
            return false;
        }
        version = versionId ? kMpeg1 : (notMpeg25 ? kMpeg2 : kMpeg25);
        layer = layerNumber;
        crcPresent = ((h >> 16) & 1) == 0;
        sampleRateIndex = sri;
        privateBit = (h >> 8) & 1;
        channelMode = (h >> 6) & 3;
        modeExtension = (h >> 4) & 3;
        copyright = (h >> 3) & 1;
        original = (h >> 2) & 1;
        emphasis = h & 3;
        channels = channelMode == 3 ? 1 : 2;
        sampleRate = SampleRateOf(version, sri);
        samplesPerFrame = SamplesPerFrameOf(version, layer);
    }
    if (bri < 1 || bri > 14) {
        *this = CMpegHeader{};
        return false;
    }
    raw = h;
    bitRateIndex = bri;
    padding = (h >> 9) & 1;
    bitRate = BitRateKbpsOf(version, layer, bri) * 1000u;
    frameBits = kFrameBits.bits[version][layer][bri][sampleRateIndex][padding];
    valid = true;
    return true;
}

}  // namespace tagvera
