// Frame headers, the bit ring and the sync state machine.
#include <gtest/gtest.h>

#include <vector>

#include "mp3/mpeg/bit_stream.h"
#include "mp3/mpeg/header.h"
#include "mpeg/mpeg_test_support.h"

namespace tagvera {
namespace {

using testing::Append;
using testing::SilentFrames;

struct HeaderCase {
    uint32_t header;
    uint32_t version, layer, sampleRate, bitRate, channels, frameBytes, samples;
};

// The kinds a fixture holds (MPEG-1 Layers I to III, MPEG-2.5) are checked against the decoder by
// the fixture tests; these rows are rates and kinds none holds, and padding.
TEST(MpegHeader, DecodesEveryVersionAndLayer) {
    const HeaderCase cases[] = {
        {0xFFFB9200, kMpeg1, 3, 44100, 128000, 2, 418, 1152},
        {0xFFFBE8C0, kMpeg1, 3, 32000, 320000, 1, 1440, 1152},
        {0xFFF380C0, kMpeg2, 3, 22050, 64000, 1, 208, 576},
        {0xFFF71800, kMpeg2, 1, 16000, 32000, 2, 96, 384},
        {0xFFFDE800, kMpeg1, 2, 32000, 384000, 2, 1728, 1152},
    };
    for (const auto& c : cases) {
        CMpegHeader h;
        SCOPED_TRACE(::testing::Message() << std::hex << c.header);
        ASSERT_TRUE(h.Decode(c.header));
        EXPECT_EQ(h.version, c.version);
        EXPECT_EQ(h.layer, c.layer);
        EXPECT_EQ(h.sampleRate, c.sampleRate);
        EXPECT_EQ(h.bitRate, c.bitRate);
        EXPECT_EQ(h.channels, c.channels);
        EXPECT_EQ(h.frameBytes(), c.frameBytes);
        EXPECT_EQ(h.samplesPerFrame, c.samples);
        EXPECT_DOUBLE_EQ(h.frameMs(), c.samples * 1000.0 / c.sampleRate);
    }
}

TEST(MpegHeader, ReadsTheFlagBits) {
    CMpegHeader h;
    // CRC present (protection bit 0), private bit, mode extension 2, copyright, original, emphasis 1.
    ASSERT_TRUE(h.Decode(0xFFFA916D));
    EXPECT_TRUE(h.crcPresent);
    EXPECT_EQ(h.privateBit, 1u);
    EXPECT_EQ(h.channelMode, 1u);
    EXPECT_EQ(h.modeExtension, 2u);
    EXPECT_EQ(h.copyright, 1u);
    EXPECT_EQ(h.original, 1u);
    EXPECT_EQ(h.emphasis, 1u);
}

TEST(MpegHeader, RefusesWhatCannotBeAFrameAndClearsTheFields) {
    const uint32_t bad[] = {
        0xFFFB0000,  // free format: no length
        0xFFFBF000,  // bit-rate index 15
        0xFFFB9C00,  // sample-rate index 3
        0xFFF99000,  // layer 0
        0xFFE79000,  // MPEG-2.5 Layer I
        0xFFE59000,  // MPEG-2.5 Layer II
        0xFFEB9000,  // reserved version bits
        0xFFDB9000,  // a sync bit missing
        0x00000000,
    };
    for (uint32_t v : bad) {
        CMpegHeader h;
        h.Decode(0xFFFB9000);
        EXPECT_FALSE(h.Decode(v)) << std::hex << v;
        EXPECT_FALSE(h.valid);
        EXPECT_EQ(h.frameBits, 0u);
        EXPECT_EQ(h.sampleRate, 0u);
    }
}

TEST(BitStream, ReadsAcrossTheRingEndAndPutsBack) {
    CBitStream ring(16);
    const uint8_t first[12] = {};
    EXPECT_EQ(ring.PutBytes(first, 12), 12u);
    ring.Skip(12 * 8);
    const uint8_t data[] = {0xAB, 0xCD, 0xEF, 0x12, 0x34, 0x56, 0x78, 0x9A};
    EXPECT_EQ(ring.PutBytes(data, 8), 8u);  // wraps after 4 bytes
    EXPECT_EQ(ring.ReadBits(4), 0xAu);
    EXPECT_EQ(ring.ReadBits(32), 0xBCDEF123u);
    ring.Unskip(36);
    EXPECT_EQ(ring.ReadBits(32), 0xABCDEF12u);
    EXPECT_EQ(ring.ReadBits(3), 0x1u);
    EXPECT_EQ(ring.BitsAvailable(), 64u - 35u);
}

TEST(BitStream, TakesOnlyWhatFitsAndNeverReadsPastItsData) {
    CBitStream ring(5);  // rounds up to 8
    const uint8_t data[10] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    EXPECT_EQ(ring.PutBytes(data, 10), 8u);
    EXPECT_EQ(ring.FreeBytes(), 0u);
    ring.Skip(60);
    EXPECT_THROW(ring.ReadBits(5), Error);
    EXPECT_THROW(ring.Skip(5), Error);
    CBitStream capped(1u << 20);
    EXPECT_EQ(capped.CapacityBits(), CBitStream::kMaxCapacity * 8);
}

TEST(BitStream, FillsFromASourceAndMarksItsEnd) {
    std::vector<uint8_t> bytes(5000);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = uint8_t(i);
    MemorySource source(bytes);
    ByteSourceCursor cursor(source, 100, 4100);
    CBitStream ring(2048);
    ring.SetSource(&cursor);
    EXPECT_EQ(ring.FillFromSource(), 2048u);
    EXPECT_FALSE(ring.IsEndOfStream());
    EXPECT_EQ(ring.ReadBits(8), 100u);
    ring.Skip(2047 * 8);
    EXPECT_EQ(ring.FillFromSource(), 1952u);
    EXPECT_TRUE(ring.IsEndOfStream());
}

// Runs GetFrame until the end, returning the byte offsets of the frames found.
std::vector<uint64_t> FrameOffsets(std::span<const uint8_t> bytes, uint32_t ringBytes = 0) {
    MemorySource source(bytes);
    ByteSourceCursor cursor(source, 0, bytes.size());
    CMpegBitStream fromSource(ringBytes ? ringBytes : 2048);
    CMpegBitStream inMemory(bytes);
    CMpegBitStream& s = ringBytes ? fromSource : inMemory;
    if (ringBytes) s.SetSource(&cursor);
    std::vector<uint64_t> offsets;
    for (int guard = 0; guard < 1000000; ++guard) {
        const MpegStatus status = s.GetFrame();
        if (status == MPEG_ENDOFSTREAM) return offsets;
        if (status != MPEG_FRAME_OK) continue;
        offsets.push_back(s.BitsConsumed() / 8);
        s.Skip(s.Header().frameBits);
    }
    ADD_FAILURE() << "the state machine did not end";
    return offsets;
}

TEST(MpegSync, SkipsAHeaderThatNoMatchingHeaderFollows) {
    std::vector<uint8_t> bytes = SilentFrames(0xFFFB9000, 100, 1);  // claims 417 bytes, has 100
    Append(bytes, SilentFrames(0xFFFB9000, 417, 5));
    const auto offsets = FrameOffsets(bytes);
    ASSERT_EQ(offsets.size(), 5u);
    EXPECT_EQ(offsets[0], 100u);
    EXPECT_EQ(offsets[4], 100u + 4 * 417);
}

TEST(MpegSync, FindsFramesThatStartBetweenBytes) {
    const std::vector<uint8_t> aligned = SilentFrames(0xFFFB9440, 384, 4);
    std::vector<uint8_t> shifted(aligned.size() + 1, 0);
    for (size_t i = 0; i < aligned.size(); ++i) {
        shifted[i] |= aligned[i] >> 3;
        shifted[i + 1] |= uint8_t(aligned[i] << 5);
    }
    CMpegBitStream s(shifted);
    ASSERT_EQ(s.GetFrame(), MPEG_FRAME_OK);
    EXPECT_EQ(s.SkippedBits(), 3u);
    EXPECT_EQ(s.Header().frameBytes(), 384u);
}

TEST(MpegSync, LosesSyncOnADifferentStreamAndFindsItAgain) {
    std::vector<uint8_t> bytes = SilentFrames(0xFFFB9000, 417, 12);
    bytes.resize(bytes.size() + 50, 0x55);                 // damage
    Append(bytes, SilentFrames(0xFFFB9440, 384, 12));      // another sample rate
    const auto offsets = FrameOffsets(bytes);
    // Ten frames after each sync are confirmed by their successors; later ones stand on their own,
    // so the last frame before the damage still counts.
    ASSERT_EQ(offsets.size(), 24u);
    EXPECT_EQ(offsets[12], 12u * 417 + 50);
}

TEST(MpegSync, FedFromASourceGivesTheSameFramesAsInMemory) {
    std::vector<uint8_t> bytes(777, 0x13);
    Append(bytes, SilentFrames(0xFFFB9000, 417, 40));
    Append(bytes, SilentFrames(0xFFFB9200, 418, 40));
    EXPECT_EQ(FrameOffsets(bytes, 2048), FrameOffsets(bytes));
    EXPECT_EQ(FrameOffsets(bytes, 2048).size(), 80u);
}

TEST(MpegSync, EndsOnNothingButGarbage) {
    for (size_t size : {0u, 3u, 4u, 100u, 5000u}) {
        std::vector<uint8_t> junk(size, 0xFF);
        EXPECT_TRUE(FrameOffsets(junk).empty()) << size;
        EXPECT_TRUE(FrameOffsets(junk, 2048).empty()) << size;
    }
}

TEST(MpegSync, ATruncatedLastFrameIsNotReported) {
    std::vector<uint8_t> bytes = SilentFrames(0xFFFB9440, 384, 6);
    bytes.resize(bytes.size() - 10);
    EXPECT_EQ(FrameOffsets(bytes).size(), 5u);
}

TEST(MpegFrameReader, CopiesFramesOutAndReportsShortBuffers) {
    const std::vector<uint8_t> bytes = SilentFrames(0xFFFB9440, 384, 3);
    CMpegFrameReader reader(bytes);
    uint8_t small[100];
    uint32_t length = 0;
    EXPECT_EQ(reader.ReadFrame(small, sizeof(small), &length), MPEG_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, 384u);
    std::vector<uint8_t> frame(400);
    EXPECT_EQ(reader.ReadFrame(frame.data(), 400, &length), MPEG_FRAME_OK);
    EXPECT_EQ(frame[1], 0xFB);
    EXPECT_EQ(reader.ReadFrame(nullptr, 0, &length), MPEG_FRAME_OK);
    EXPECT_EQ(reader.ReadFrame(nullptr, 0, &length), MPEG_FRAME_OK);
    EXPECT_FALSE(reader.Finished());
    EXPECT_EQ(reader.ReadFrame(nullptr, 0, &length), MPEG_ENDOFSTREAM);
    EXPECT_TRUE(reader.Finished());
}

}  // namespace
}  // namespace tagvera
