#include "mp4/movie_write.h"

#include <algorithm>

#include "base/byte_reader.h"
#include "mp4/item_table.h"

namespace tagvera::mp4 {
namespace {

// Room left for the next edit when the movie box has to grow anyway.
constexpr uint64_t kGrowthRoom = 1024;

using Bytes = std::vector<uint8_t>;

void Put32(Bytes& out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(uint8_t(v >> shift));
}
void Poke32(Bytes& b, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) b[at + size_t(i)] = uint8_t(v >> (24 - 8 * i));
}
void Poke64(Bytes& b, size_t at, uint64_t v) {
    for (int i = 0; i < 8; ++i) b[at + size_t(i)] = uint8_t(v >> (56 - 8 * i));
}
uint64_t Peek(const Bytes& b, size_t at, size_t n) {
    uint64_t v = 0;
    for (size_t i = 0; i < n; ++i) v = v << 8 | b.at(at + i);
    return v;
}

Bytes Box(uint32_t type, const Bytes& content) {
    if (content.size() + 8 > UINT32_MAX) throw Error(TV_E_FAIL, "a box larger than 4 GB");
    Bytes out;
    Put32(out, uint32_t(content.size() + 8));
    Put32(out, type);
    out.insert(out.end(), content.begin(), content.end());
    return out;
}

Bytes FreeBox(uint64_t size) { return Box(FourCC("free"), Bytes(size_t(size - 8), 0)); }

// "meta" as iTunes writes it: a version word, the "mdir" handler, then the item list.
Bytes MetaBox(const Bytes& tail) {
    Bytes content(4, 0);
    const Bytes hdlr = {0, 0, 0, 0, 0, 0, 0, 0, 'm', 'd', 'i', 'r', 'a', 'p', 'p', 'l', 0, 0, 0, 0, 0, 0, 0, 0, 0};
    const Bytes hdlrBox = Box(FourCC("hdlr"), hdlr);
    content.insert(content.end(), hdlrBox.begin(), hdlrBox.end());
    content.insert(content.end(), tail.begin(), tail.end());
    return Box(FourCC("meta"), content);
}

bool IsFree(uint32_t type) { return type == FourCC("free") || type == FourCC("skip"); }

// Where a new child goes: after the parent's last child, so a zero terminator stays last.
uint64_t AppendPoint(const Atom& parent) {
    if (!parent.children.empty()) return parent.children.back().end();
    return parent.offset + parent.header + (parent.type == FourCC("meta") ? 4 : 0);  // after its version word
}

struct Splice {
    uint64_t at = 0;  // file offset inside the movie
    uint64_t removed = 0;
    Bytes inserted;
    std::vector<const Atom*> ancestors;
};

void Apply(Bytes& moov, uint64_t base, const Splice& s) {
    const int64_t delta = int64_t(s.inserted.size()) - int64_t(s.removed);
    for (const Atom* a : s.ancestors) {
        const size_t at = size_t(a->offset - base);
        if (a->header == 16) {
            Poke64(moov, at + 8, uint64_t(int64_t(Peek(moov, at + 8, 8)) + delta));
        } else {
            const int64_t size = int64_t(Peek(moov, at, 4)) + delta;
            if (size > int64_t(UINT32_MAX)) throw Error(TV_E_FAIL, "the movie box would pass 4 GB");
            Poke32(moov, at, uint32_t(size));
        }
    }
    const size_t at = size_t(s.at - base);
    moov.erase(moov.begin() + at, moov.begin() + at + size_t(s.removed));
    moov.insert(moov.begin() + at, s.inserted.begin(), s.inserted.end());
}

// Moves every chunk offset at or after `from` by delta, in every track, in 32- and 64-bit tables.
size_t ShiftChunkOffsets(Bytes& moov, const Atom& movie, uint64_t from, uint64_t delta) {
    size_t tables = 0;
    for (const Atom& trak : movie.children) {
        if (trak.type != FourCC("trak")) continue;
        const Atom* stbl = trak.find({FourCC("mdia"), FourCC("minf"), FourCC("stbl")});
        if (!stbl) continue;
        for (const Atom& table : stbl->children) {
            const size_t width = table.type == FourCC("stco") ? 4 : table.type == FourCC("co64") ? 8 : 0;
            if (!width || table.size < table.header + 8u) continue;
            const size_t start = size_t(table.offset - movie.offset) + table.header;
            const uint64_t room = (table.size - table.header - 8) / width;
            const uint64_t count = std::min<uint64_t>(Peek(moov, start + 4, 4), room);
            for (uint64_t i = 0; i < count; ++i) {
                const size_t at = start + 8 + size_t(i) * width;
                const uint64_t value = Peek(moov, at, width);
                if (value < from) continue;
                if (width == 4) {
                    if (value + delta > UINT32_MAX)
                        throw Error(TV_E_FAIL, "a chunk offset in 'stco' would pass 4 GB");
                    Poke32(moov, at, uint32_t(value + delta));
                } else {
                    Poke64(moov, at, value + delta);
                }
            }
            ++tables;
        }
    }
    return tables;
}

uint32_t HandlerOf(const CMp4Editor& editor, const Atom& meta) {
    const Atom* hdlr = meta.child(FourCC("hdlr"));
    if (!hdlr || hdlr->size < hdlr->header + 12u) return 0;
    return uint32_t(ByteReader(BytesOf(editor.movieBytes(), editor.movie().offset, *hdlr).subspan(hdlr->header + 8, 4))
                        .u32be());
}

// The new item list: the old children in their order less those taken out, then the changed
// entries in list order.
Bytes NewItemList(const CMp4Editor& editor, const Atom* ilst) {
    std::vector<const Atom*> kept;
    if (ilst && !editor.removeAll())
        for (const Atom& child : ilst->children) kept.push_back(&child);
    // Every atom of a changed or removed type goes: a second title left behind would be read
    // before the one just written.
    for (const Mp4Atom& item : editor.items()) {
        if (item.state == ItemState::Loaded) continue;
        std::erase_if(kept, [&](const Atom* a) { return a->type == item.atomType; });
    }
    Bytes content;
    for (const Atom* child : kept) {
        const auto bytes = BytesOf(editor.movieBytes(), editor.movie().offset, *child);
        content.insert(content.end(), bytes.begin(), bytes.end());
    }
    if (!editor.removeAll())
        for (const Mp4Atom& item : editor.items())
            if (item.state == ItemState::Changed) {
                const Bytes bytes = SerializeItem(item);
                content.insert(content.end(), bytes.begin(), bytes.end());
            }
    return Box(FourCC("ilst"), content);
}

struct Layout {
    const Atom* udta = nullptr;
    const Atom* meta = nullptr;
    const Atom* ilst = nullptr;
};

// The splice that puts the new item list (and `room` bytes of "free" after it) in the movie.
Splice ItemListSplice(const CMp4Editor& editor, const Layout& at, const Bytes& ilst, uint64_t room) {
    const Atom& moov = editor.movie();
    Bytes tail = ilst;
    if (room) {
        const Bytes free = FreeBox(room);
        tail.insert(tail.end(), free.begin(), free.end());
    }
    if (at.ilst) return {at.ilst->offset, at.ilst->size, tail, {&moov, at.udta, at.meta}};
    if (at.meta) return {AppendPoint(*at.meta), 0, tail, {&moov, at.udta, at.meta}};
    if (at.udta) return {AppendPoint(*at.udta), 0, MetaBox(tail), {&moov, at.udta}};
    return {AppendPoint(moov), 0, Box(FourCC("udta"), MetaBox(tail)), {&moov}};
}

Bytes Build(const CMp4Editor& editor, std::vector<Splice> splices) {
    Bytes moov(editor.movieBytes().begin(), editor.movieBytes().end());
    std::sort(splices.begin(), splices.end(), [](const Splice& a, const Splice& b) { return a.at > b.at; });
    for (const Splice& s : splices) Apply(moov, editor.movie().offset, s);
    return moov;
}

bool AnyChange(const CMp4Editor& editor) {
    if (editor.removeAll()) return true;
    return std::any_of(editor.items().begin(), editor.items().end(),
                       [](const Mp4Atom& i) { return i.state != ItemState::Loaded; });
}

}  // namespace

