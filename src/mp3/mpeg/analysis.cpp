#include "mp3/mpeg/analysis.h"

#include <cmath>

#include "mp3/mpeg/bit_stream.h"

namespace tagvera {

namespace {

// Count and sum of one header field over all frames seen, and whether it ever changed.
struct FieldStats {
    int32_t count = 0;
    int64_t sum = 0;
    int32_t first = 0;
    bool allSame = true;

    void Add(int32_t v) {
        if (count == 0)
            first = v;
        else if (v != first)
            allSame = false;
        ++count;
        sum += v;
    }
    int32_t Mean() const { return count ? static_cast<int32_t>(sum / count) : 0; }
};

// Finds the shortest period (1 to 4 frames) with which a value repeats from the first frame on.
class PeriodDetector {
public:
    static constexpr int kCapacity = 4;

    void Add(int32_t v) {
        if (count_ < kCapacity) first_[count_] = v;
        static_assert(kCapacity == 4, "one test per period below");
        // Once every period is broken nothing more can change (most VBR streams, after a few frames).
        if (!allBroken_) {
            if (first_[0] != v) broken_[0] = true;
            if (first_[count_ & 1] != v) broken_[1] = true;
            if (first_[count_ % 3] != v) broken_[2] = true;
            if (first_[count_ & 3] != v) broken_[3] = true;
            allBroken_ = broken_[0] && broken_[1] && broken_[2] && broken_[3];
        }
        ++count_;
    }
    int Period() const {
        for (int p = 1; p <= kCapacity; ++p)
            if (!broken_[p - 1]) return p;
        return 0;
    }
    int64_t BlockSum() const {
        int64_t sum = 0;
        for (int i = 0; i < Period(); ++i) sum += first_[i];
        return sum;
    }

private:
    int32_t first_[kCapacity] = {};
    bool broken_[kCapacity] = {};
    bool allBroken_ = false;
    uint64_t count_ = 0;
};

void PutLe(uint8_t* at, uint32_t v, int bytes) {
    for (int i = 0; i < bytes; ++i) at[i] = static_cast<uint8_t>(v >> (8 * i));
}

uint16_t Clamp16(int64_t v) { return static_cast<uint16_t>(v < 0 ? 0 : (v > 0xFFFF ? 0xFFFF : v)); }

}  // namespace

std::array<uint8_t, MpegLayer3WaveFormat::kSize> MpegLayer3WaveFormat::ToBytes() const {
    std::array<uint8_t, kSize> b{};
    PutLe(&b[0], wFormatTag, 2);
    PutLe(&b[2], nChannels, 2);
    PutLe(&b[4], nSamplesPerSec, 4);
    PutLe(&b[8], nAvgBytesPerSec, 4);
    PutLe(&b[12], nBlockAlign, 2);
    PutLe(&b[14], wBitsPerSample, 2);
    PutLe(&b[16], cbSize, 2);
    PutLe(&b[18], wID, 2);
    PutLe(&b[20], fdwFlags, 4);
    PutLe(&b[24], nBlockSize, 2);
    PutLe(&b[26], nFramesPerBlock, 2);
    PutLe(&b[28], nCodecDelay, 2);
    return b;
}

int32_t AnalyzeMpegAudio(std::span<const uint8_t> data, MpegLayer3WaveFormat* out, bool fixBlockSize,
                         CMpegHeader* firstHeader) {
    CMpegBitStream stream(data);
    FieldStats channels, sampleRate, bitRate, padding, crc;
    PeriodDetector frameLengths, bitRates;
    int32_t skippedBeforeFirst = -1;

    for (;;) {
        const MpegStatus status = stream.GetFrame();
        if (status == MPEG_ENDOFSTREAM) break;
        if (status != MPEG_FRAME_OK) continue;
        const CMpegHeader& h = stream.Header();
        if (skippedBeforeFirst < 0) {
            skippedBeforeFirst = static_cast<int32_t>(stream.SkippedBits());
            if (firstHeader) *firstHeader = h;
        }
        channels.Add(static_cast<int32_t>(h.channels));
        sampleRate.Add(static_cast<int32_t>(h.sampleRate));
        bitRate.Add(static_cast<int32_t>(h.bitRate));
        padding.Add(static_cast<int32_t>(h.padding));
        crc.Add(h.crcPresent ? 1 : 0);
        frameLengths.Add(static_cast<int32_t>(h.frameBytes()));
        bitRates.Add(static_cast<int32_t>(h.bitRate));
        stream.Skip(h.frameBits);
    }
    if (skippedBeforeFirst < 0) return -1;

    uint32_t flags = 0;
    int64_t blockSize = 1;
    int64_t framesPerBlock = 1;
    // Constant bit rate whose frames alternate padding: the frame length has no short period.
    if (!(bitRate.allSame && !padding.allSame)) {
        blockSize = frameLengths.Period() ? frameLengths.BlockSum() : 1;
        framesPerBlock = frameLengths.Period() ? frameLengths.Period() : 1;
        if (padding.allSame) flags |= padding.Mean() == 1 ? MPEGLAYER3_FLAG_PADDING_ON : MPEGLAYER3_FLAG_PADDING_OFF;
    }
    if (crc.allSame) flags |= crc.Mean() == 1 ? kMpegFlagCrcAlways : kMpegFlagCrcNever;

    int64_t meanBitRate;
    if (bitRates.Period()) {
        meanBitRate = bitRates.BlockSum() / bitRates.Period();
    } else {
        meanBitRate = bitRate.Mean();
        flags |= kMpegFlagVariableBitRate;
    }

    MpegLayer3WaveFormat wf;
    wf.wFormatTag = WAVE_FORMAT_MPEGLAYER3;
    wf.nChannels = Clamp16(channels.Mean());
    wf.nSamplesPerSec = static_cast<uint32_t>(sampleRate.Mean());
    wf.nAvgBytesPerSec = static_cast<uint32_t>(meanBitRate / 8);
    wf.nBlockAlign = 1;
    wf.wBitsPerSample = 0;
    wf.cbSize = 12;
    wf.wID = MPEGLAYER3_ID_MPEG;
    wf.fdwFlags = flags;
    wf.nFramesPerBlock = Clamp16(framesPerBlock);
    wf.nCodecDelay = 0;
    if (blockSize == 1 && fixBlockSize && wf.nSamplesPerSec > 0) {
        const double k = wf.nSamplesPerSec < 24001 ? 72.0 : 144.0;
        blockSize = static_cast<int64_t>(std::trunc(double(meanBitRate) / wf.nSamplesPerSec * k)) * framesPerBlock;
    }
    wf.nBlockSize = Clamp16(blockSize);
    if (out) *out = wf;
    return skippedBeforeFirst;
}

}  // namespace tagvera
