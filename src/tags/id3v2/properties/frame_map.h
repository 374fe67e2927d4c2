// Which ID3v2 frame holds which property: the frame numbers kept in "ID3FrameID", the frame map
// searched in order (first match wins), and the picture types of APIC frames.
#ifndef TAGVERA_TAGS_ID3V2_PROPERTIES_FRAME_MAP_H
#define TAGVERA_TAGS_ID3V2_PROPERTIES_FRAME_MAP_H

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "metaprop/property_catalog.h"

namespace tagvera::id3v2 {

enum class ReadRule : uint8_t {
    NotRead, Text, Year, Genre, Comment, UserText, Lyrics, Url, UserUrl, PeopleList, Picture, Object, CdToc,
};
enum class WriteRule : uint8_t { Text, Url, Picture, Object, CdToc, Gracenote };

struct FrameMapRow {
    const char* frameId;  // v2.3 spelling
    const char* property;
    const char* parent;
    ReadRule read;
    WriteRule write;
    bool create;  // a missing frame is created when the property is written
};

struct PictureTypeRow {
    uint8_t firstType, lastType;
    const char* property;
    const char* parent;
};

inline constexpr const char kFrameIdProperty[] = "ID3FrameID";

// 1..51, or 0 for a frame without a number.
uint32_t FrameNumber(std::string_view frameId);
// The v2.3 id of a frame number, or "" when the number is unknown.
std::string_view FrameIdOfNumber(uint32_t number);

std::span<const FrameMapRow> FrameMap();
// The first row for a frame id whose read rule is not NotRead; null when the frame is not read.
const FrameMapRow* FindReadRow(std::string_view frameId);

std::span<const PictureTypeRow> PictureTypes();
// Row of a picture type 1..20; null for 0 and above 20.
const PictureTypeRow* FindPictureType(uint8_t type);

// The properties the frame map reads or writes and the picture types, for an importer's catalog.
std::vector<CatalogEntry> Id3v2Catalog();

}  // namespace tagvera::id3v2

#endif
