// What id3lib 3.8.3 makes of a v2.3 tag it parses and renders again, as rules of our own, for the
// builds that have no id3lib (Windows). Derived from the library's frame table and by probing it
// frame by frame; tests/id3v2/id3lib_rules_test.cpp and fuzz/id3v2 hold both to the same answers.
#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "base/error.h"
#include "tags/id3v2/id3lib_round_trip.h"
#include "tags/id3v2/tag_reader.h"
#include "tags/id3v2/tag_writer.h"

namespace tagvera::id3v2 {

namespace {

// The field kinds of the library's v2.3 frames, each with its own way of reading and rendering.
enum class Field : uint8_t {
    Encoding,  // one byte; 1, 2 and 3 make the text fields after it two bytes a character
    Int1,      // big-endian number of a fixed width; fewer bytes are read where fewer remain,
    Int4,      //   and the full width is rendered
    Lang,      // fixed three characters, padded with zeros
    LinkId,    // fixed four characters (LINK)
    Latin1Z,   // one-byte text up to a zero, rendered with its zero
    TextZ,     // text in the frame's encoding up to its terminator, rendered with one
    Text,      // text in the frame's encoding to the frame's end
    Latin1,    // one-byte text to the frame's end
    List,      // terminated texts in the frame's encoding to the frame's end (IPLS)
    Data,      // bytes to the frame's end
};

struct FrameRules {
    std::string_view id;
    std::array<Field, 6> fields;
    uint8_t count;
    // Rendered with the "discard when the file is altered" flag, whatever the frame had.
    bool fileAlterDiscard;
};

using F = Field;
constexpr std::array<Field, 6> kData{F::Data};
constexpr std::array<Field, 6> kText{F::Encoding, F::Text};
constexpr std::array<Field, 6> kUrl{F::Latin1};

// Every frame id3lib 3.8.3 knows in a v2.3 tag; any other id (every v2.4-only one among them) it
// holds without fields and never renders.
constexpr FrameRules kFrames[] = {
    {"AENC", kData, 1, false},
    {"APIC", {F::Encoding, F::Latin1Z, F::Int1, F::TextZ, F::Data}, 5, false},
    {"COMM", {F::Encoding, F::Lang, F::TextZ, F::Text}, 4, false},
    {"COMR", kData, 1, false},
    {"ENCR", {F::Latin1Z, F::Int1, F::Data}, 3, false},
    {"EQUA", kData, 1, true},
    {"ETCO", kData, 1, true},
    {"GEOB", {F::Encoding, F::Latin1Z, F::TextZ, F::TextZ, F::Data}, 5, false},
    {"GRID", {F::Latin1Z, F::Int1, F::Data}, 3, false},
    {"IPLS", {F::Encoding, F::List}, 2, false},
    {"LINK", {F::LinkId, F::Latin1Z, F::Latin1}, 3, false},
    {"MCDI", kData, 1, false},
    {"MLLT", kData, 1, true},
    {"OWNE", kData, 1, false},
    {"PCNT", {F::Int4}, 1, false},
    {"POPM", {F::Latin1Z, F::Int1, F::Int4}, 3, false},
    {"POSS", kData, 1, true},
    {"PRIV", {F::Latin1Z, F::Data}, 2, false},
    {"RBUF", kData, 1, false},
    {"RVAD", kData, 1, true},
    {"RVRB", kData, 1, false},
    {"SYLT", {F::Encoding, F::Lang, F::Int1, F::Int1, F::TextZ, F::Data}, 6, false},
    {"SYTC", kData, 1, true},
    {"TALB", kText, 2, false},
    {"TBPM", kText, 2, false},
    {"TCOM", kText, 2, false},
    {"TCON", kText, 2, false},
    {"TCOP", kText, 2, false},
    {"TDAT", kText, 2, false},
    {"TDLY", kText, 2, false},
    {"TENC", kText, 2, true},
    {"TEXT", kText, 2, false},
    {"TFLT", kText, 2, false},
    {"TIME", kText, 2, false},
    {"TIT1", kText, 2, false},
    {"TIT2", kText, 2, false},
    {"TIT3", kText, 2, false},
    {"TKEY", kText, 2, false},
    {"TLAN", kText, 2, false},
    {"TLEN", kText, 2, true},
    {"TMED", kText, 2, false},
    {"TOAL", kText, 2, false},
    {"TOFN", kText, 2, false},
    {"TOLY", kText, 2, false},
    {"TOPE", kText, 2, false},
    {"TORY", kText, 2, false},
    {"TOWN", kText, 2, false},
    {"TPE1", kText, 2, false},
    {"TPE2", kText, 2, false},
    {"TPE3", kText, 2, false},
    {"TPE4", kText, 2, false},
    {"TPOS", kText, 2, false},
    {"TPUB", kText, 2, false},
    {"TRCK", kText, 2, false},
    {"TRDA", kText, 2, false},
    {"TRSN", kText, 2, false},
    {"TRSO", kText, 2, false},
    {"TSIZ", kText, 2, true},
    {"TSRC", kText, 2, false},
    {"TSSE", kText, 2, false},
    {"TXXX", {F::Encoding, F::TextZ, F::Text}, 3, false},
    {"TYER", kText, 2, false},
    {"UFID", {F::Latin1Z, F::Data}, 2, false},
    {"USER", {F::Encoding, F::Lang, F::Text}, 3, false},
    {"USLT", {F::Encoding, F::Lang, F::TextZ, F::Text}, 4, false},
    {"WCOM", kUrl, 1, false},
    {"WCOP", kUrl, 1, false},
    {"WOAF", kUrl, 1, false},
    {"WOAR", kUrl, 1, false},
    {"WOAS", kUrl, 1, false},
    {"WORS", kUrl, 1, false},
    {"WPAY", kUrl, 1, false},
    {"WPUB", kUrl, 1, false},
    {"WXXX", {F::Encoding, F::TextZ, F::Latin1}, 3, false},
};

const FrameRules* RulesFor(std::string_view id) {
    for (const auto& r : kFrames)
        if (r.id == id) return &r;
    return nullptr;
}

constexpr uint16_t kFileAlterDiscard = 0x4000;
constexpr uint16_t kFormatFlags = 0x00FF;

bool TwoBytesPerChar(uint8_t encoding) { return encoding >= 1 && encoding <= 3; }

// The library keeps two-byte text as big-endian units: after a little-endian byte order mark the
// pairs are swapped as they are read, after a big-endian one or none they are kept as they are.
using Units = std::vector<uint16_t>;

class FieldReader {
public:
    FieldReader(const uint8_t* p, size_t size) : p_(p), size_(size) {}
    size_t pos() const { return pos_; }
    size_t left() const { return size_ - pos_; }
    bool atEnd() const { return pos_ >= size_; }
    uint8_t byte() { return p_[pos_++]; }
    uint16_t pair() {
        const uint16_t v = static_cast<uint16_t>(p_[pos_] << 8 | p_[pos_ + 1]);
        pos_ += 2;
        return v;
    }

private:
    const uint8_t* p_;
    size_t size_;
    size_t pos_ = 0;
};

constexpr uint16_t kLittleBom = 0xFFFE;  // FF FE as read big-endian
constexpr uint16_t kBigBom = 0xFEFF;

// One terminated two-byte string. Stops short of an odd last byte, which the next field then sees.
Units ReadUnitsZ(FieldReader& r) {
    Units u;
    if (r.left() < 2) return u;
    uint16_t first = r.pair();
    if (first == 0) return u;
    const bool swap = first == kLittleBom;
    if (first != kLittleBom && first != kBigBom) u.push_back(first);
    while (r.left() >= 2) {
        uint16_t ch = r.pair();
        if (ch == 0) break;
        if (swap) ch = static_cast<uint16_t>(ch << 8 | ch >> 8);
        u.push_back(ch);
    }
    return u;
}

// Two-byte text to the frame's end: one byte order mark at its start decides for all of it. A
// swapped read stops short of an odd last byte, where the library then looks for the next frame;
// an unswapped one takes the byte and never renders it.
Units ReadUnitsToEnd(FieldReader& r) {
    Units u;
    const uint16_t first = r.pair();
    if (first == kLittleBom) {
        while (r.left() >= 2) {
            const uint16_t ch = r.pair();
            u.push_back(static_cast<uint16_t>(ch << 8 | ch >> 8));
        }
        return u;
    }
    if (first != kBigBom) u.push_back(first);
    while (r.left() >= 2) u.push_back(r.pair());
    if (!r.atEnd()) r.byte();
    return u;
}

struct FieldValue {
    uint32_t number = 0;
    std::vector<uint8_t> bytes;  // one-byte text and data
    Units units;                 // two-byte text
};

void PutLittle(std::vector<uint8_t>& out, uint16_t ch) {
    out.push_back(static_cast<uint8_t>(ch & 0xFF));
    out.push_back(static_cast<uint8_t>(ch >> 8));
}

// A two-byte string as the library writes it: a little-endian mark when there is text, then the
// units; a new mark after each zero unit that more text follows, unless that text brings its own.
void PutUnits(std::vector<uint8_t>& out, const Units& u) {
    if (u.empty()) return;
    PutLittle(out, kBigBom);
    for (size_t i = 0; i < u.size(); ++i) {
        PutLittle(out, u[i]);
        if (u[i] == 0 && i + 1 < u.size() && u[i + 1] != kBigBom) PutLittle(out, kBigBom);
    }
}

void PutTerminator(std::vector<uint8_t>& out, bool wide) {
    out.push_back(0);
    if (wide) out.push_back(0);
}

struct Parsed {
    std::vector<uint8_t> payload;
    bool uncovered = false;  // see LibraryRoundTrip::uncovered
    // Where the library looks for the next frame header, from the start of this frame's data:
    // where its fields ended, or the start itself when they failed.
    size_t next = 0;
};

// One known frame's fields: read as the library reads them, rendered as it renders them.
Parsed ParseAndRender(const FrameRules& rules, const uint8_t* data, size_t size) {
    FieldReader r(data, size);
    std::array<FieldValue, 6> values;
    uint8_t encoding = 0;
    bool failed = false;
    bool uncovered = false;
    for (size_t i = 0; i < rules.count && !failed; ++i) {
        const Field field = rules.fields[i];
        FieldValue& v = values[i];
        const bool wide = TwoBytesPerChar(encoding);
        if (r.atEnd()) {
            // Out of data before a field is a failed frame, unless it is the last field.
            failed = i + 1 < rules.count;
            break;
        }
        const size_t before = r.pos();
        switch (field) {
            case F::Encoding:
                v.number = r.byte();
                encoding = static_cast<uint8_t>(v.number);
                if (encoding == 2 || encoding == 3) uncovered = true;
                break;
            case F::Int1:
            case F::Int4: {
                const size_t width = field == F::Int1 ? 1 : 4;
                for (size_t k = 0; k < width && !r.atEnd(); ++k) v.number = v.number << 8 | r.byte();
                break;
            }
            case F::Lang:
            case F::LinkId: {
                const size_t width = field == F::Lang ? 3 : 4;
                for (size_t k = 0; k < width && !r.atEnd(); ++k) v.bytes.push_back(r.byte());
                break;
            }
            case F::Latin1Z:
                while (!r.atEnd()) {
                    const uint8_t c = r.byte();
                    if (c == 0) break;
                    v.bytes.push_back(c);
                }
                break;
            case F::TextZ:
                if (wide) {
                    v.units = ReadUnitsZ(r);
                } else {
                    while (!r.atEnd()) {
                        const uint8_t c = r.byte();
                        if (c == 0) break;
                        v.bytes.push_back(c);
                    }
                }
                break;
            case F::Text:
                if (wide) {
                    if (r.left() < 2) break;  // a lone byte: nothing read
                    v.units = ReadUnitsToEnd(r);
                } else {
                    while (!r.atEnd()) v.bytes.push_back(r.byte());
                }
                break;
            case F::Latin1:
            case F::Data:
                while (!r.atEnd()) v.bytes.push_back(r.byte());
                break;
            case F::List:
                // The items are kept as one text joined by zeros; an item added to an empty text
                // replaces it, so leading empty items vanish.
                while (!r.atEnd() && !failed) {
                    if (wide) {
                        if (r.left() < 2) {
                            uncovered = true;
                            failed = true;
                            break;
                        }
                        Units item = ReadUnitsZ(r);
                        if (!v.units.empty()) v.units.push_back(0);
                        v.units.insert(v.units.end(), item.begin(), item.end());
                    } else {
                        std::vector<uint8_t> item;
                        while (!r.atEnd()) {
                            const uint8_t c = r.byte();
                            if (c == 0) break;
                            item.push_back(c);
                        }
                        if (!v.bytes.empty()) v.bytes.push_back(0);
                        v.bytes.insert(v.bytes.end(), item.begin(), item.end());
                    }
                }
                break;
        }
        if (failed) break;
        if (r.pos() == before) {
            failed = true;
            break;
        }
    }

    Parsed out;
    uint8_t renderEncoding = 0;
    for (size_t i = 0; i < rules.count; ++i) {
        const Field field = rules.fields[i];
        const FieldValue& v = values[i];
        const bool wide = TwoBytesPerChar(renderEncoding);
        auto& p = out.payload;
        switch (field) {
            case F::Encoding:
                renderEncoding = static_cast<uint8_t>(v.number);
                p.push_back(renderEncoding);
                break;
            case F::Int1:
                p.push_back(static_cast<uint8_t>(v.number));
                break;
            case F::Int4:
                for (int shift = 24; shift >= 0; shift -= 8) p.push_back(static_cast<uint8_t>(v.number >> shift));
                break;
            case F::Lang:
            case F::LinkId: {
                const size_t width = field == F::Lang ? 3 : 4;
                p.insert(p.end(), v.bytes.begin(), v.bytes.end());
                p.resize(p.size() + (width - v.bytes.size()), 0);
                break;
            }
            case F::Latin1Z:
                p.insert(p.end(), v.bytes.begin(), v.bytes.end());
                p.push_back(0);
                break;
            case F::TextZ:
                if (wide) PutUnits(p, v.units);
                else p.insert(p.end(), v.bytes.begin(), v.bytes.end());
                PutTerminator(p, wide);
                break;
            case F::Text:
                if (wide) PutUnits(p, v.units);
                else p.insert(p.end(), v.bytes.begin(), v.bytes.end());
                break;
            case F::Latin1:
            case F::Data:
                p.insert(p.end(), v.bytes.begin(), v.bytes.end());
                break;
            case F::List:
                if (wide) PutUnits(p, v.units);
                else p.insert(p.end(), v.bytes.begin(), v.bytes.end());
                PutTerminator(p, wide);
                break;
        }
    }
    out.next = failed ? 0 : r.pos();
    out.uncovered = uncovered;
    return out;
}

uint32_t Be32(const uint8_t* p) {
    return static_cast<uint32_t>(p[0]) << 24 | static_cast<uint32_t>(p[1]) << 16 | static_cast<uint32_t>(p[2]) << 8 | p[3];
}

}  // namespace

LibraryRoundTrip Id3libRulesRoundTrip(std::span<const uint8_t> tag) {
    LibraryRoundTrip out;
    if (tag.size() < kHeaderSize || std::memcmp(tag.data(), "ID3", 3) != 0 || tag[3] != 3) return out;
    const uint64_t bodySize = uint64_t(tag[6] & 0x7F) << 21 | uint64_t(tag[7] & 0x7F) << 14 | uint64_t(tag[8] & 0x7F) << 7 | (tag[9] & 0x7F);
    const size_t end = static_cast<size_t>(std::min<uint64_t>(tag.size(), kHeaderSize + bodySize));
    std::vector<Frame> rendered;
    size_t pos = kHeaderSize;
    while (pos < end && tag[pos] != 0) {
        if (end - pos < kHeaderSize) break;
        const uint8_t* h = tag.data() + pos;
        const uint32_t size = Be32(h + 4);
        const uint16_t flags = static_cast<uint16_t>(h[8] << 8 | h[9]);
        // Our own renders never set any of these (the library reads some as v2.4 bits, too); a
        // frame that has them came from where a damaged frame ended.
        if (flags & kFormatFlags) {
            out.uncovered = true;
            break;
        }
        if (size > end - pos - kHeaderSize) break;
        const std::string id(reinterpret_cast<const char*>(h), 4);
        const uint8_t* data = h + kHeaderSize;
        ++out.held;
        const FrameRules* rules = RulesFor(id);
        if (!rules) {
            pos += kHeaderSize + size;
            continue;
        }
        Parsed parsed = ParseAndRender(*rules, data, size);
        if (parsed.uncovered) {
            out.uncovered = true;
            break;
        }
        Frame f;
        f.id = f.sourceId = id;
        f.statusFlags = rules->fileAlterDiscard ? kFileAlterDiscard : 0;
        f.payload = std::move(parsed.payload);
        rendered.push_back(std::move(f));
        // Where the library reads on from inside a frame, it takes the bytes there for a frame
        // header; unless they end the tag (a zero), what it makes of them is not ruled here.
        const size_t next = pos + kHeaderSize + parsed.next;
        if (next != pos + kHeaderSize + size && next < end && tag[next] != 0) {
            out.uncovered = true;
            break;
        }
        pos = next;
    }
    if (rendered.empty()) return out;
    try {
        // Read back through the checked reader, as the library's own render is.
        Tag back = ParseTag(RenderV23Tag(rendered, 0));
        for (auto& f : back.frames) f.version = 3;
        out.frames = std::move(back.frames);
    } catch (const Error&) {
        out.frames.clear();
    }
    return out;
}

}  // namespace tagvera::id3v2
