#include "kmedia/edit/clip_identity.h"

#include <algorithm>
#include <cstdio>

#include "base/md5.h"
#include "platform/system_identity.h"

namespace tagvera::kmedia {
namespace {

constexpr char kFileId[] = "File ID";
constexpr char kKeepMarker[] = "Do Not Alter Clip ID";

NameValueProperty* Find(std::vector<NameValueProperty>& list, std::string_view name) {
    auto it = std::find_if(list.begin(), list.end(), [&](const NameValueProperty& p) { return p.name == name; });
    return it == list.end() ? nullptr : &*it;
}

bool NonzeroNumber(std::vector<NameValueProperty>& list, std::string_view name) {
    uint32_t v = 0;
    const NameValueProperty* p = Find(list, name);
    return p && p->AsNumber(&v) && v != 0;
}

void Remove(std::vector<NameValueProperty>& list, std::string_view name) {
    std::erase_if(list, [&](const NameValueProperty& p) { return p.name == name; });
}

}  // namespace

std::string ClipIdText(const std::array<uint8_t, 16>& d) {
    // The digest's first three fields are little-endian integers, as a GUID lays them out.
    const uint32_t d1 = uint32_t(d[0]) | uint32_t(d[1]) << 8 | uint32_t(d[2]) << 16 | uint32_t(d[3]) << 24;
    const unsigned d2 = d[4] | d[5] << 8, d3 = d[6] | d[7] << 8;
    char text[37];
    std::snprintf(text, sizeof text, "%.4x%.4x-%.4x-%.4x-%.2x%.2x-%.2x%.2x%.2x%.2x%.2x%.2x", d1 >> 16, d1 & 0xFFFF, d2,
                  d3, d[8], d[9], d[10], d[11], d[12], d[13], d[14], d[15]);
    return text;
}

std::string NewClipId() {
    const auto guid = platform::NewGuidBytes();
    const auto status = platform::MemoryStatusRecord();
    std::vector<uint8_t> seed(guid.begin(), guid.end());
    seed.insert(seed.end(), status.begin(), status.end());
    return ClipIdText(Md5(seed));
}

void ApplyClipIdentityRule(std::vector<NameValueProperty>& properties, bool renew) {
    if (!NonzeroNumber(properties, kKeepMarker)) {
        NameValueProperty* id = Find(properties, kFileId);
        const bool hasId = id && id->type == NameValueProperty::kText && !id->value.empty() && id->value[0] != 0;
        if (NonzeroNumber(properties, "Indexable")) {
            if (!hasId || renew) {
                std::string text = NewClipId();
                text.push_back('\0');
                if (id) *id = NameValueProperty::Text(kFileId, text);
                else properties.push_back(NameValueProperty::Text(kFileId, text));
            }
        } else if (id) {
            Remove(properties, kFileId);
        }
    }
    Remove(properties, kKeepMarker);
}

}  // namespace tagvera::kmedia
