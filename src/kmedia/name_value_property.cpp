#include "kmedia/name_value_property.h"

#include <algorithm>

namespace tagvera::kmedia {
namespace {

constexpr size_t kMaxName = 255;
constexpr size_t kMaxValue = 65535;

}  // namespace

NameValueProperty NameValueProperty::Number(std::string name, uint32_t v) {
    NameValueProperty p;
    p.name = std::move(name);
    p.type = kNumber;
    p.value = {uint8_t(v >> 24), uint8_t(v >> 16), uint8_t(v >> 8), uint8_t(v)};
    return p;
}

NameValueProperty NameValueProperty::Buffer(std::string name, std::vector<uint8_t> bytes) {
    NameValueProperty p;
    p.name = std::move(name);
    p.type = kBuffer;
    p.value = std::move(bytes);
    return p;
}

NameValueProperty NameValueProperty::Text(std::string name, std::string_view text) {
    NameValueProperty p;
    p.name = std::move(name);
    p.type = kText;
    p.value.assign(text.begin(), text.end());
    return p;
}

NameValueProperty NameValueProperty::Read(ByteReader& in) {
    NameValueProperty p;
    const uint32_t size = in.u32be();
    if (size < 6) throw Error(in.failCode(), "name/value record below its 6-byte header");
    in.require(size - 4, "name/value record runs past its stream record");
    ByteReader rec = in.sub(size - 4);
    p.version = rec.u16be();
    if (p.version != 0) return p;
    p.name = std::string(rec.chars(rec.u8()));
    p.type = rec.u32be();
    const uint16_t n = rec.u16be();
    const auto bytes = rec.bytes(n);
    p.value.assign(bytes.begin(), bytes.end());
    return p;
}

uint32_t NameValueProperty::Size() const {
    if (version != 0) return 6;
    return static_cast<uint32_t>(13 + std::min(name.size(), kMaxName) + std::min(value.size(), kMaxValue));
}

void NameValueProperty::Write(BeWriter& out) const {
    out.u32(Size());
    out.u16(version);
    if (version != 0) return;
    const std::string_view n = std::string_view(name).substr(0, kMaxName);
    out.u8(static_cast<uint8_t>(n.size()));
    out.chars(n);
    out.u32(type);
    const size_t len = std::min(value.size(), kMaxValue);
    out.u16(static_cast<uint16_t>(len));
    out.bytes(std::span(value).first(len));
}

bool NameValueProperty::AsNumber(uint32_t* out) const {
    if (version != 0 || type != kNumber || value.size() != 4) return false;
    *out = uint32_t(value[0]) << 24 | uint32_t(value[1]) << 16 | uint32_t(value[2]) << 8 | value[3];
    return true;
}

}  // namespace tagvera::kmedia
