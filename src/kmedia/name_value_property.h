// One name/value property of a logical stream ("File ID", "KJMDTag", ...): a number, a buffer or
// a text.
#ifndef TAGVERA_KMEDIA_NAME_VALUE_PROPERTY_H
#define TAGVERA_KMEDIA_NAME_VALUE_PROPERTY_H

#include <cstdint>
#include <string>
#include <vector>

#include "base/byte_reader.h"
#include "kmedia/be_writer.h"

namespace tagvera::kmedia {

struct NameValueProperty {
    enum Type : uint32_t { kNumber = 0, kBuffer = 1, kText = 2 };

    uint16_t version = 0;
    std::string name;  // at most 255 bytes on disk
    uint32_t type = kBuffer;
    std::vector<uint8_t> value;  // a number as its 4 big-endian bytes

    static NameValueProperty Number(std::string name, uint32_t v);
    static NameValueProperty Buffer(std::string name, std::vector<uint8_t> bytes);
    static NameValueProperty Text(std::string name, std::string_view text);

    // Reads one record; the record's own size bounds it.
    static NameValueProperty Read(ByteReader& in);
    void Write(BeWriter& out) const;
    uint32_t Size() const;
    // The value of a number property; false for any other type or width.
    bool AsNumber(uint32_t* out) const;
    bool operator==(const NameValueProperty&) const = default;
};

}  // namespace tagvera::kmedia

#endif
