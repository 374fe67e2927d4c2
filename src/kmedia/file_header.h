// ".KMF" (or ".KMS"), the first object of a file: the file version and how many header objects
// a reader walks.
#ifndef TAGVERA_KMEDIA_FILE_HEADER_H
#define TAGVERA_KMEDIA_FILE_HEADER_H

#include <cstdint>
#include <optional>
#include <span>

#include "kmedia/km_codes.h"
#include "kmedia/object_header.h"

namespace tagvera::kmedia {

struct FileHeaderObject {
    ObjectHeader header{kIdFileHeader, 18, 0};
    uint32_t fileVersion = 0;
    uint32_t numHeaders = 3;

    // object: exactly the object's bytes. Any first identifier other than ".KMF"/".KMS" and any
    // version above 1 are refused with their own codes.
    static FileHeaderObject Read(std::span<const uint8_t> object);
    void Write(BeWriter& out) const;
    uint32_t Size() const { return 18; }
    // How many objects after this one a reader walks; none for no limit (a count below 2).
    std::optional<uint32_t> WalkLimit() const {
        if (numHeaders < 2) return std::nullopt;
        return numHeaders - 2;
    }
    bool operator==(const FileHeaderObject&) const = default;
};

}  // namespace tagvera::kmedia

#endif
