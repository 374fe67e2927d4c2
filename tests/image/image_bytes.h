// Small images built byte by byte, for the cases no tool writes: damaged headers, extreme sizes,
// loops. Checksums are left zero; nothing here reads them.
#ifndef TAGVERA_TESTS_IMAGE_IMAGE_BYTES_H
#define TAGVERA_TESTS_IMAGE_IMAGE_BYTES_H

#include <cstdint>
#include <string>
#include <vector>

namespace tagvera::image::testing {

using Bytes = std::vector<uint8_t>;

inline Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
inline Bytes Be16(uint32_t v) { return {uint8_t(v >> 8), uint8_t(v)}; }
inline Bytes Be32(uint32_t v) { return {uint8_t(v >> 24), uint8_t(v >> 16), uint8_t(v >> 8), uint8_t(v)}; }
inline Bytes Le16(uint32_t v) { return {uint8_t(v), uint8_t(v >> 8)}; }
inline Bytes Le32(uint32_t v) { return {uint8_t(v), uint8_t(v >> 8), uint8_t(v >> 16), uint8_t(v >> 24)}; }
inline Bytes Text(const std::string& s) { return Bytes(s.begin(), s.end()); }

// JPEG: a segment with its length, a baseline frame header, and a whole file around segments.
inline Bytes Segment(uint8_t marker, const Bytes& body) { return Bytes{0xFF, marker} + Be16(uint32_t(body.size()) + 2) + body; }
inline Bytes Frame(uint32_t width, uint32_t height, uint8_t components) {
    return Segment(0xC0, Bytes{8} + Be16(height) + Be16(width) + Bytes{components} + Bytes(size_t(components) * 3, 1));
}
inline Bytes Jfif(uint8_t units, uint32_t x, uint32_t y) {
    return Segment(0xE0, Text(std::string("JFIF\0", 5)) + Bytes{1, 1, units} + Be16(x) + Be16(y) + Bytes{0, 0});
}
inline Bytes Jpeg(const Bytes& segments) {
    return Bytes{0xFF, 0xD8} + segments + Segment(0xDA, Bytes{1, 1, 0, 0, 63, 0}) + Bytes{0x12, 0x34, 0xFF, 0xD9};
}

// PNG: a chunk with its length, a header chunk, and a file of chunks ending in IEND.
inline Bytes Chunk(const char* type, const Bytes& body, uint32_t length) {
    return Be32(length) + Text(type) + body + Be32(0);
}
inline Bytes Chunk(const char* type, const Bytes& body) { return Chunk(type, body, uint32_t(body.size())); }
inline Bytes Ihdr(uint32_t width, uint32_t height, uint8_t depth, uint8_t colourType) {
    return Chunk("IHDR", Be32(width) + Be32(height) + Bytes{depth, colourType, 0, 0, 0});
}
inline Bytes Png(const Bytes& chunks) {
    return Bytes{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'} + chunks + Chunk("IDAT", Bytes(4, 0)) + Chunk("IEND", {});
}

// TIFF, little-endian: a directory at offset 8 of entries whose values fit in their field, and
// the offset of the next directory.
struct Entry {
    uint16_t tag, type;
    uint32_t count, field;
};
inline Bytes TiffDirectory(const std::vector<Entry>& entries, uint32_t next) {
    Bytes out = Le16(uint32_t(entries.size()));
    for (const auto& e : entries) out = out + Le16(e.tag) + Le16(e.type) + Le32(e.count) + Le32(e.field);
    return out + Le32(next);
}
inline Bytes Tiff(const std::vector<Entry>& entries, uint32_t next = 0, const Bytes& tail = {}) {
    return Text("II*") + Bytes{0} + Le32(8) + TiffDirectory(entries, next) + tail;
}
inline std::vector<Entry> TiffPicture(uint32_t width, uint32_t height) {
    return {{256, 4, 1, width}, {257, 4, 1, height}, {258, 3, 1, 8}, {262, 3, 1, 1}, {277, 3, 1, 1}};
}

// BMP with the 40-byte information header; a negative height is a top-down picture.
inline Bytes Bmp(uint32_t width, uint32_t height, uint32_t bits, uint32_t ppm = 0) {
    return Text("BM") + Le32(0) + Le32(0) + Le32(54) + Le32(40) + Le32(width) + Le32(height) + Le16(1) + Le16(bits) +
           Le32(0) + Le32(0) + Le32(ppm) + Le32(ppm) + Le32(0) + Le32(0);
}

}  // namespace tagvera::image::testing

#endif
