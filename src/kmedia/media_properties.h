// "MDPR": one stream's rates, times, name, MIME type and type-specific data (a codec header, a
// video format or a logical stream record, by MIME type).
#ifndef TAGVERA_KMEDIA_MEDIA_PROPERTIES_H
#define TAGVERA_KMEDIA_MEDIA_PROPERTIES_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "kmedia/km_codes.h"
#include "kmedia/object_header.h"

namespace tagvera::kmedia {

inline constexpr char kFileInfoMimeType[] = "logical-fileinfo";

struct MediaPropertiesObject {
    ObjectHeader header{kIdMediaProperties, 46, 0};
    uint16_t streamNumber = 0;
    uint32_t maxBitRate = 0, avgBitRate = 0;
    uint32_t maxPacketSize = 0, avgPacketSize = 0;
    uint32_t startTimeMs = 0, prerollMs = 0, durationMs = 0;
    std::string streamName;  // at most 255 bytes on disk
    std::string mimeType;    // at most 255 bytes on disk
    std::vector<uint8_t> typeSpecific;

    // A name, MIME type or type-specific block running past the object makes it unreadable.
    static MediaPropertiesObject Read(std::span<const uint8_t> object);
    void Write(BeWriter& out) const;
    uint32_t Size() const;
    // The object as text, a line per field; a logical stream adds its record's streams.
    std::string Describe() const;
    bool IsLogical() const;
    bool IsFileInfo() const;
    bool operator==(const MediaPropertiesObject&) const = default;
};

}  // namespace tagvera::kmedia

#endif
