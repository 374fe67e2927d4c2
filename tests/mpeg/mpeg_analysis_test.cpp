// The analysis window: means, block layout, padding and CRC flags, VBR detection.
#include <gtest/gtest.h>

#include "mp3/mpeg/analysis.h"
#include "mpeg/mpeg_test_support.h"

namespace tagvera {
namespace {

using testing::Append;
using testing::SilentFrames;

std::vector<uint8_t> Alternating(uint32_t plain, size_t plainBytes, int pairs) {
    std::vector<uint8_t> out;
    for (int i = 0; i < pairs; ++i) {
        Append(out, SilentFrames(plain, plainBytes, 1));
        Append(out, SilentFrames(plain | 0x200, plainBytes + 1, 1));
    }
    return out;
}

TEST(AnalyzeMpegAudio, ConstantRateWithAlternatingPaddingHasTheUnpaddedFrameAsBlock) {
    const auto bytes = Alternating(0xFFFB9000, 417, 20);
    MpegLayer3WaveFormat wf;
    CMpegHeader first;
    ASSERT_EQ(AnalyzeMpegAudio(bytes, &wf, true, &first), 0);
    EXPECT_EQ(wf.wFormatTag, 85);
    EXPECT_EQ(wf.nChannels, 2);
    EXPECT_EQ(wf.nSamplesPerSec, 44100u);
    EXPECT_EQ(wf.nAvgBytesPerSec, 16000u);
    EXPECT_EQ(wf.nBlockSize, 417);
    EXPECT_EQ(wf.nFramesPerBlock, 1);
    EXPECT_EQ(wf.fdwFlags, kMpegFlagCrcNever);  // padding varies: flag 0, and never a CRC
    EXPECT_EQ(wf.cbSize, 12);
    EXPECT_EQ(wf.wID, 1);
    EXPECT_EQ(wf.nBlockAlign, 1);
    EXPECT_EQ(first.frameBytes(), 417u);
    // Without the fix the block size stays 1.
    ASSERT_EQ(AnalyzeMpegAudio(bytes, &wf, false), 0);
    EXPECT_EQ(wf.nBlockSize, 1);
}

TEST(AnalyzeMpegAudio, PaddingAndCrcFlagsFollowTheFrames) {
    const struct {
        std::vector<uint8_t> bytes;
        uint16_t channels, blockSize;
        uint32_t flags;
    } cases[] = {
        {SilentFrames(0xFFFB94C0, 384, 30), 1, 384, MPEGLAYER3_FLAG_PADDING_OFF | kMpegFlagCrcNever},  // 48 kHz mono
        {SilentFrames(0xFFFA9200, 418, 30), 2, 418, MPEGLAYER3_FLAG_PADDING_ON | kMpegFlagCrcAlways},
    };
    for (const auto& c : cases) {
        MpegLayer3WaveFormat wf;
        ASSERT_EQ(AnalyzeMpegAudio(c.bytes, &wf, true), 0);
        EXPECT_EQ(wf.nChannels, c.channels);
        EXPECT_EQ(wf.nBlockSize, c.blockSize);
        EXPECT_EQ(wf.nFramesPerBlock, 1);
        EXPECT_EQ(wf.fdwFlags, c.flags);
    }
}

TEST(AnalyzeMpegAudio, ARepeatingPatternOfRatesIsNotVariable) {
    std::vector<uint8_t> bytes;
    for (int i = 0; i < 15; ++i) {
        Append(bytes, SilentFrames(0xFFFB9440, 384, 1));  // 128k
        Append(bytes, SilentFrames(0xFFFBA440, 480, 1));  // 160k
    }
    MpegLayer3WaveFormat wf;
    ASSERT_EQ(AnalyzeMpegAudio(bytes, &wf, true), 0);
    EXPECT_FALSE(wf.fdwFlags & kMpegFlagVariableBitRate);
    EXPECT_EQ(wf.nAvgBytesPerSec, 144000u / 8);
    EXPECT_EQ(wf.nFramesPerBlock, 2);
    EXPECT_EQ(wf.nBlockSize, 384 + 480);
}

TEST(AnalyzeMpegAudio, RatesWithoutAPeriodAreVariableWithThePlainMean) {
    std::vector<uint8_t> bytes;
    const uint32_t headers[] = {0xFFFB9440, 0xFFFBA440, 0xFFFBB440, 0xFFFB9440, 0xFFFB9440, 0xFFFBB440};
    const size_t lengths[] = {384, 480, 576, 384, 384, 576};
    for (int round = 0; round < 4; ++round)
        for (int i = 0; i < 6; ++i) Append(bytes, SilentFrames(headers[i], lengths[i], 1));
    MpegLayer3WaveFormat wf;
    ASSERT_EQ(AnalyzeMpegAudio(bytes, &wf, true), 0);
    EXPECT_TRUE(wf.fdwFlags & kMpegFlagVariableBitRate);
    EXPECT_EQ(wf.nAvgBytesPerSec, (128000u * 3 + 160000 + 192000 * 2) / 6 / 8);
}

TEST(AnalyzeMpegAudio, ReportsTheBitsBeforeTheFirstFrame) {
    std::vector<uint8_t> bytes(333, 0);
    Append(bytes, SilentFrames(0xFFFB9440, 384, 5));
    MpegLayer3WaveFormat wf;
    EXPECT_EQ(AnalyzeMpegAudio(bytes, &wf, true), 333 * 8);
}

TEST(AnalyzeMpegAudio, NoFramesGiveMinusOne) {
    MpegLayer3WaveFormat wf;
    const std::vector<uint8_t> none;
    EXPECT_EQ(AnalyzeMpegAudio(none, &wf, true), -1);
    const std::vector<uint8_t> zeros(70000, 0);
    EXPECT_EQ(AnalyzeMpegAudio(zeros, &wf, true), -1);
    // One frame alone has no successor to confirm it.
    EXPECT_EQ(AnalyzeMpegAudio(SilentFrames(0xFFFB9440, 384, 1), &wf, true), -1);
}

TEST(AnalyzeMpegAudio, LooksAtTheFirst64KiloBytesOnly) {
    std::vector<uint8_t> bytes = SilentFrames(0xFFFB9440, 384, 170);  // 65,280 bytes at 128k
    Append(bytes, SilentFrames(0xFFFBE440, 960, 100));                 // then 320k
    MpegLayer3WaveFormat wf;
    ASSERT_EQ(AnalyzeMpegAudio(bytes, &wf, true), 0);
    EXPECT_EQ(wf.nAvgBytesPerSec, 16000u);
}

TEST(MpegLayer3WaveFormat, SerializesLittleEndianInWindowsOrder) {
    MpegLayer3WaveFormat wf;
    wf.wFormatTag = 85;
    wf.nChannels = 2;
    wf.nSamplesPerSec = 44100;
    wf.nAvgBytesPerSec = 16000;
    wf.nBlockAlign = 1;
    wf.cbSize = 12;
    wf.wID = 1;
    wf.fdwFlags = 0x122;
    wf.nBlockSize = 417;
    wf.nFramesPerBlock = 1;
    const auto b = wf.ToBytes();
    const uint8_t expect[30] = {85, 0, 2, 0, 0x44, 0xAC, 0, 0, 0x80, 0x3E, 0, 0, 1, 0, 0, 0, 12, 0,
                                1,  0, 0x22, 0x01, 0, 0, 0xA1, 0x01, 1, 0, 0, 0};
    EXPECT_TRUE(std::equal(b.begin(), b.end(), expect));
}

}  // namespace
}  // namespace tagvera
