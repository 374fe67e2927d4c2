// The 10 bytes every KorvaMedia object begins with, and the rule for versions a reader does not
// know: such an object is its header only, the rest skipped unread.
#ifndef TAGVERA_KMEDIA_OBJECT_HEADER_H
#define TAGVERA_KMEDIA_OBJECT_HEADER_H

#include <cstdint>

#include "base/byte_reader.h"
#include "kmedia/be_writer.h"

namespace tagvera::kmedia {

struct ObjectHeader {
    static constexpr uint32_t kSize = 10;
    uint32_t id = 0;
    uint32_t size = 0;
    uint16_t version = 0;

    // Reads the header; a size below 10 or beyond the reader's bytes is malformed.
    static ObjectHeader Read(ByteReader& in);
    void Write(BeWriter& out) const;
    // The body of a known version is laid out as this system reads it; others are skipped.
    bool KnownVersion() const { return version == 0; }
    bool operator==(const ObjectHeader&) const = default;
};

}  // namespace tagvera::kmedia

#endif
