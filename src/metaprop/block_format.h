// The layout of the jukebox metadata block, shared by its reader, its writer and the in-place view.
//
//   block:  magic (4 chars) | version u32 | root record | optional 0 byte
//   record: length | type | flags | value offset | table offset | entries | name length |
//           name NUL | value length | value | entries x (first child offset, count) | children
//
// Every u32 is in the block's byte order; offsets count from the start of their record.
#ifndef TAGVERA_METAPROP_BLOCK_FORMAT_H
#define TAGVERA_METAPROP_BLOCK_FORMAT_H

#include <cstdint>
#include <cstring>

#include "tagvera/metaprop_serialize.h"

namespace tagvera::block {

inline constexpr uint32_t kHeaderSize = 8;

// Record fields, as byte offsets from the start of a record.
inline constexpr uint32_t kLengthAt = 0;
inline constexpr uint32_t kTypeAt = 4;
inline constexpr uint32_t kFlagsAt = 8;
inline constexpr uint32_t kValueOffsetAt = 12;
inline constexpr uint32_t kTableOffsetAt = 16;
inline constexpr uint32_t kEntryCountAt = 20;
inline constexpr uint32_t kNameLengthAt = 24;
inline constexpr uint32_t kNameAt = 28;
// The fixed part of a record besides its name, value and table: the seven fields and the value length.
inline constexpr uint32_t kRecordOverhead = kNameAt + 4;
inline constexpr uint32_t kEntrySize = 8;

// Trees nest a few levels deep; a bound keeps hostile blocks (and cyclic trees) off the stack.
inline constexpr unsigned kMaxDepth = 128;

inline uint32_t Load32(const uint8_t* p, bool bigEndian) {
    if (bigEndian)
        return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | uint32_t(p[3]);
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

inline void Store32(uint8_t* p, uint32_t v, bool bigEndian) {
    if (bigEndian) {
        p[0] = uint8_t(v >> 24), p[1] = uint8_t(v >> 16), p[2] = uint8_t(v >> 8), p[3] = uint8_t(v);
    } else {
        p[0] = uint8_t(v), p[1] = uint8_t(v >> 8), p[2] = uint8_t(v >> 16), p[3] = uint8_t(v >> 24);
    }
}

// Whether the 8 bytes at block are a known magic and version 1 in the given byte order; variant
// tells "KJAD" from "KJMD".
inline bool HeaderMatches(const uint8_t* block, uint32_t size, bool bigEndian, bool* variant = nullptr) {
    if (!block || size < kHeaderSize) return false;
    const bool standard = std::memcmp(block, kBlockMagic, 4) == 0;
    const bool alternative = std::memcmp(block, kBlockMagicVariant, 4) == 0;
    if (!standard && !alternative) return false;
    if (Load32(block + 4, bigEndian) != kBlockVersion) return false;
    if (variant) *variant = alternative;
    return true;
}

}  // namespace tagvera::block

#endif
