// ScanMp3Audio on real files made by encoders, on damaged input, and on files of any size.
#include <gtest/gtest.h>

#include <random>

#include "base/head_tail_source.h"
#include "tags/id3v1/id3v1_tag.h"
#include "tags/id3v2/tag_reader.h"
#include "mp3/mp3_read_plan.h"
#include "mp3/mpeg/scan.h"
#include "id3v2/tag_builder.h"
#include "mpeg/mpeg_test_support.h"

namespace tagvera {
namespace {

using testing::Append;
using testing::B;
using testing::Bytes;
using testing::Frame23;
using testing::Latin1Text;
using testing::operator+;
using testing::Tag;
using testing::CountingSource;
using testing::LoadFixture;
using testing::LoadReport;
using testing::RepeatedFrameSource;
using testing::SilentFrames;

HRESULT Scan(std::span<const uint8_t> bytes, Mp3AudioInfo* info, uint64_t start = 0) {
    MemorySource source(bytes);
    return ScanMp3Audio(source, start, info);
}

class Mp3Fixture : public ::testing::TestWithParam<std::string> {};

// What the importer's statistics do not show of the fixtures (its own test holds duration, channels,
// sample rate, VBR flag and constant rates against the decoder).
TEST_P(Mp3Fixture, AgreesWithFfmpeg) {
    const std::string name = GetParam();
    const auto report = LoadReport(name);
    const auto bytes = LoadFixture(name);
    Mp3AudioInfo info;
    ASSERT_EQ(Scan(bytes, &info), TV_S_OK);
    EXPECT_EQ(info.waveFormat.nChannels, report.channels);
    EXPECT_EQ(info.firstFrameOffset, 0u);
    if (name.rfind("vbr_", 0) == 0) {
        // ffprobe guesses a VBR stream's rate from its first frames when there is no header; the
        // true mean is the file's bits over its decoded length.
        const double mean = bytes.size() * 8.0 / report.decodedSeconds;
        EXPECT_NEAR(info.bitRate, mean, mean * 0.02);
    } else {
        EXPECT_FALSE(info.framesCounted) << "a constant-rate file is never walked";
    }
}

INSTANTIATE_TEST_SUITE_P(Fixtures, Mp3Fixture, ::testing::ValuesIn(testing::Mp3FixtureNames()),
                         [](const auto& param) { return param.param; });

TEST(ScanMp3Audio, ReadsTheHeaderKindsOfEachFixture) {
    Mp3AudioInfo info;
    const auto xing = LoadFixture("vbr_xing_22k_mono");
    MemorySource xingFile(xing);
    ASSERT_EQ(ScanMp3Audio(xingFile, 0, &info, {.fileWritable = true}), TV_S_OK);
    EXPECT_EQ(info.vbrHeader, VbrHeaderKind::Xing);
    EXPECT_EQ(info.firstHeader.version, kMpeg2);
    // Its low bit rate makes the stated frame count suspicious: the frames are counted, and agree.
    EXPECT_TRUE(info.framesCounted);
    EXPECT_EQ(info.frameCount, info.xing.frames);
    EXPECT_FALSE(info.xingRepair);

    const auto noxing = LoadFixture("vbr_noxing_44k_v5");
    ASSERT_EQ(Scan(noxing, &info), TV_S_OK);
    EXPECT_EQ(info.vbrHeader, VbrHeaderKind::None);
    EXPECT_TRUE(info.framesCounted);
    EXPECT_EQ(info.frameCount * 1152.0, LoadReport("vbr_noxing_44k_v5").decodedSamples);

    const auto info128 = LoadFixture("cbr_128k_44k_stereo");
    ASSERT_EQ(Scan(info128, &info), TV_S_OK);
    EXPECT_EQ(info.vbrHeader, VbrHeaderKind::None);  // "Info" is no VBR header
    EXPECT_EQ(info.audioBytes, info128.size() - info.firstHeader.frameBytes());

    const auto layer1 = LoadFixture("layer1_32k_64k_mono");
    ASSERT_EQ(Scan(layer1, &info), TV_S_OK);
    EXPECT_EQ(info.firstHeader.layer, 1u);
    EXPECT_EQ(info.waveFormat.nBlockSize, 96);
    EXPECT_EQ(info.durationMs, 3000u);
}

TEST(ScanMp3Audio, LeavesALyrics3BlockOutOfTheAudio) {
    const auto bytes = test::ReadAll(testing::Id3DataDir() + "/r_lyrics3v2.mp3");
    Mp3AudioInfo info;
    ASSERT_EQ(Scan(bytes, &info), TV_S_OK);
    const std::string tail(bytes.end() - 128 - 15, bytes.end() - 128);
    ASSERT_EQ(tail.substr(6), "LYRICS200");
    const uint64_t blockSize = std::stoul(tail.substr(0, 6)) + 15;
    // The same file without the block has the same audio.
    std::vector<uint8_t> without(bytes.begin(), bytes.end() - 128 - static_cast<ptrdiff_t>(blockSize));
    Append(without, std::span(bytes).last(128));
    Mp3AudioInfo plain;
    ASSERT_EQ(Scan(without, &plain), TV_S_OK);
    EXPECT_EQ(info.audioBytes, plain.audioBytes);
    EXPECT_EQ(info.durationMs, plain.durationMs);
}

TEST(ScanMp3Audio, SkipsConsecutiveId3v2Tags) {
    const auto audio = LoadFixture("cbr_64k_48k_joint");
    // A v2.3 tag of 30 bytes of body, then a v2.4 tag with a footer and 200 bytes of body.
    const Bytes second = Tag(4, 0x10, Bytes(200, 0));
    const Bytes tags = Tag(3, 0, Bytes(30, 0)) + second + B("3DI") + Bytes(second.begin() + 3, second.begin() + 10);
    const Bytes bytes = tags + audio;
    const uint64_t audioAt = tags.size();
    Mp3AudioInfo info;
    ASSERT_EQ(Scan(bytes, &info), TV_S_OK);
    EXPECT_EQ(info.firstFrameOffset, audioAt);
    // The importer passes the size of the tag it knows; what follows is skipped the same way.
    ASSERT_EQ(Scan(bytes, &info, 40), TV_S_OK);
    EXPECT_EQ(info.firstFrameOffset, audioAt);
    Mp3AudioInfo plain;
    ASSERT_EQ(Scan(audio, &plain), TV_S_OK);
    EXPECT_EQ(info.durationMs, plain.durationMs);
}

TEST(ScanMp3Audio, AnId3v2SizePastTheEndIsSearchedThrough) {
    const Bytes bytes = Tag(3, 0, {}, 0x0FFFFFFF) + LoadFixture("mpeg25_8k_16k_mono");
    Mp3AudioInfo info;
    ASSERT_EQ(Scan(bytes, &info), TV_S_OK);
    EXPECT_EQ(info.firstFrameOffset, 10u);
}

TEST(ScanMp3Audio, FindsAudioAfterGarbageWithinTheSearchLimit) {
    std::mt19937 random(1234);
    std::vector<uint8_t> bytes(20000);
    for (auto& b : bytes) b = uint8_t(random() & 0x7F);  // no sync bytes
    // A sync-like false header that no second header confirms.
    const uint8_t fake[] = {0xFF, 0xFB, 0x90, 0x00};
    std::copy(std::begin(fake), std::end(fake), bytes.begin() + 5000);
    Append(bytes, LoadFixture("cbr_32k_32k_mono"));
    Mp3AudioInfo info;
    ASSERT_EQ(Scan(bytes, &info), TV_S_OK);
    EXPECT_EQ(info.firstFrameOffset, 20000u);
    EXPECT_EQ(info.bitRate, 32000u);
}

TEST(ScanMp3Audio, FailsCleanlyOnWhatIsNoMpegAudio) {
    const Bytes audio = LoadFixture("cbr_32k_32k_mono");
    // Audio past the sync search limit, nothing, zeros, sync bytes, a KorvaMedia file, an ID3v1 tag alone.
    for (const Bytes& bytes : {Bytes(kMp3SyncSearchLimit + 10, 0) + audio, Bytes{}, Bytes(100000, 0),
                               Bytes(100000, 0xFF), B(".KMF") + Bytes(4, 0) + audio, B("TAG") + Bytes(125, 0)}) {
        Mp3AudioInfo info;
        EXPECT_EQ(Scan(bytes, &info), TV_E_FAIL) << bytes.size();
        EXPECT_EQ(info.durationMs, 0u);
        EXPECT_EQ(info.bitRate, 0u);
    }
    // A start offset at or past the end.
    Mp3AudioInfo info;
    EXPECT_EQ(Scan(audio, &info, audio.size()), TV_E_FAIL);
    EXPECT_EQ(Scan(audio, &info, UINT64_MAX), TV_E_FAIL);
    EXPECT_EQ(ScanMp3Audio(*std::make_unique<MemorySource>(audio), 0, nullptr), TV_E_POINTER);
}

// Any cut of any file ending in a clean result is the scan fuzz target's invariant.
TEST(ScanMp3Audio, ATruncatedFileCountsItsFrames) {
    const auto bytes = LoadFixture("vbr_xing_44k_v7");
    Mp3AudioInfo info;
    EXPECT_EQ(Scan(std::span(bytes).first(300), &info), TV_E_FAIL);
    ASSERT_EQ(Scan(std::span(bytes).first(bytes.size() / 2), &info), TV_S_OK);
    // The header still claims the whole file: the bit rate it implies is implausible, so the
    // frames are counted.
    EXPECT_TRUE(info.framesCounted);
    EXPECT_NEAR(info.durationMs, 4000, 100);
}

TEST(ScanMp3Audio, AHugeClaimedFrameNeverReadsPastTheData) {
    // The largest frame there is (Layer II, 384 kbit/s, 32 kHz: 1728 bytes), cut short; only with
    // the next header in place does the first frame count.
    for (size_t keep : {4u, 100u, 1727u, 1728u, 1731u, 1732u, 3455u, 3 * 1728u}) {
        std::vector<uint8_t> bytes = SilentFrames(0xFFFDE800, 1728, 3);
        bytes.resize(keep);
        Mp3AudioInfo info;
        ASSERT_EQ(Scan(bytes, &info), keep < 1732 ? TV_E_FAIL : TV_S_OK) << keep;
        if (keep >= 1732) {
            EXPECT_EQ(info.bitRate, 384000u);
            EXPECT_EQ(info.durationMs, keep * 1000 / 48000) << keep;  // constant rate: bytes over rate
        }
    }
}

// The bytes a scan reads, for a constant-rate file of the given size.
uint64_t BytesReadFor(uint64_t size) {
    RepeatedFrameSource file(SilentFrames(0xFFFB9440, 384, 1), size, true);
    CountingSource counting(file);
    Mp3AudioInfo info;
    EXPECT_EQ(ScanMp3Audio(counting, 0, &info), TV_S_OK);
    EXPECT_EQ(info.bitRate, 128000u);
    EXPECT_NEAR(double(info.durationMs), (size - 128) / 16.0, 1.0);
    return counting.bytesRead;
}

TEST(ScanMp3Audio, ReadsTheSameFewBytesFromAFileOfAnySize) {
    const uint64_t small = BytesReadFor(5u << 20);
    const uint64_t huge = BytesReadFor(uint64_t(4) << 30);
    const uint64_t enormous = BytesReadFor(uint64_t(60) << 30);
    EXPECT_EQ(small, huge);
    EXPECT_EQ(small, enormous);
    EXPECT_LE(small, kMp3AnalysisWindow + 256u);  // the window, the tail, a tag header
}

// What the importer reads of a constant-rate file, tags and all: each byte once, and no more than
// the ID3v2 tag, the analysis window and the file's last bytes (ID3v1 with what may precede it).
TEST(ScanMp3Audio, WithTheTagReadersCostsTheTagsAndTheWindowOnly) {
    for (const size_t tagBytes : {size_t(3000), size_t(40000)}) {
        const Bytes title = Frame23("TIT2", Latin1Text("abc"));
        const Bytes file = Tag(3, 0, title + Bytes(tagBytes - 10 - title.size(), 0)) +
                           SilentFrames(0xFFFB9440, 384, 2500) + B("TAG") + Bytes(125, 0);

        MemorySource memory(file);
        CountingSource counting(memory);
        HeadTailSource probes(counting, kMp3HeadProbe, kMp3TailProbe);
        id3v2::ReadOptions options;
        options.deferPicturesFrom = 16 * 1024;
        const id3v2::FileTags tags = id3v2::ReadFileTags(probes, options);
        ASSERT_EQ(tags.prependedSize, tagBytes);
        Mp3AudioInfo info;
        ASSERT_EQ(ScanMp3Audio(probes, tags.prependedSize, &info), TV_S_OK);
        Id3v1Tag record;
        EXPECT_EQ(ReadId3v1Tag(probes, &record), TV_S_OK);
        EXPECT_EQ(info.bitRate, 128000u);
        EXPECT_LE(counting.bytesRead, tagBytes + kMp3AnalysisWindow + kMp3TailProbe) << tagBytes;
        EXPECT_LE(counting.reads, 5u) << tagBytes;
    }
}

TEST(ScanMp3Audio, ClipsADurationThatDoesNotFit32Bits) {
    // 100 GB at 8 kbit/s (MPEG-2, 16 kHz, 36-byte frames) is about 3.4 years.
    RepeatedFrameSource file(SilentFrames(0xFFF318C0, 36, 1), uint64_t(100) << 30, false);
    Mp3AudioInfo info;
    ASSERT_EQ(ScanMp3Audio(file, 0, &info), TV_S_OK);
    EXPECT_EQ(info.durationMs, UINT32_MAX);
    EXPECT_TRUE(info.durationClipped);
    Mp3AudioInfo normal;
    ASSERT_EQ(Scan(LoadFixture("cbr_32k_32k_mono"), &normal), TV_S_OK);
    EXPECT_FALSE(normal.durationClipped);
}

}  // namespace
}  // namespace tagvera
