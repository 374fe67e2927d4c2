#include "xml/text_position.h"

#include <cstring>

namespace tagvera::xml {

namespace {

uint64_t CountColumns(const uint8_t* bytes, size_t n, bool utf8) {
    if (!utf8) return n;
    uint64_t columns = 0;
    for (size_t i = 0; i < n; ++i) columns += (bytes[i] & 0xC0) != 0x80;
    return columns;
}

}  // namespace

void AdvancePosition(Position& pos, const uint8_t* bytes, size_t n, const Charset& charset) {
    if (charset.singleByte()) {
        const uint8_t* lineStart = bytes;
        const uint8_t* end = bytes + n;
        for (;;) {
            const void* feed = std::memchr(lineStart, '\n', static_cast<size_t>(end - lineStart));
            if (!feed) break;
            ++pos.line;
            pos.column = 1;
            lineStart = static_cast<const uint8_t*>(feed) + 1;
        }
        pos.column += CountColumns(lineStart, static_cast<size_t>(end - lineStart), charset.utf8());
        return;
    }
    size_t i = 0;
    while (i < n) {
        const uint8_t b = bytes[i];
        if (charset.isLead(b) && i + 1 < n) {
            ++pos.column;
            i += 2;
        } else if (b == '\n') {
            ++pos.line;
            pos.column = 1;
            ++i;
        } else {
            ++pos.column;
            ++i;
        }
    }
}

}  // namespace tagvera::xml
