#include "mp4/atom_tree.h"

#include <algorithm>

#include "base/byte_reader.h"

namespace tagvera::mp4 {
namespace {

// Real files have a handful of top-level boxes and a few thousand in the movie; far more is an
// attack on the walk's time, not a file.
constexpr size_t kMostTopLevelBoxes = 100000;
constexpr size_t kMostMovieBoxes = 500000;
constexpr int kDeepest = 16;

struct Header {
    uint64_t size = 0;
    uint32_t type = 0;
    uint32_t length = 8;
};

// The header at the start of bytes, or false when they cannot hold one. Size 0 runs to `rest`
// where toEnd allows it (the last top-level box); inside the movie it is damage, since a box
// appended after it would be swallowed.
bool ReadHeader(std::span<const uint8_t> bytes, uint64_t rest, Header& out, bool toEnd) {
    if (bytes.size() < 8) return false;
    ByteReader r(bytes);
    const uint32_t size = r.u32be();
    out.type = r.u32be();
    out.length = 8;
    if (size == 1) {
        if (bytes.size() < 16) return false;
        out.size = r.u64be();
        out.length = 16;
    } else {
        if (size == 0 && !toEnd) return false;
        out.size = size == 0 ? rest : size;
    }
    return out.size >= out.length && out.size <= rest;
}

bool IsAudioEntry(uint32_t type) {
    for (uint32_t t : {FourCC("mp4a"), FourCC("enca"), FourCC("drms"), FourCC("alac"), FourCC("ac-3"), FourCC("ec-3")})
        if (t == type) return true;
    return false;
}

bool IsVisualEntry(uint32_t type) {
    for (uint32_t t : {FourCC("avc1"), FourCC("avc3"), FourCC("hvc1"), FourCC("hev1"), FourCC("mp4v"), FourCC("encv"),
                       FourCC("s263"), FourCC("av01")})
        if (t == type) return true;
    return false;
}

struct Walk {
    std::span<const uint8_t> moov;
    uint64_t base;
    std::string* problem;
    size_t count = 0;

    void note(const std::string& what) {
        if (problem && problem->empty()) *problem = what;
    }

    // The children of parent found in moov[start, end).
    void children(Atom& parent, size_t start, size_t end, int depth) {
        if (depth > kDeepest) return note("boxes nested deeper than 16");
        size_t pos = start;
        while (pos < end) {
            Header h;
            if (!ReadHeader(moov.subspan(pos, end - pos), end - pos, h, false)) {
                // Zero bytes close some user data boxes and item lists; anything else would be lost
                // by a write that rebuilds the parent, so it is damage.
                if (std::all_of(moov.begin() + long(pos), moov.begin() + long(end), [](uint8_t b) { return b == 0; })) return;
                if (end - pos < 8) return note("bytes left over in '" + FourCCText(parent.type) + "'");
                return note("box '" + FourCCText(h.type) + "' at " + std::to_string(base + pos) +
                            " does not fit in '" + FourCCText(parent.type) + "'");
            }
            if (++count > kMostMovieBoxes) return note("more than 500,000 boxes in the movie");
            Atom atom;
            atom.type = h.type;
            atom.offset = base + pos;
            atom.size = h.size;
            atom.header = h.length;
            const int skip = ContentStart(atom, parent.type, pos);
            if (skip >= 0 && h.length + uint64_t(skip) <= h.size)
                children(atom, pos + h.length + skip, pos + size_t(h.size), depth + 1);
            parent.children.push_back(std::move(atom));
            pos += size_t(h.size);
        }
    }