MovieWrite PlanSave(const CMp4Editor& editor) {
    MovieWrite write;
    if (!AnyChange(editor)) return write;
    if (!editor.hasMovie()) throw Error(TV_E_FAIL, editor.problem().empty() ? "no movie box" : editor.problem());
    if (!editor.problem().empty()) throw Error(TV_E_FAIL, "the file is damaged: " + editor.problem());
    const TopLevel& top = editor.topLevel();
    const Atom& moov = editor.movie();
    if (top.find(FourCC("moof")) || moov.child(FourCC("mvex")))
        throw Error(TV_E_FAIL, "a fragmented file (its media is described outside the movie box)");

    Layout at;
    at.udta = moov.child(FourCC("udta"));
    at.meta = at.udta ? at.udta->child(FourCC("meta")) : nullptr;
    if (at.meta && HandlerOf(editor, *at.meta) == FourCC("mdta"))
        throw Error(TV_E_FAIL, "the user data holds a QuickTime 'mdta' list, not an item list");
    at.ilst = at.meta ? at.meta->child(FourCC("ilst")) : nullptr;
    if (at.meta && at.meta->header == 16) throw Error(TV_E_FAIL, "a 64-bit 'meta' box");
    const Bytes ilst = NewItemList(editor, at.ilst);
    const Splice main = ItemListSplice(editor, at, ilst, 0);
    const int64_t delta = int64_t(main.inserted.size()) - int64_t(main.removed);

    write.offset = moov.offset;
    write.oldSize = moov.size;
    const auto inPlace = [&](Bytes moovBytes, const char* how) {
        write.kind = MovieWrite::Kind::InPlace;
        // Only the bytes that differ are written (and journaled).
        const auto& old = editor.movieBytes();
        size_t first = 0, last = moovBytes.size();
        while (first < last && moovBytes[first] == old[first]) ++first;
        while (last > first && moovBytes[last - 1] == old[last - 1]) --last;
        write.offset = moov.offset + first;
        write.oldSize = last - first;
        write.bytes.assign(moovBytes.begin() + first, moovBytes.begin() + last);
        write.how = how;
        return write;
    };

    // 1. A "free" box beside the item list takes the difference.
    if (at.meta)
        for (const Atom& free : at.meta->children)
            if (IsFree(free.type) && free.header == 8 && int64_t(free.size) - delta >= 8) {
                Splice refill{free.offset, free.size, FreeBox(uint64_t(int64_t(free.size) - delta)),
                              {&moov, at.udta, at.meta}};
                return inPlace(Build(editor, {main, refill}), "in place: the item list's free space took the change");
            }
    // 2. A shrink leaves its room as a "free" box.
    if (delta <= -8) return inPlace(Build(editor, {ItemListSplice(editor, at, ilst, uint64_t(-delta))}),
                                    "in place: the room given up stays as free space");
    // 3. A "free" box right after the movie box takes the growth.
    const auto next = std::find_if(top.atoms.begin(), top.atoms.end(), [&](const Atom& a) { return a.offset == moov.end(); });
    if (delta > 0 && next != top.atoms.end() && IsFree(next->type) && next->header == 8 && int64_t(next->size) - delta >= 8) {
        Bytes bytes = Build(editor, {main});
        Bytes freeHeader = Box(FourCC("free"), {});
        Poke32(freeHeader, 0, uint32_t(int64_t(next->size) - delta));
        bytes.insert(bytes.end(), freeHeader.begin(), freeHeader.end());
        write.kind = MovieWrite::Kind::InPlace;
        write.bytes = std::move(bytes);
        write.how = "in place: the movie box grew into the free box after it";
        return write;
    }
    if (delta == 0) return inPlace(Build(editor, {main}), "in place: the movie box kept its size");

    // 4. The movie box changes size, with room for the next edit.
    const Splice grown = ItemListSplice(editor, at, ilst, kGrowthRoom);
    const uint64_t growth = uint64_t(delta + int64_t(kGrowthRoom));
    if (next == top.atoms.end()) {
        write.kind = MovieWrite::Kind::InPlace;
        write.bytes = Build(editor, {grown});
        write.newLength = moov.offset + write.bytes.size();
        write.how = "in place: the movie box at the end of the file grew by " + std::to_string(growth) + " bytes";
        return write;
    }
    write.bytes.assign(editor.movieBytes().begin(), editor.movieBytes().end());
    const size_t tables = ShiftChunkOffsets(write.bytes, moov, moov.end(), growth);
    Apply(write.bytes, moov.offset, grown);
    write.kind = MovieWrite::Kind::Rewrite;
    write.how = "rewritten: the movie box grew by " + std::to_string(growth) + " bytes, " + std::to_string(tables) +
                " chunk offset table" + (tables == 1 ? "" : "s") + " moved";
    return write;
}

}  // namespace tagvera::mp4
