// The type-specific data of audio and video streams, as far as the importer reads them: the
// video format (codec, picture size) and the KorvaAudio codec header (versions 4 and 5).
#ifndef TAGVERA_KMEDIA_CODEC_HEADERS_H
#define TAGVERA_KMEDIA_CODEC_HEADERS_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "kmedia/be_writer.h"

namespace tagvera::kmedia {

struct VideoFormat {
    uint32_t size = 26, tag = 0, codec = 0;
    uint16_t width = 0, height = 0, bitCount = 0, padWidth = 0, padHeight = 0;
    uint32_t frameRate = 0;  // 16.16
    std::vector<uint8_t> codecData;

    static VideoFormat Read(std::span<const uint8_t> data);
    void Write(BeWriter& out) const;
    // Bits 12 to 19 of the value at offset 30 of a "KV40" header; 0 when the data is too short.
    uint32_t Kv40SubVersion() const;
};

// What the metadata paths take from a KorvaAudio codec header.
struct KorvaAudioHeader {
    uint16_t version = 0;
    std::string codec;  // version 4: the codec identifier; version 5: the codec FourCC
    uint16_t channels = 0;
    uint16_t flavor = 0;          // version 5: offset 22
    uint32_t channelMask = 0;     // version 5: offset 46, bit 0 = surround

    // Versions other than 4 and 5 give the version alone; a header that runs past its data fails.
    static KorvaAudioHeader Read(std::span<const uint8_t> data);
};

// Writers for test files and the edit engine: a minimal, valid header of each version.
std::vector<uint8_t> MakeKorvaAudio4(std::string_view codec, uint16_t channels);
std::vector<uint8_t> MakeKorvaAudio5(std::string_view codec, uint16_t channels, uint16_t flavor, uint32_t channelMask);

}  // namespace tagvera::kmedia

#endif
