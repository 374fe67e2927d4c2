// A 128-bit ASF object id as the file holds it (the first three fields little-endian), made from
// its registry form when compiling so that tables read as the ids are usually written.
#ifndef TAGVERA_WM_ASF_GUID_H
#define TAGVERA_WM_ASF_GUID_H

#include <array>
#include <cstdint>
#include <span>
#include <string>

namespace tagvera::wm {

struct Guid {
    std::array<uint8_t, 16> bytes{};
    bool operator==(const Guid&) const = default;
};

namespace detail {
constexpr uint8_t Nibble(char c) {
    return c >= '0' && c <= '9' ? uint8_t(c - '0') : c >= 'A' && c <= 'F' ? uint8_t(c - 'A' + 10) : uint8_t(c - 'a' + 10);
}
constexpr uint8_t HexByte(const char* s, int at) { return uint8_t(Nibble(s[at]) << 4 | Nibble(s[at + 1])); }
}  // namespace detail

// "75B22630-668E-11CF-A6D9-00AA0062CE6C" -> file order.
constexpr Guid GuidOf(const char (&s)[37]) {
    Guid g;
    constexpr int data1[] = {6, 4, 2, 0}, data2[] = {11, 9}, data3[] = {16, 14};
    int i = 0;
    for (int at : data1) g.bytes[i++] = detail::HexByte(s, at);
    for (int at : data2) g.bytes[i++] = detail::HexByte(s, at);
    for (int at : data3) g.bytes[i++] = detail::HexByte(s, at);
    for (int at : {19, 21, 24, 26, 28, 30, 32, 34}) g.bytes[i++] = detail::HexByte(s, at);
    return g;
}

inline Guid GuidFrom(std::span<const uint8_t> sixteen) {
    Guid g;
    for (size_t i = 0; i < 16 && i < sixteen.size(); ++i) g.bytes[i] = sixteen[i];
    return g;
}

// Back to the registry form, upper case.
std::string GuidText(const Guid& g);

}  // namespace tagvera::wm

#endif