    // Where the children start after the header, looking at the box where its form varies.
    int ContentStart(const Atom& atom, uint32_t parentType, size_t pos) const {
        const size_t content = pos + atom.header;
        if (atom.type == FourCC("meta")) {
            // A QuickTime "meta" has no version word: its first child follows the header at once.
            if (atom.size >= atom.header + 8u && content + 8 <= moov.size() &&
                ByteReader(moov.subspan(content + 4, 4)).u32be() == FourCC("hdlr"))
                return 0;
            return 4;
        }
        if (parentType == FourCC("stsd") && IsAudioEntry(atom.type)) {
            // Sound entries of version 1 and 2 carry 16 and 36 more bytes.
            if (content + 10 > moov.size()) return -1;
            const uint16_t version = ByteReader(moov.subspan(content + 8, 2)).u16be();
            return version == 1 ? 28 + 16 : version == 2 ? 28 + 36 : 28;
        }
        if (parentType == FourCC("stsd") && IsVisualEntry(atom.type)) return 78;
        return ChildrenOffset(atom.type, parentType);
    }
};

}  // namespace

std::string FourCCText(uint32_t type) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const uint8_t c = uint8_t(type >> shift);
        if (c == 0xA9) text += "\xC2\xA9";
        else if (c >= 0x20 && c < 0x7F) text += char(c);
        else text += '?';
    }
    return text;
}

const Atom* Atom::child(uint32_t wanted) const {
    for (const Atom& c : children)
        if (c.type == wanted) return &c;
    return nullptr;
}

const Atom* Atom::find(std::initializer_list<uint32_t> path) const {
    const Atom* at = this;
    for (uint32_t step : path)
        if (!(at = at->child(step))) return nullptr;
    return at;
}

const Atom* TopLevel::find(uint32_t type) const {
    for (const Atom& a : atoms)
        if (a.type == type) return &a;
    return nullptr;
}

TopLevel ReadTopLevel(ByteSource& file) {
    TopLevel top;
    top.fileSize = file.size();
    uint64_t pos = 0;
    while (pos < top.fileSize) {
        if (top.atoms.size() >= kMostTopLevelBoxes) {
            top.problem = "more than 100,000 top-level boxes";
            break;
        }
        uint8_t bytes[16] = {};
        const uint64_t rest = top.fileSize - pos;
        const size_t got = file.readAt(pos, std::span<uint8_t>(bytes, size_t(std::min<uint64_t>(16, rest))));
        Header h;
        if (!ReadHeader(std::span<const uint8_t>(bytes, got), rest, h, true)) {
            top.problem = rest < 8 ? std::to_string(rest) + " bytes after the last box"
                                   : "box '" + FourCCText(h.type) + "' at " + std::to_string(pos) +
                                         (h.size > rest ? " runs past the end of the file" : " has a bad size");
            break;
        }
        top.atoms.push_back({h.type, pos, h.size, h.length, {}});
        pos += h.size;
    }
    return top;
}

int ChildrenOffset(uint32_t type, uint32_t parentType) {
    if (parentType == FourCC("ilst")) return 0;  // an item: its "data", "mean" and "name" boxes
    for (uint32_t t : {FourCC("moov"), FourCC("trak"), FourCC("mdia"), FourCC("minf"), FourCC("dinf"),
                       FourCC("stbl"), FourCC("udta"), FourCC("edts"), FourCC("mvex"), FourCC("moof"),
                       FourCC("traf"), FourCC("mfra"), FourCC("tref"), FourCC("ilst"), FourCC("sinf"),
                       FourCC("schi"), FourCC("gmhd")})
        if (t == type) return 0;
    if (type == FourCC("meta")) return 4;
    if (type == FourCC("stsd") || type == FourCC("dref")) return 8;
    return -1;
}

Atom ParseMovie(std::span<const uint8_t> moov, uint64_t base, std::string* problem) {
    Walk walk{moov, base, problem};
    Atom root;
    Header h;
    if (!ReadHeader(moov, moov.size(), h, false)) {
        walk.note("the movie box is cut short");
        return root;
    }
    root.type = h.type;
    root.offset = base;
    root.size = h.size;
    root.header = h.length;
    walk.children(root, h.length, size_t(h.size), 1);
    return root;
}

std::span<const uint8_t> BytesOf(std::span<const uint8_t> moov, uint64_t base, const Atom& atom) {
    return moov.subspan(size_t(atom.offset - base), size_t(atom.size));
}

}  // namespace tagvera::mp4
