// The type-specific data of a "logical-" stream: which physical streams it groups, its rules and
// its name/value properties ("logical-fileinfo" holds the file-wide ones).
#ifndef TAGVERA_KMEDIA_LOGICAL_STREAM_H
#define TAGVERA_KMEDIA_LOGICAL_STREAM_H

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "kmedia/name_value_property.h"

namespace tagvera::kmedia {

struct LogicalStreamRecord {
    uint16_t version = 0;
    std::vector<uint16_t> physicalStreams;
    std::vector<uint32_t> dataOffsets;  // one per physical stream
    std::vector<uint16_t> ruleToStream;
    std::vector<NameValueProperty> properties;

    // A version other than 0 yields no streams, rules or properties.
    static LogicalStreamRecord Read(std::span<const uint8_t> data);
    void Write(BeWriter& out) const;
    uint32_t Size() const;
    // The first property of that name, or null.
    const NameValueProperty* Find(std::string_view name) const;
    bool operator==(const LogicalStreamRecord&) const = default;
};

}  // namespace tagvera::kmedia

#endif
