#include "mp3/mpeg/xing.h"

#include <algorithm>
#include <cstring>

#include "base/byte_reader.h"
#include "mp3/mpeg/header.h"

namespace tagvera {

namespace {

bool TagAt(std::span<const uint8_t> frame, size_t offset, const char* tag) {
    return offset + 4 <= frame.size() && std::memcmp(frame.data() + offset, tag, 4) == 0;
}

bool IsMpeg1Rate(uint32_t rate) { return rate == 44100 || rate == 48000 || rate == 32000; }
bool IsMpeg2Rate(uint32_t rate) { return rate == 22050 || rate == 24000 || rate == 16000; }

void PutBe32(std::vector<uint8_t>& out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<uint8_t>(v >> shift));
}

}  // namespace

uint32_t XingOffset(uint32_t sampleRate, uint32_t channels) {
    const bool mpeg1 = sampleRate >= 32000;
    if (mpeg1) return channels == 1 ? 21 : 36;
    return channels == 1 ? 13 : 21;
}

HRESULT ParseXingHeader(std::span<const uint8_t> frame, uint32_t sampleRate, uint32_t channels, XingHeader* out) {
    *out = XingHeader{};
    if (sampleRate < 16000) return TV_E_FAIL;
    const uint32_t offset = XingOffset(sampleRate, channels);
    if (frame.size() < size_t(offset) + 120 || !TagAt(frame, offset, "Xing")) return TV_E_FAIL;
    ByteReader r(frame.subspan(offset + 4));
    XingHeader x;
    x.offset = offset;
    x.flags = r.u32be();
    if (x.flags & kXingFrames) x.frames = r.u32be();
    if (x.flags & kXingBytes) x.bytes = r.u32be();
    if (x.flags & kXingToc) {
        auto toc = r.bytes(100);
        std::copy(toc.begin(), toc.end(), x.toc.begin());
        x.tocValid = std::any_of(toc.begin(), toc.end(), [](uint8_t b) { return b != 0; });
    } else {
        x.tocValid = true;
    }
    if (x.flags & kXingQuality) x.quality = r.u32be();
    *out = x;
    return TV_S_OK;
}

bool HasXingOrInfoTag(std::span<const uint8_t> frame, uint32_t sampleRate, uint32_t channels) {
    const uint32_t offset = XingOffset(sampleRate, channels);
    return TagAt(frame, offset, "Xing") || TagAt(frame, offset, "Info");
}

HRESULT ParseVbriHeader(std::span<const uint8_t> frame, VbriHeader* out) {
    *out = VbriHeader{};
    // "VBRI", version, delay, quality, then bytes and frames.
    if (frame.size() < kVbriOffset + 18 || !TagAt(frame, kVbriOffset, "VBRI")) return TV_E_FAIL;
    ByteReader r(frame.subspan(kVbriOffset + 10));
    out->bytes = r.u32be();
    out->frames = r.u32be();
    return TV_S_OK;
}

uint32_t BuildXingFrame(uint32_t sampleRate, uint32_t channelMode, uint32_t copyright, uint32_t original,
                        uint32_t flags, uint32_t frames, uint32_t bytes, uint32_t quality, const uint8_t* toc,
                        std::vector<uint8_t>* out, const uint8_t* extraA, const uint8_t* extraB,
                        uint32_t bitRateIndex) {
    if (out) out->clear();
    const bool mpeg1 = IsMpeg1Rate(sampleRate);
    if (!mpeg1 && !IsMpeg2Rate(sampleRate)) return 0;
    const uint32_t version = mpeg1 ? kMpeg1 : kMpeg2;
    const bool mono = channelMode == 3;
    const uint32_t sideInfo = mpeg1 ? (mono ? 17 : 32) : (mono ? 9 : 17);
    if (!mpeg1 && quality == 0) flags &= ~uint32_t(kXingToc);

    uint32_t needed = sideInfo + 12;
    if (flags & kXingFrames) needed += 4;
    if (flags & kXingBytes) needed += 4;
    if (flags & kXingToc) needed += 100;
    if (flags & kXingQuality) needed += 4;
    if (flags & kXingExtraA) needed += 20;
    if (flags & kXingExtraB) needed += 20;

    auto frameLength = [&](uint32_t index) -> uint32_t {
        const uint32_t kbps = MpegBitRateKbps(version, 3, index);
        return mpeg1 ? kbps * 144000 / sampleRate : kbps * 144000 / (2 * sampleRate);
    };
    uint32_t index = 0;
    if (quality != 0) {
        for (uint32_t i = 1; i < 15; ++i) {
            if (frameLength(i) >= needed) {
                index = i;
                break;
            }
        }
    } else if (bitRateIndex >= 1 && bitRateIndex < 15 && frameLength(bitRateIndex) >= needed) {
        index = bitRateIndex;
    }
    if (index == 0) return 0;
    const uint32_t length = frameLength(index);
    if (!out) return length;

    uint32_t sampleRateIndex = 0;
    while (MpegSampleRate(version, sampleRateIndex) != sampleRate) ++sampleRateIndex;
    std::vector<uint8_t>& f = *out;
    f.reserve(length);
    f.push_back(0xFF);
    f.push_back(mpeg1 ? 0xFB : 0xF3);
    f.push_back(static_cast<uint8_t>(index * 16 + sampleRateIndex * 4));
    f.push_back(static_cast<uint8_t>((channelMode & 3) * 64 + (copyright & 1) * 8 + (original & 1) * 4));
    f.resize(4 + sideInfo, 0);
    f.insert(f.end(), {'X', 'i', 'n', 'g'});
    PutBe32(f, flags);
    if (flags & kXingFrames) PutBe32(f, frames);
    if (flags & kXingBytes) PutBe32(f, bytes);
    if (flags & kXingToc) {
        if (toc) f.insert(f.end(), toc, toc + 100);
        else f.resize(f.size() + 100, 0);
    }
    if (flags & kXingQuality) PutBe32(f, quality);
    if (flags & kXingExtraA) {
        if (extraA) f.insert(f.end(), extraA, extraA + 20);
        else f.resize(f.size() + 20, 0);
    }
    if (flags & kXingExtraB) {
        if (extraB) f.insert(f.end(), extraB, extraB + 20);
        else f.resize(f.size() + 20, 0);
    }
    f.resize(length, 0);
    return length;
}

}  // namespace tagvera
