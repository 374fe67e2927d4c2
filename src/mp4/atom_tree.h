// The box structure of an MP4 file: the top-level boxes read header by header (never the media
// data), and the tree inside the movie box once its bytes are in memory. Every size is checked
// against its parent; depth and count are capped, so no input makes a walk loop or run long.
#ifndef TAGVERA_MP4_ATOM_TREE_H
#define TAGVERA_MP4_ATOM_TREE_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "base/byte_source.h"

namespace tagvera::mp4 {

// A four-character code as the file holds it, big-endian ("moov" = 0x6D6F6F76).
constexpr uint32_t FourCC(const char (&code)[5]) {
    return uint32_t(uint8_t(code[0])) << 24 | uint32_t(uint8_t(code[1])) << 16 | uint32_t(uint8_t(code[2])) << 8 |
           uint32_t(uint8_t(code[3]));
}
std::string FourCCText(uint32_t type);  // printable, with "\xA9" shown as "©"

struct Atom {
    uint32_t type = 0;
    uint64_t offset = 0;  // in the file
    uint64_t size = 0;    // including the header
    uint32_t header = 8;  // 8, or 16 with a 64-bit size
    std::vector<Atom> children;

    uint64_t end() const { return offset + size; }
    const Atom* child(uint32_t wanted) const;
    // The first descendant along a path of types ("mdia", "minf", "stbl").
    const Atom* find(std::initializer_list<uint32_t> path) const;
};

struct TopLevel {
    std::vector<Atom> atoms;  // headers only (no children)
    uint64_t fileSize = 0;
    // Why the walk ended early: a size below its header, past the end of the file, or too many boxes.
    std::string problem;
    const Atom* find(uint32_t type) const;
};

// Reads the top-level box headers, 16 bytes a box.
TopLevel ReadTopLevel(ByteSource& file);

// The boxes inside a movie box whose bytes (header included) are moov, placed at file offset base.
// Boxes that do not fit their parent end that parent's list; the problem says where.
Atom ParseMovie(std::span<const uint8_t> moov, uint64_t base, std::string* problem);

// Where the children of a box of this type start, counted from its header's end: full boxes
// carry 4 bytes of version and flags, sample descriptions and entries their fixed fields. -1 for
// a box whose content is not boxes.
int ChildrenOffset(uint32_t type, uint32_t parentType);

// The box's bytes in a movie held in memory (its whole extent, header included).
std::span<const uint8_t> BytesOf(std::span<const uint8_t> moov, uint64_t base, const Atom& atom);

}  // namespace tagvera::mp4

#endif
