// The read rules: one frame (normalised v2.3 form) to the property it stands for, as plain data,
// so that the rules can be tested without a tree.
#ifndef TAGVERA_TAGS_ID3V2_PROPERTIES_READ_RULES_H
#define TAGVERA_TAGS_ID3V2_PROPERTIES_READ_RULES_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tags/id3v2/fields.h"
#include "tags/id3v2/tag.h"

namespace tagvera::id3v2 {

struct ChildSpec {
    std::string name;
    uint32_t type = 0;
    uint32_t flags = 0;
    std::vector<uint8_t> value;
};

struct PropertySpec {
    std::string parent;  // may hold ':' ("Credits:Studio" from a TXXX description)
    std::string name;
    uint32_t type = 0;
    std::optional<std::vector<uint8_t>> value;
    std::vector<ChildSpec> children;  // "ID3FrameID" comes last
    uint32_t frameNumber = 0;

    std::string path() const { return parent + ":" + name; }
    const ChildSpec* child(const std::string& childName) const;
};

// The property a frame is read as; nothing for frames that are not read (no map row, an empty
// text, a year of 0, a picture type above 20, fields that do not decode).
std::optional<PropertySpec> ReadFrameProperty(const id3v2::Frame& frame);
// The same for a frame whose fields are known (NormalizedFrames::fields), without decoding it.
std::optional<PropertySpec> ReadFrameProperty(const id3v2::Frame& frame, const id3v2::Fields& fields);

// The bytes a reference property read from frame stands for: picture or object data, or the
// text of a long comment or of lyrics with its terminator. Throws Error for other frames.
std::vector<uint8_t> FrameReferenceData(const id3v2::Frame& frame);

// The "CD TOC" value of an MCDI frame's data, or nothing.
std::optional<std::string> CdTocValue(const std::vector<uint8_t>& data);

}  // namespace tagvera::id3v2

#endif
