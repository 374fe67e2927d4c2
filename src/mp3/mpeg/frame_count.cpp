#include "mp3/mpeg/frame_count.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "mp3/mpeg/bit_stream.h"

namespace tagvera {

namespace {
// Frames are at most a few KB, so the ring's size decides only how often it is refilled: a
// small ring makes the walk a system call every few frames.
constexpr uint32_t kFrameCountRing = CBitStream::kMaxCapacity;
}  // namespace

uint64_t MpegFrameWalk::FrameStart(uint32_t index) const {
    if (index == 0 || sampledStarts.empty()) return 0;
    const size_t slot = std::min<size_t>(index / sampleStride, sampledStarts.size() - 1);
    const uint64_t fromIndex = uint64_t(slot) * sampleStride;
    const uint64_t from = sampledStarts[slot];
    // Between two samples, or between the last sample and the end of the last frame.
    const uint64_t toIndex = slot + 1 < sampledStarts.size() ? fromIndex + sampleStride : frames;
    const uint64_t to = slot + 1 < sampledStarts.size() ? sampledStarts[slot + 1] : totalBytes;
    if (toIndex <= fromIndex || to < from) return from;
    return from + (to - from) * std::min<uint64_t>(index - fromIndex, toIndex - fromIndex) / (toIndex - fromIndex);
}

MpegFrameWalk CountMpegFrames(ByteSource& file, uint64_t firstFrameOffset, uint64_t audioEnd) {
    MpegFrameWalk walk;
    ByteSourceCursor cursor(file, firstFrameOffset, audioEnd);
    CMpegFrameReader reader(kFrameCountRing);
    reader.SetSource(&cursor);
    for (;;) {
        const MpegStatus status = reader.GetFrame();
        if (status == MPEG_ENDOFSTREAM) {
            walk.complete = true;
            break;
        }
        if (status != MPEG_FRAME_OK) continue;
        const uint64_t start = reader.BitsConsumed() / 8;
        const uint64_t end = start + reader.Header().frameBytes();
        reader.Skip(reader.Header().frameBits);
        if (walk.frames % walk.sampleStride == 0) {
            if (walk.sampledStarts.size() == MpegFrameWalk::kMaxSamples) {
                // Keep every other sample: half the entries, twice the stride.
                for (size_t i = 0; i < walk.sampledStarts.size() / 2; ++i)
                    walk.sampledStarts[i] = walk.sampledStarts[2 * i];
                walk.sampledStarts.resize(walk.sampledStarts.size() / 2);
                walk.sampleStride *= 2;
            }
            if (walk.frames % walk.sampleStride == 0) walk.sampledStarts.push_back(start);
        }
        if (walk.leadingEnds.empty() || walk.leadingEnds.back() <= kXingRepairMaxLeadingBytes)
            walk.leadingEnds.push_back(end);
        walk.totalBytes = end;
        if (walk.frames == UINT32_MAX) break;  // the count field is 32 bits
        ++walk.frames;
    }
    return walk;
}

namespace {

std::vector<uint8_t> BigEndian32(uint32_t v) {
    return {uint8_t(v >> 24), uint8_t(v >> 16), uint8_t(v >> 8), uint8_t(v)};
}

}  // namespace

std::optional<XingRepair> PlanXingRepair(const MpegFrameWalk& walk, uint64_t firstFrameOffset,
                                         const CMpegHeader& first, const XingHeader* existing, bool patchOnly) {
    if (!walk.complete || walk.frames < 2 || walk.totalBytes == 0 || !first.valid || first.layer != 3 ||
        first.version == kMpeg25)
        return std::nullopt;

    // An existing Xing frame is a tag, not audio: the count it should state leaves it out.
    if (existing) {
        const uint32_t audioFrames = walk.frames - 1;
        if ((existing->flags & kXingFrames) && existing->frames == audioFrames && existing->tocValid)
            return std::nullopt;
        if (patchOnly && existing->tocValid && (existing->flags & kXingFrames)) {
            XingRepair r;
            r.offset = firstFrameOffset + existing->offset + 8;
            r.bytes = BigEndian32(audioFrames);
            r.frames = audioFrames;
            r.patchOnly = true;
            return r;
        }
    }

    const uint32_t count = walk.frames;
    std::array<uint8_t, 100> toc{};
    for (uint32_t i = 0; i < 100; ++i) {
        const uint32_t frame = static_cast<uint32_t>(uint64_t(i) * count / 100);
        const double share = 256.0 * double(walk.FrameStart(frame)) / double(walk.totalBytes);
        toc[i] = static_cast<uint8_t>(std::min(255.0, std::trunc(share)));
    }
    const uint32_t totalBytes = walk.totalBytes > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(walk.totalBytes);
    auto build = [&](uint32_t flags, uint32_t frames, std::vector<uint8_t>* out) {
        return BuildXingFrame(first.sampleRate, first.channelMode, first.copyright, first.original, flags, frames,
                              totalBytes, 50, toc.data(), out, nullptr, nullptr, 0);
    };

    std::vector<uint8_t> frame;
    const uint32_t length = build(kXingFrames | kXingBytes | kXingToc, 0, &frame);
    if (length == 0) return std::nullopt;
    // k: the fewest leading frames that make room for the new frame.
    size_t k = 0;
    while (k < walk.leadingEnds.size() && walk.leadingEnds[k] < length) ++k;
    if (k == walk.leadingEnds.size() || walk.leadingEnds[k] > kXingRepairMaxLeadingBytes) return std::nullopt;
    const uint64_t span = walk.leadingEnds[k];
    const uint32_t taken = static_cast<uint32_t>(k + 1);

    XingRepair r;
    if (taken == 1) {
        // Inside the first frame: its own header stays, the rest becomes the Xing frame.
        r.frames = count - 1;
        build(kXingFrames | kXingBytes | kXingToc, r.frames, &frame);
        frame.resize(span, 0);
        r.offset = firstFrameOffset + 4;
        r.bytes.assign(frame.begin() + 4, frame.end());
        return r;
    }
    if (span == length) {
        r.frames = count - taken;
        build(kXingFrames | kXingBytes | kXingToc, r.frames, &frame);
        r.offset = firstFrameOffset;
        r.bytes = std::move(frame);
        return r;
    }
    // Without the TOC the header may still fit into the first frame.
    const uint32_t smallLength = build(kXingFrames | kXingBytes, count - 1, &frame);
    if (smallLength == 0 || smallLength > first.frameBytes()) return std::nullopt;
    frame.resize(first.frameBytes(), 0);
    r.frames = count - 1;
    r.offset = firstFrameOffset + 4;
    r.bytes.assign(frame.begin() + 4, frame.end());
    return r;
}

}  // namespace tagvera
