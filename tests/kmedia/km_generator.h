// Makes KorvaMedia files from the object writers, for tests: streams of each kind, file-info
// properties, index objects, a jukebox trailer, an ID3v1 tag, a ".KMS" first object and objects
// of unknown versions. Packet payloads are a pattern of their stream, packet and byte numbers,
// so that a copy can be checked byte for byte.
#ifndef TAGVERA_TESTS_KMEDIA_KM_GENERATOR_H
#define TAGVERA_TESTS_KMEDIA_KM_GENERATOR_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "kmedia/content.h"
#include "kmedia/media_properties.h"
#include "kmedia/name_value_property.h"

namespace tagvera::kmedia::testing {

MediaPropertiesObject AudioStream(uint16_t number, uint32_t bitRate, const std::string& codec, uint16_t channels,
                                  int codecVersion = 5, uint16_t flavor = 0, uint32_t channelMask = 0);
MediaPropertiesObject VideoStream(uint16_t number, uint32_t bitRate, const std::string& codec, uint16_t width,
                                  uint16_t height, uint32_t subVersion = 0);
MediaPropertiesObject LosslessStream(uint16_t number);
MediaPropertiesObject FileInfoStream(std::vector<NameValueProperty> properties);
// A logical stream of the given MIME type ("logical-...") over those physical streams.
MediaPropertiesObject LogicalStream(uint16_t number, const std::string& mime, std::vector<uint16_t> physical);

struct KmFileSpec {
    bool streamFileHeader = false;  // ".KMS" first
    ContentObject content;
    std::vector<MediaPropertiesObject> streams;
    uint32_t durationMs = 0;
    uint32_t packetsPerStream = 4;
    uint16_t payloadSize = 20;
    bool withIndex = true;
    // An MDPR of version 1 with a body, before DATA.
    bool unknownVersionObject = false;
    std::optional<std::vector<uint8_t>> trailerBlock;  // needs an ID3v1 tag after it
    std::optional<std::vector<uint8_t>> id3v1;         // 128 bytes
};

std::vector<uint8_t> BuildKmFile(const KmFileSpec& spec);
// The payload byte i of packet k of stream s.
uint8_t PayloadByte(uint16_t stream, uint32_t packet, uint32_t i);
// A 128-byte ID3v1.1 tag.
std::vector<uint8_t> Id3v1Bytes(const std::string& title, const std::string& artist, uint8_t genre, uint8_t track,
                                const std::string& year = "");
// A jukebox block holding Track:Name = title.
std::vector<uint8_t> JukeboxBlock(const std::string& title);
void WriteFile(const std::string& path, const std::vector<uint8_t>& bytes);

}  // namespace tagvera::kmedia::testing

#endif
