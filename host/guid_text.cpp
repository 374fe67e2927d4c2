#include "host/guid_text.h"

#include <cstdio>

namespace tagvera::host {

std::string GuidToString(const GUID& id) {
    char text[39];
    // Data1 is an unsigned long in the Windows headers.
    std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  static_cast<unsigned>(id.Data1), id.Data2,
                  id.Data3, id.Data4[0], id.Data4[1], id.Data4[2], id.Data4[3], id.Data4[4], id.Data4[5],
                  id.Data4[6], id.Data4[7]);
    return text;
}

namespace {
int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}
}  // namespace

std::optional<GUID> ParseGuid(std::string_view text) {
    if (text.size() == 38 && text.front() == '{' && text.back() == '}') text = text.substr(1, 36);
    if (text.size() != 36) return std::nullopt;
    uint8_t bytes[16];
    size_t n = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (i == 8 || i == 13 || i == 18 || i == 23) {
            if (text[i] != '-') return std::nullopt;
            continue;
        }
        const int hi = HexDigit(text[i]);
        const int lo = i + 1 < text.size() ? HexDigit(text[i + 1]) : -1;
        if (hi < 0 || lo < 0) return std::nullopt;
        bytes[n++] = static_cast<uint8_t>(hi * 16 + lo);
        ++i;
    }
    GUID id{};
    id.Data1 = uint32_t(bytes[0]) << 24 | uint32_t(bytes[1]) << 16 | uint32_t(bytes[2]) << 8 | bytes[3];
    id.Data2 = static_cast<uint16_t>(bytes[4] << 8 | bytes[5]);
    id.Data3 = static_cast<uint16_t>(bytes[6] << 8 | bytes[7]);
    for (int i = 0; i < 8; ++i) id.Data4[i] = bytes[8 + i];
    return id;
}

}  // namespace tagvera::host
