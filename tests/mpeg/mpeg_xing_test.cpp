// Xing headers: reading, building, and the repair worked out from a frame walk.
#include <gtest/gtest.h>

#include "mp3/mpeg/frame_count.h"
#include "mp3/mpeg/scan.h"
#include "mp3/mpeg/xing.h"
#include "mpeg/mpeg_test_support.h"

namespace tagvera {
namespace {

using testing::Append;
using testing::LoadFixture;
using testing::SilentFrames;

uint32_t Be32(std::span<const uint8_t> b, size_t at) {
    return uint32_t(b[at]) << 24 | uint32_t(b[at + 1]) << 16 | uint32_t(b[at + 2]) << 8 | b[at + 3];
}

// A real LAME header's frame count and TOC are the scan's test of each fixture's header kind (a
// writable file with a sound header needs no repair), its byte count the fixtures' mean rates.
// An "Info" header (a constant rate) is covered by the scan's test of each fixture's header kind.
TEST(ParseXingHeader, RefusesShortFramesOtherTagsAndMpeg25) {
    EXPECT_FALSE(HasXingOrInfoTag(LoadFixture("cbr_96k_44k_notag"), 44100, 2));
    std::vector<uint8_t> frame;
    ASSERT_GT(BuildXingFrame(44100, 0, 0, 0, 0xF, 10, 5000, 50, nullptr, &frame, nullptr, nullptr, 0), 0u);
    XingHeader x;
    ASSERT_EQ(ParseXingHeader(frame, 44100, 2, &x), TV_S_OK);
    EXPECT_EQ(ParseXingHeader(std::span(frame).first(36 + 119), 44100, 2, &x), TV_E_FAIL);
    EXPECT_EQ(ParseXingHeader(frame, 44100, 1, &x), TV_E_FAIL);  // looks at 21
    EXPECT_EQ(ParseXingHeader(frame, 11025, 2, &x), TV_E_FAIL);
    frame[36] = 'x';
    EXPECT_EQ(ParseXingHeader(frame, 44100, 2, &x), TV_E_FAIL);
}

TEST(BuildXingFrame, BuildsAFrameThatDecodesAndParsesBack) {
    uint8_t toc[100];
    for (int i = 0; i < 100; ++i) toc[i] = uint8_t(i * 2 + 1);
    std::vector<uint8_t> frame;
    // 32 + 12 + 4 + 4 + 100 = 152 bytes needed: 48 kbit/s (156 bytes) is the first that holds them.
    const uint32_t length = BuildXingFrame(44100, 1, 1, 1, 7, 1234, 567890, 50, toc, &frame, nullptr, nullptr, 0);
    ASSERT_EQ(length, 156u);
    ASSERT_EQ(frame.size(), 156u);
    CMpegHeader h;
    ASSERT_TRUE(h.Decode(Be32(frame, 0)));
    EXPECT_EQ(h.bitRate, 48000u);
    EXPECT_EQ(h.frameBytes(), 156u);
    EXPECT_FALSE(h.crcPresent);
    EXPECT_EQ(h.channelMode, 1u);
    EXPECT_EQ(h.copyright, 1u);
    EXPECT_EQ(h.original, 1u);
    XingHeader x;
    ASSERT_EQ(ParseXingHeader(frame, 44100, 2, &x), TV_S_OK);
    EXPECT_EQ(x.flags, 7u);
    EXPECT_EQ(x.frames, 1234u);
    EXPECT_EQ(x.bytes, 567890u);
    EXPECT_EQ(x.toc[99], 199);
}

TEST(BuildXingFrame, PicksTheSmallestFrameThatHoldsItAndRefusesWhatCannot) {
    std::vector<uint8_t> frame;
    XingHeader x;
    // MPEG-2 mono with a quality: 9 + 12 + 4 + 4 + 100 + 4 = 133 bytes; 72 * kbps / 22.05 >= 133 first at 48k.
    ASSERT_EQ(BuildXingFrame(22050, 3, 0, 0, 0xF, 1, 2, 77, nullptr, &frame, nullptr, nullptr, 0), 156u);
    ASSERT_EQ(ParseXingHeader(frame, 22050, 1, &x), TV_S_OK);
    EXPECT_EQ(x.quality, 77u);
    // MPEG-2 without a quality leaves the TOC out.
    ASSERT_GT(BuildXingFrame(22050, 3, 0, 0, 7, 1, 2, 0, nullptr, &frame, nullptr, nullptr, 14), 0u);
    ASSERT_EQ(ParseXingHeader(frame, 22050, 1, &x), TV_S_OK);
    EXPECT_EQ(x.flags, 3u);
    // Both extra fields: 32 + 12 + 8 + 100 + 4 + 40 = 196 bytes: 64 kbit/s (208 bytes).
    EXPECT_EQ(BuildXingFrame(44100, 0, 0, 0, 0x3F, 1, 2, 50, nullptr, &frame, nullptr, nullptr, 0), 208u);
    EXPECT_EQ(BuildXingFrame(44100, 0, 0, 0, 7, 1, 2, 0, nullptr, &frame, nullptr, nullptr, 9), 417u);
    EXPECT_EQ(BuildXingFrame(11025, 0, 0, 0, 7, 1, 2, 50, nullptr, &frame, nullptr, nullptr, 0), 0u);
    EXPECT_EQ(BuildXingFrame(44000, 0, 0, 0, 7, 1, 2, 50, nullptr, &frame, nullptr, nullptr, 0), 0u);
    EXPECT_EQ(BuildXingFrame(44100, 0, 0, 0, 7, 1, 2, 0, nullptr, &frame, nullptr, nullptr, 1), 0u);  // 104 bytes
    EXPECT_EQ(BuildXingFrame(44100, 0, 0, 0, 7, 1, 2, 0, nullptr, &frame, nullptr, nullptr, 15), 0u);
}

TEST(CountMpegFrames, CountsEveryFrameOfAFixture) {
    const auto bytes = LoadFixture("vbr_noxing_44k_v5");
    MemorySource source(bytes);
    const MpegFrameWalk walk = CountMpegFrames(source, 0, bytes.size());
    const auto report = testing::LoadReport("vbr_noxing_44k_v5");
    EXPECT_TRUE(walk.complete);
    EXPECT_EQ(walk.frames * 1152.0, report.decodedSamples);
    EXPECT_EQ(walk.totalBytes, bytes.size());
    EXPECT_EQ(walk.FrameStart(0), 0u);
    ASSERT_GE(walk.leadingEnds.size(), 2u);
    EXPECT_GT(walk.leadingEnds.back(), kXingRepairMaxLeadingBytes);
    EXPECT_EQ(walk.FrameStart(1), walk.leadingEnds[0]);
}

TEST(CountMpegFrames, KeepsABoundedSampleOfOffsetsForLongStreams) {
    const auto frames = SilentFrames(0xFFFB9440, 384, 20000);  // 7.7 MB of one frame, 20,000 times
    MemorySource source(frames);
    const MpegFrameWalk walk = CountMpegFrames(source, 0, frames.size());
    EXPECT_EQ(walk.frames, 20000u);
    EXPECT_LE(walk.sampledStarts.size(), MpegFrameWalk::kMaxSamples);
    EXPECT_GT(walk.sampleStride, 1u);
    for (uint32_t i : {0u, 1u, 4097u, 12345u, 19999u}) EXPECT_EQ(walk.FrameStart(i), uint64_t(i) * 384) << i;
}

// Applies a repair to a copy of the bytes, as the writer would.
std::vector<uint8_t> Apply(std::vector<uint8_t> bytes, const XingRepair& r) {
    EXPECT_LE(r.offset + r.bytes.size(), bytes.size());
    std::copy(r.bytes.begin(), r.bytes.end(), bytes.begin() + static_cast<ptrdiff_t>(r.offset));
    return bytes;
}

TEST(XingRepair, AVbrFileWithoutHeaderGetsOneInItsFirstFrame) {
    const auto original = LoadFixture("vbr_noxing_44k_v5");
    MemorySource source(original);
    Mp3AudioInfo before;
    ASSERT_EQ(ScanMp3Audio(source, 0, &before, {.fileWritable = true}), TV_S_OK);
    ASSERT_TRUE(before.isVbr);
    ASSERT_TRUE(before.framesCounted);
    ASSERT_TRUE(before.xingRepair);
    const XingRepair& r = *before.xingRepair;
    EXPECT_FALSE(r.patchOnly);
    EXPECT_EQ(r.offset, 4u);  // the first frame keeps its header
    EXPECT_EQ(r.frames, before.frameCount - 1);

    // The writer's test holds the repaired file against the decoder and other readers.
    const auto repaired = Apply(original, r);
    MemorySource fixed(repaired);
    Mp3AudioInfo after;
    ASSERT_EQ(ScanMp3Audio(fixed, 0, &after, {.fileWritable = true}), TV_S_OK);
    EXPECT_FALSE(after.framesCounted);  // the header is trusted now: no walk
    EXPECT_FALSE(after.xingRepair);
    EXPECT_EQ(after.xing.frames, before.frameCount - 1);
    EXPECT_EQ(after.xing.bytes, original.size());
    EXPECT_TRUE(after.xing.tocValid);
    EXPECT_EQ(after.xing.toc[0], 0);
    EXPECT_TRUE(std::is_sorted(after.xing.toc.begin(), after.xing.toc.end()));
}

TEST(XingRepair, AZeroOrAbsurdFrameCountIsCountedAndPatchedInPlace) {
    const auto original = LoadFixture("vbr_xing_44k_v7");
    const size_t countAt = 36 + 8;
    const uint32_t stated = Be32(original, countAt);
    for (const uint8_t fill : {uint8_t(0), uint8_t(0xFF)}) {
        SCOPED_TRACE(int(fill));
        auto bytes = original;
        std::fill(bytes.begin() + countAt, bytes.begin() + countAt + 4, fill);
        MemorySource source(bytes);
        Mp3AudioInfo info;
        ASSERT_EQ(ScanMp3Audio(source, 0, &info, {.fileWritable = true}), TV_S_OK);
        EXPECT_TRUE(info.framesCounted);
        EXPECT_EQ(info.frameCount, stated);
        ASSERT_TRUE(info.xingRepair);
        EXPECT_TRUE(info.xingRepair->patchOnly);
        EXPECT_EQ(info.xingRepair->offset, countAt);
        EXPECT_EQ(Apply(bytes, *info.xingRepair), original);
        // A read-only caller gets the counted figures, since the stated count says nothing.
        Mp3AudioInfo readOnly;
        ASSERT_EQ(ScanMp3Audio(source, 0, &readOnly), TV_S_OK);
        EXPECT_EQ(readOnly.frameCount, stated);
        EXPECT_LT(readOnly.durationMs, 9000u);
        EXPECT_FALSE(readOnly.xingRepair);
    }
}

TEST(XingRepair, AnEmptyTocIsCheckedOnlyWhenTheFileCouldBeCorrected) {
    auto bytes = LoadFixture("vbr_xing_44k_v7");
    const size_t tocAt = 36 + 16;
    std::fill(bytes.begin() + tocAt, bytes.begin() + tocAt + 100, 0);
    MemorySource source(bytes);
    Mp3AudioInfo readOnly;
    ASSERT_EQ(ScanMp3Audio(source, 0, &readOnly), TV_S_OK);
    EXPECT_FALSE(readOnly.framesCounted);
    EXPECT_FALSE(readOnly.xing.tocValid);
    Mp3AudioInfo writable;
    ASSERT_EQ(ScanMp3Audio(source, 0, &writable, {.fileWritable = true}), TV_S_OK);
    EXPECT_TRUE(writable.framesCounted);
    ASSERT_TRUE(writable.xingRepair);
    EXPECT_FALSE(writable.xingRepair->patchOnly);
    const auto repaired = Apply(bytes, *writable.xingRepair);
    MemorySource fixed(repaired);
    Mp3AudioInfo after;
    ASSERT_EQ(ScanMp3Audio(fixed, 0, &after, {.fileWritable = true}), TV_S_OK);
    EXPECT_TRUE(after.xing.tocValid);
    EXPECT_EQ(after.xing.frames, readOnly.xing.frames);
    EXPECT_FALSE(after.xingRepair);
}

// Files a repair must leave alone are the writer's test; a walked header that agrees, the scan's.
// A walk of a stream whose frames end at the given offsets.
MpegFrameWalk WalkEndingAt(std::vector<uint64_t> ends, uint32_t frames) {
    MpegFrameWalk walk;
    walk.complete = true;
    walk.frames = frames;
    walk.totalBytes = ends.back() * frames / ends.size();
    walk.leadingEnds = std::move(ends);
    walk.sampledStarts = {0};
    return walk;
}

TEST(XingRepair, NothingWhenNoLeadingFramesMakeRoom) {
    CMpegHeader first;
    ASSERT_TRUE(first.Decode(0xFFF310C0));  // MPEG-2 Layer III, 8 kbit/s, 22.05 kHz, mono: 26 bytes
    ASSERT_EQ(first.frameBytes(), 26u);
    // The Xing frame takes 130 bytes; frames of 27 bytes never end there, and even the header
    // without TOC (a 52-byte frame) does not fit into the first frame.
    std::vector<uint64_t> ends;
    for (uint64_t end = 27; end <= 27 * 10; end += 27) ends.push_back(end);
    EXPECT_FALSE(PlanXingRepair(WalkEndingAt(ends, 400), 1000, first, nullptr, false));
    // Leading frames beyond 5,000 bytes are never taken over.
    EXPECT_FALSE(PlanXingRepair(WalkEndingAt({6000, 12000}, 400), 1000, first, nullptr, false));
    // An incomplete walk is no basis for a header.
    MpegFrameWalk partial = WalkEndingAt({26, 52, 78, 104, 130, 156}, 400);
    EXPECT_TRUE(PlanXingRepair(partial, 0, first, nullptr, false));
    partial.complete = false;
    EXPECT_FALSE(PlanXingRepair(partial, 0, first, nullptr, false));
}

TEST(XingRepair, TakesWholeFramesWhenTheyEndExactlyWhereTheNewFrameDoes) {
    CMpegHeader first;
    ASSERT_TRUE(first.Decode(0xFFFB20C0));  // 40 kbit/s, 44.1 kHz, mono: 130 bytes
    ASSERT_EQ(first.frameBytes(), 130u);
    // The new frame (137 bytes needed) is a 156-byte 48k frame; two 78-byte frames end there.
    const auto whole = PlanXingRepair(WalkEndingAt({78, 156, 234}, 50), 10, first, nullptr, false);
    ASSERT_TRUE(whole);
    EXPECT_EQ(whole->offset, 10u);
    ASSERT_EQ(whole->bytes.size(), 156u);
    EXPECT_EQ(whole->frames, 48u);
    CMpegHeader h;
    EXPECT_TRUE(h.Decode(Be32(whole->bytes, 0)));
    EXPECT_EQ(h.frameBytes(), 156u);
}

TEST(XingRepair, FallsBackToAHeaderWithoutTocInsideTheFirstFrame) {
    CMpegHeader first;
    ASSERT_TRUE(first.Decode(0xFFFB20C0));  // 130-byte frames: two end at 260, not at 156
    ASSERT_EQ(first.frameBytes(), 130u);
    const auto r = PlanXingRepair(WalkEndingAt({130, 260, 390}, 100), 0, first, nullptr, false);
    ASSERT_TRUE(r);
    EXPECT_EQ(r->offset, 4u);
    EXPECT_EQ(r->bytes.size(), 126u);
    EXPECT_EQ(r->frames, 99u);
    std::vector<uint8_t> frame = {0xFF, 0xFB, 0x20, 0xC0};
    Append(frame, r->bytes);
    frame.resize(21 + 120, 0);  // the parser wants room for every field
    XingHeader x;
    ASSERT_EQ(ParseXingHeader(frame, 44100, 1, &x), TV_S_OK);
    EXPECT_EQ(x.flags, 3u);
    EXPECT_EQ(x.frames, 99u);
    EXPECT_EQ(x.bytes, 100u * 130);
}

}  // namespace
}  // namespace tagvera
