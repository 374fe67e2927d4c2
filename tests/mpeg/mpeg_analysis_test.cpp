// The analysis window: means, block layout, padding and CRC flags, VBR detection.
#include <gtest/gtest.h>

#include "mp3/mpeg/analysis.h"
#include "mpeg/mpeg_test_support.h"

namespace tagvera {
namespace {

using testing::Append;
using testing::SilentFrames;

// The frames (header, length) in turn, the whole pattern repeated.
std::vector<uint8_t> Pattern(std::vector<std::pair<uint32_t, size_t>> frames, int times) {
    std::vector<uint8_t> out;
    for (int i = 0; i < times; ++i)
        for (const auto& [header, length] : frames) Append(out, SilentFrames(header, length, 1));
    return out;
}

TEST(AnalyzeMpegAudio, MeansBlocksAndFlags) {
    // 0xFFFB9440: 128 kbit/s at 48 kHz, 384 bytes; 0xFFFBA440 160k, 480; 0xFFFBB440 192k, 576.
    std::vector<uint8_t> leading(333, 0);
    Append(leading, SilentFrames(0xFFFB9440, 384, 5));
    std::vector<uint8_t> rateChangeAfterTheWindow = SilentFrames(0xFFFB9440, 384, 170);  // 65,280 bytes
    Append(rateChangeAfterTheWindow, SilentFrames(0xFFFBE440, 960, 100));
    const struct {
        const char* what;
        std::vector<uint8_t> bytes;
        int32_t skippedBits;
        uint16_t channels;
        uint32_t sampleRate, avgBytes;
        uint16_t blockSize, framesPerBlock;
        uint32_t flags;
    } cases[] = {
        // Constant rate whose padding varies: the unpadded frame is the block, and no padding flag.
        {"alternating padding", Pattern({{0xFFFB9000, 417}, {0xFFFB9200, 418}}, 20), 0, 2, 44100, 16000, 417, 1,
         kMpegFlagCrcNever},
        {"48 kHz mono", Pattern({{0xFFFB94C0, 384}}, 30), 0, 1, 48000, 16000, 384, 1,
         MPEGLAYER3_FLAG_PADDING_OFF | kMpegFlagCrcNever},
        {"padded, with CRC", Pattern({{0xFFFA9200, 418}}, 30), 0, 2, 44100, 16000, 418, 1,
         MPEGLAYER3_FLAG_PADDING_ON | kMpegFlagCrcAlways},
        // A repeating pattern of rates is a block of frames, not a variable rate.
        {"two rates in turn", Pattern({{0xFFFB9440, 384}, {0xFFFBA440, 480}}, 15), 0, 2, 48000, 144000 / 8, 864, 2,
         MPEGLAYER3_FLAG_PADDING_OFF | kMpegFlagCrcNever},
        {"rates without a period",
         Pattern({{0xFFFB9440, 384}, {0xFFFBA440, 480}, {0xFFFBB440, 576}, {0xFFFB9440, 384}, {0xFFFB9440, 384},
                  {0xFFFBB440, 576}},
                 4),
         0, 2, 48000, (128000 * 3 + 160000 + 192000 * 2) / 6 / 8, 463, 1,
         kMpegFlagVariableBitRate | MPEGLAYER3_FLAG_PADDING_OFF | kMpegFlagCrcNever},
        {"bytes before the first frame", leading, 333 * 8, 2, 48000, 16000, 384, 1,
         MPEGLAYER3_FLAG_PADDING_OFF | kMpegFlagCrcNever},
        {"a rate change past 64 KB", rateChangeAfterTheWindow, 0, 2, 48000, 16000, 384, 1,
         MPEGLAYER3_FLAG_PADDING_OFF | kMpegFlagCrcNever},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        MpegLayer3WaveFormat wf;
        ASSERT_EQ(AnalyzeMpegAudio(c.bytes, &wf, true), c.skippedBits);
        EXPECT_EQ(wf.wFormatTag, 85);
        EXPECT_EQ(wf.nChannels, c.channels);
        EXPECT_EQ(wf.nSamplesPerSec, c.sampleRate);
        EXPECT_EQ(wf.nAvgBytesPerSec, c.avgBytes);
        EXPECT_EQ(wf.nBlockSize, c.blockSize);
        EXPECT_EQ(wf.nFramesPerBlock, c.framesPerBlock);
        EXPECT_EQ(wf.fdwFlags, c.flags);
    }
    // Without the fix a block size that no period gives stays 1; the first header is the first frame's.
    MpegLayer3WaveFormat wf;
    CMpegHeader first;
    ASSERT_EQ(AnalyzeMpegAudio(cases[0].bytes, &wf, false, &first), 0);
    EXPECT_EQ(wf.nBlockSize, 1);
    EXPECT_EQ(first.frameBytes(), 417u);
}

TEST(AnalyzeMpegAudio, NoFramesGiveMinusOne) {
    MpegLayer3WaveFormat wf;
    EXPECT_EQ(AnalyzeMpegAudio({}, &wf, true), -1);
    EXPECT_EQ(AnalyzeMpegAudio(std::vector<uint8_t>(70000, 0), &wf, true), -1);
    // One frame alone has no successor to confirm it.
    EXPECT_EQ(AnalyzeMpegAudio(SilentFrames(0xFFFB9440, 384, 1), &wf, true), -1);
}

TEST(MpegLayer3WaveFormat, SerializesLittleEndianInWindowsOrder) {
    const MpegLayer3WaveFormat wf{.wFormatTag = 85, .nChannels = 2, .nSamplesPerSec = 44100, .nAvgBytesPerSec = 16000,
                                  .nBlockAlign = 1, .cbSize = 12, .wID = 1, .fdwFlags = 0x122, .nBlockSize = 417,
                                  .nFramesPerBlock = 1};
    const auto b = wf.ToBytes();
    const uint8_t expect[30] = {85, 0, 2, 0, 0x44, 0xAC, 0, 0, 0x80, 0x3E, 0, 0, 1, 0, 0, 0, 12, 0,
                                1,  0, 0x22, 0x01, 0, 0, 0xA1, 0x01, 1, 0, 0, 0};
    EXPECT_TRUE(std::equal(b.begin(), b.end(), expect));
}

}  // namespace
}  // namespace tagvera
