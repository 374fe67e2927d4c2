#include "image/tiff_ifd.h"

#include <cstring>

#include "base/error.h"
#include "image/probe_checks.h"

namespace tagvera::image {
namespace {

constexpr uint16_t kShort = 3;
constexpr uint16_t kLong = 4;
constexpr uint16_t kRational = 5;
// Real first directories hold a few dozen entries; more is a damaged or hostile file.
constexpr uint32_t kMostEntries = 1024;

}  // namespace

TiffIfd0::TiffIfd0(ByteSource& source, uint64_t base, uint64_t length) : source_(source), base_(base), length_(length) {
    if (base > source.size() || length > source.size() - base) throw Error(TV_E_FAIL, "TIFF structure past the end of the file");
    if (length < 8) throw Error(TV_E_FAIL, "TIFF header truncated");
    const auto header = source.readExact(base, 8);
    if (header[0] == 'I' && header[1] == 'I') bigEndian_ = false;
    else if (header[0] == 'M' && header[1] == 'M') bigEndian_ = true;
    else throw Error(TV_E_FAIL, "TIFF byte order mark missing");
    if (u16(&header[2]) != 42) throw Error(TV_E_FAIL, "TIFF magic number missing");
    const uint64_t ifd = u32(&header[4]);
    if (ifd < 8 || ifd > length - 2) throw Error(TV_E_FAIL, "TIFF directory offset outside the file");
    const auto countBytes = source.readExact(base + ifd, 2);
    const uint32_t count = u16(countBytes.data());
    if (count == 0 || count > kMostEntries) throw Error(TV_E_FAIL, "TIFF directory entry count out of range");
    if (uint64_t(count) * 12 > length - ifd - 2) throw Error(TV_E_FAIL, "TIFF directory past the end of the file");
    const auto raw = source.readExact(base + ifd + 2, size_t(count) * 12);
    entries_.reserve(count);
    for (uint32_t i = 0; i < count; ++i) {
        const uint8_t* p = raw.data() + size_t(i) * 12;
        TiffEntry e;
        e.tag = u16(p);
        e.type = u16(p + 2);
        e.count = u32(p + 4);
        std::memcpy(e.field, p + 8, 4);
        entries_.push_back(e);
    }
}

uint16_t TiffIfd0::u16(const uint8_t* p) const {
    return bigEndian_ ? uint16_t(p[0] << 8 | p[1]) : uint16_t(p[1] << 8 | p[0]);
}

uint32_t TiffIfd0::u32(const uint8_t* p) const {
    return bigEndian_ ? uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3]
                      : uint32_t(p[3]) << 24 | uint32_t(p[2]) << 16 | uint32_t(p[1]) << 8 | p[0];
}

const TiffEntry* TiffIfd0::find(uint16_t tag) const {
    for (const auto& e : entries_)
        if (e.tag == tag) return &e;
    return nullptr;
}

std::vector<uint8_t> TiffIfd0::valueBytes(const TiffEntry& entry, size_t size) const {
    if (size <= 4) return {entry.field, entry.field + size};
    const uint64_t offset = u32(entry.field);
    if (offset > length_ || size > length_ - offset) throw Error(TV_E_FAIL, "TIFF value past the end of the file");
    return source_.readExact(base_ + offset, size);
}

std::optional<uint32_t> TiffIfd0::number(uint16_t tag) const {
    const TiffEntry* e = find(tag);
    if (!e || e->count == 0) return std::nullopt;
    if (e->type == kShort) return u16(e->field);
    if (e->type == kLong) return u32(e->field);
    return std::nullopt;
}

std::vector<uint16_t> TiffIfd0::shorts(uint16_t tag, size_t max) const {
    const TiffEntry* e = find(tag);
    if (!e || e->type != kShort || e->count == 0 || e->count > max) return {};
    const auto bytes = valueBytes(*e, size_t(e->count) * 2);
    std::vector<uint16_t> out;
    for (size_t i = 0; i < e->count; ++i) out.push_back(u16(&bytes[i * 2]));
    return out;
}

std::vector<uint32_t> TiffIfd0::numbers(uint16_t tag, size_t max) const {
    const TiffEntry* e = find(tag);
    if (!e || (e->type != kShort && e->type != kLong) || e->count == 0 || e->count > max) return {};
    const size_t width = e->type == kShort ? 2 : 4;
    const auto bytes = valueBytes(*e, size_t(e->count) * width);
    std::vector<uint32_t> out;
    out.reserve(e->count);
    for (size_t i = 0; i < e->count; ++i) out.push_back(width == 2 ? u16(&bytes[i * 2]) : u32(&bytes[i * 4]));
    return out;
}

std::optional<double> TiffIfd0::rational(uint16_t tag) const {
    const TiffEntry* e = find(tag);
    if (!e || e->type != kRational || e->count == 0) return std::nullopt;
    const auto bytes = valueBytes(*e, 8);
    const uint32_t denominator = u32(&bytes[4]);
    if (denominator == 0) return std::nullopt;
    return double(u32(&bytes[0])) / denominator;
}

std::optional<Dpi> TiffDpi(const TiffIfd0& ifd) {
    const auto x = ifd.rational(282);
    const auto y = ifd.rational(283);
    if (!x || !y) return std::nullopt;
    const double scale = ifd.number(296).value_or(2) == 3 ? kCentimetresPerInch : 1.0;
    return Dpi{*x * scale, *y * scale};
}

}  // namespace tagvera::image
