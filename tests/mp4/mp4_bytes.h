// Boxes built byte by byte for the MP4 tests and fuzz seeds.
#ifndef TAGVERA_TESTS_MP4_MP4_BYTES_H
#define TAGVERA_TESTS_MP4_MP4_BYTES_H

#include <cstdint>
#include <string>
#include <vector>

namespace tagvera::mp4::testing {

using Bytes = std::vector<uint8_t>;

inline Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
inline Bytes U32(uint32_t v) { return {uint8_t(v >> 24), uint8_t(v >> 16), uint8_t(v >> 8), uint8_t(v)}; }
inline Bytes Text(const std::string& s) { return Bytes(s.begin(), s.end()); }
inline Bytes Box(const std::string& type, const Bytes& content) { return U32(uint32_t(content.size() + 8)) + Text(type) + content; }
inline Bytes FullBox(const std::string& type, const Bytes& content) { return Box(type, U32(0) + content); }
inline Bytes Item(const std::string& type, uint32_t dataType, const Bytes& payload) {
    return Box(type, Box("data", U32(dataType) + U32(0) + payload));
}
inline Bytes Title(const std::string& text) { return Item("\xA9nam", 1, Text(text)); }
// mvhd of version 0: time scale and duration, the rest zero.
inline Bytes Mvhd(uint32_t scale, uint32_t duration) { return FullBox("mvhd", U32(0) + U32(0) + U32(scale) + U32(duration) + Bytes(80)); }
// A sound track whose one chunk sits at offset.
inline Bytes Track(uint32_t chunkOffset) {
    const Bytes stbl = Box("stbl", FullBox("stco", U32(1) + U32(chunkOffset)));
    return Box("trak", FullBox("tkhd", Bytes(80)) + Box("mdia", Box("minf", FullBox("smhd", U32(0)) + stbl)));
}
inline Bytes Hdlr(const std::string& handler) { return FullBox("hdlr", U32(0) + Text(handler) + Bytes(13)); }
inline Bytes Udta(const Bytes& metaChildren) { return Box("udta", FullBox("meta", Hdlr("mdir") + metaChildren)); }

}  // namespace tagvera::mp4::testing

#endif
