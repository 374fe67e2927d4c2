// The sound track's descriptor: bit rates and channels, and the layouts old muxers wrote.
#include <gtest/gtest.h>

#include "mp4/es_descriptor.h"
#include "mp4_bytes.h"

namespace tagvera::mp4::testing {
namespace {

// AAC LC at 44.1 kHz with the channel configuration given.
Bytes AudioConfig(uint8_t channels) { return {0x12, uint8_t(channels << 3)}; }
Bytes Tagged(uint8_t tag, const Bytes& body) { return Bytes{tag, uint8_t(body.size())} + body; }
const Bytes kSl = Tagged(6, {2});

Bytes Decoder(uint8_t objectType, const Bytes& info, uint8_t declaredInfo) {
    return Tagged(4, Bytes{objectType, 0x15, 0, 0, 0} + U32(128000) + U32(96000) + Bytes{5, declaredInfo} + info);
}
Bytes Es(const Bytes& children) { return Tagged(3, Bytes{0, 1, 0} + children); }

struct Row {
    const char* name;
    Bytes esds;
    uint32_t channels;  // 0: none announced
    bool sl;
};

TEST(EsDescriptor, BitRatesAndChannels) {
    const Row rows[] = {
        {"Stereo", Es(Decoder(0x40, AudioConfig(2), 2) + kSl), 2, false},
        {"ConfigurationSevenIsEight", Es(Decoder(0x40, AudioConfig(7), 2)), 8, false},
        {"NotMpeg4AudioHasNoChannels", Es(Decoder(0x6B, AudioConfig(2), 2)), 0, false},
        {"InfoLengthTwoTooLong", Es(Decoder(0x40, AudioConfig(1), 4)), 1, false},
        {"SlConfigBeforeDecoder", Es(kSl + Decoder(0x40, AudioConfig(2), 2)), 2, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto es = ParseEsDescriptor(row.esds);
        ASSERT_TRUE(es && es->decoder);
        EXPECT_EQ(es->decoder->maxBitrate, 128000u);
        EXPECT_EQ(es->decoder->avgBitrate, 96000u);
        EXPECT_EQ(es->slConfig, row.sl);
        const auto channels = es->decoder->objectType == 0x40 ? ChannelsOfAudioConfig(es->decoder->specificInfo) : std::nullopt;
        EXPECT_EQ(channels.value_or(0), row.channels);
    }
    EXPECT_FALSE(ParseEsDescriptor(Es(Tagged(5, {1, 2, 3}))));  // a tag out of place
}

}  // namespace
}  // namespace tagvera::mp4::testing
