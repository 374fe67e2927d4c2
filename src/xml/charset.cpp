#include "xml/charset.h"

#include <cstddef>

namespace tagvera::xml {

namespace {

struct Range {
    uint8_t first;
    uint8_t last;
};

struct Entry {
    const char* name;
    Range ranges[4];
    int rangeCount;
    bool utf8;
};

// Index 0 is the fallback for names not in the table.
constexpr Entry kCharsets[] = {
    {"Default", {{0x81, 0xFF}}, 1, false},
    {"US-ASCII", {}, 0, false},
    {"Shift-JIS", {{0x81, 0x9F}, {0xE0, 0xFC}}, 2, false},
    {"Big5", {{0x81, 0xFE}}, 1, false},
    {"GB2312", {{0xA1, 0xFE}}, 1, false},
    {"EUC-KR", {{0x84, 0xD3}, {0xD8, 0xD8}, {0xD9, 0xDE}, {0xE0, 0xF9}}, 4, false},
    {"ISO-2022-KR", {{0x81, 0xFE}}, 1, false},
    {"ISO-8859-1", {}, 0, false},
    // Not a two-byte set, but the fallback would pair its sequences with the markup after them.
    {"UTF-8", {}, 0, true},
};

char Fold(char c) {
    if (c >= 'A' && c <= 'Z') return static_cast<char>(c - 'A' + 'a');
    if (c == '_') return '-';
    return c;
}

bool SameCharsetName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (Fold(a[i]) != Fold(b[i])) return false;
    return true;
}

char LowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

constexpr int kUsAscii = 1;

}  // namespace

Charset::Charset() : Charset(kUsAscii, kCharsets[kUsAscii].name) {}

Charset::Charset(int tableIndex, std::string_view name) : name_(name), table_(tableIndex) {
    const Entry& entry = kCharsets[tableIndex];
    utf8_ = entry.utf8;
    singleByte_ = entry.rangeCount == 0;
    for (int r = 0; r < entry.rangeCount; ++r)
        for (unsigned b = entry.ranges[r].first; b <= entry.ranges[r].last; ++b) lead_[b] = true;
}

Charset Charset::ForName(std::string_view name) {
    for (int i = 0; i < static_cast<int>(std::size(kCharsets)); ++i)
        if (SameCharsetName(name, kCharsets[i].name)) return Charset(i, name);
    return Charset(0, name);
}

bool EqualNamesNoCase(std::string_view a, std::string_view b, const Charset& charset) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (charset.isLead(static_cast<uint8_t>(a[i])) && i + 1 < a.size()) {
            if (a[i] != b[i] || a[i + 1] != b[i + 1]) return false;
            ++i;
            continue;
        }
        if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
    }
    return true;
}

}  // namespace tagvera::xml
