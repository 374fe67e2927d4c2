#include "kmedia/codec_headers.h"

#include "base/byte_reader.h"
#include "kmedia/km_codes.h"

namespace tagvera::kmedia {
namespace {

std::string Four(ByteReader& in) { return std::string(in.chars(4)); }

void PutFour(std::vector<uint8_t>& b, size_t at, std::string_view s) {
    for (size_t i = 0; i < 4; ++i) b[at + i] = i < s.size() ? static_cast<uint8_t>(s[i]) : ' ';
}
void Put16(std::vector<uint8_t>& b, size_t at, uint16_t v) {
    b[at] = uint8_t(v >> 8);
    b[at + 1] = uint8_t(v);
}
void Put32(std::vector<uint8_t>& b, size_t at, uint32_t v) {
    Put16(b, at, uint16_t(v >> 16));
    Put16(b, at + 2, uint16_t(v));
}

}  // namespace

VideoFormat VideoFormat::Read(std::span<const uint8_t> data) {
    ByteReader in(data);
    VideoFormat v;
    v.size = in.u32be();
    v.tag = in.u32be();
    v.codec = in.u32be();
    v.width = in.u16be();
    v.height = in.u16be();
    v.bitCount = in.u16be();
    v.padWidth = in.u16be();
    v.padHeight = in.u16be();
    v.frameRate = in.u32be();
    const auto rest = in.bytes(in.remaining());
    v.codecData.assign(rest.begin(), rest.end());
    return v;
}

void VideoFormat::Write(BeWriter& out) const {
    out.u32(static_cast<uint32_t>(26 + codecData.size()));
    out.u32(tag);
    out.u32(codec);
    for (uint16_t x : {width, height, bitCount, padWidth, padHeight}) out.u16(x);
    out.u32(frameRate);
    out.bytes(codecData);
}

uint32_t VideoFormat::Kv40SubVersion() const {
    // Offset 30 of the header is offset 4 of the codec data.
    if (codecData.size() < 8) return 0;
    const uint32_t v = uint32_t(codecData[4]) << 24 | uint32_t(codecData[5]) << 16 | uint32_t(codecData[6]) << 8 |
                       codecData[7];
    return v & 0xFF000;
}

KorvaAudioHeader KorvaAudioHeader::Read(std::span<const uint8_t> data) {
    ByteReader in(data);
    KorvaAudioHeader h;
    in.skip(4);
    h.version = in.u16be();
    if (h.version == 4) {
        in.seek(54);
        h.channels = in.u16be();
        in.seek(61);
        in.u8();
        h.codec = Four(in);
        in.skip(3);
        for (int i = 0; i < 4; ++i) in.skip(in.u8());  // counted strings, each checked
    } else if (h.version == 5) {
        in.seek(22);
        h.flavor = in.u16be();
        in.seek(40);
        const uint16_t subPacketHeight = in.u16be();
        const uint16_t frameSize = in.u16be();
        const uint16_t subPacketSize = in.u16be();
        h.channelMask = in.u32be();
        in.seek(60);
        h.channels = in.u16be();
        in.seek(66);
        h.codec = Four(in);
        in.skip(3);
        if (in.u8() != 0) {
            if (subPacketSize == 0) throw Error(in.failCode(), "interleave pattern with sub-packet size 0");
            in.skip(size_t(frameSize / subPacketSize) * subPacketHeight * 2);
        }
        in.skip(in.u32be());
    }
    return h;
}

std::vector<uint8_t> MakeKorvaAudio4(std::string_view codec, uint16_t channels) {
    std::vector<uint8_t> b(69 + 4, 0);
    PutFour(b, 0, ".ka\xfd");
    Put16(b, 4, 4);
    Put16(b, 54, channels);
    b[56] = 4;
    PutFour(b, 57, "Int4");
    b[61] = 4;
    PutFour(b, 62, codec);
    return b;
}

std::vector<uint8_t> MakeKorvaAudio5(std::string_view codec, uint16_t channels, uint16_t flavor, uint32_t channelMask) {
    std::vector<uint8_t> b(78, 0);
    PutFour(b, 0, ".ka\xfd");
    Put16(b, 4, 5);
    Put16(b, 22, flavor);
    Put16(b, 40, 1);
    Put16(b, 42, 0x100);
    Put16(b, 44, 0x100);
    Put32(b, 46, channelMask);
    Put16(b, 60, channels);
    PutFour(b, 62, "genr");
    PutFour(b, 66, codec);
    return b;  // flag byte 73 = 0, codec data length 0 at 74
}

}  // namespace tagvera::kmedia
