// Reads a KorvaMedia file's header objects (and, when asked, its index objects) from a byte
// source, never its packets. Every object is checked against the file and its parent, each one
// is read into memory only after its size is known to fit, and the walk is bounded by the file
// header's count and by a fixed cap, so a damaged file ends in an error, never in a loop.
#ifndef TAGVERA_KMEDIA_HEADER_WALK_H
#define TAGVERA_KMEDIA_HEADER_WALK_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/byte_source.h"
#include "kmedia/content.h"
#include "kmedia/data_header.h"
#include "kmedia/file_header.h"
#include "kmedia/index_object.h"
#include "kmedia/media_properties.h"
#include "kmedia/properties.h"

namespace tagvera::kmedia {

// Where each object lies, for reports.
struct ObjectPlace {
    uint64_t offset = 0;
    ObjectHeader header;
};

struct KmHeaders {
    FileHeaderObject fileHeader;
    std::optional<PropertiesObject> properties;
    std::optional<ContentObject> content;
    std::vector<MediaPropertiesObject> streams;
    std::optional<DataHeaderObject> data;
    uint64_t dataOffset = 0;
    std::vector<IndexObject> indexes;
    std::vector<uint64_t> indexOffsets;
    std::vector<ObjectPlace> places;  // every object met, in file order
    // What is wrong but did not stop the walk (an index pointing outside the data, a DATA object
    // that claims more packets than it can hold ...).
    std::vector<std::string> problems;

    // The "logical-fileinfo" stream (of several, the lowest-numbered), or null.
    const MediaPropertiesObject* FileInfo() const;
    // Where that stream's object lies; null without one.
    const ObjectPlace* FileInfoPlace() const;
    // Where the last object met ends (past the file's end when an object claims more than it
    // holds): what lies beyond is not media.
    uint64_t End() const;
};

struct WalkOptions {
    bool readIndexes = false;
};

// Header objects larger than this are refused rather than read.
inline constexpr uint32_t kMaxHeaderObject = 16u << 20;
// More objects than this before "DATA" is not a file this system reads.
inline constexpr size_t kMaxHeaderObjects = 4096;

// Throws Error with the format's code (kKmNotKorvaMedia, kKmFileVersionTooNew, E_FAIL).
KmHeaders ReadKmHeaders(ByteSource& file, const WalkOptions& options = {});

}  // namespace tagvera::kmedia

#endif
