// "CONT": title, author, copyright and comment, each a 16-bit counted string.
#ifndef TAGVERA_KMEDIA_CONTENT_H
#define TAGVERA_KMEDIA_CONTENT_H

#include <cstdint>
#include <span>
#include <string>

#include "kmedia/km_codes.h"
#include "kmedia/object_header.h"

namespace tagvera::kmedia {

struct ContentObject {
    static constexpr size_t kMaxString = 65535;

    ObjectHeader header{kIdContent, 18, 0};
    std::string title, author, copyright, comment;

    // A string running past the object makes it unreadable.
    static ContentObject Read(std::span<const uint8_t> object);
    // Strings longer than 65,535 bytes are cut, so that the counts describe what is written.
    void Write(BeWriter& out) const;
    uint32_t Size() const;
    bool operator==(const ContentObject&) const = default;
};

}  // namespace tagvera::kmedia

#endif
