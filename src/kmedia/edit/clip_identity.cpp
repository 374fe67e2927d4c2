#include "kmedia/edit/clip_identity.h"

#include <sys/sysinfo.h>

#include <algorithm>
#include <cstdio>
#include <random>

#include "base/md5.h"

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

void PutU32(std::array<uint8_t, 32>& out, size_t at, uint64_t v) {
    const uint32_t x = static_cast<uint32_t>(std::min<uint64_t>(v, UINT32_MAX));
    for (int i = 0; i < 4; ++i) out[at + size_t(i)] = static_cast<uint8_t>(x >> (8 * i));
}

// The memory-status record (length, load, then physical, paging and virtual totals and frees),
// filled from what this system reports; it only adds entropy.
std::array<uint8_t, 32> MemoryStatus() {
    std::array<uint8_t, 32> r{};
    struct sysinfo si {};
    if (sysinfo(&si) != 0) return r;
    const uint64_t unit = si.mem_unit ? si.mem_unit : 1;
    const uint64_t total = uint64_t(si.totalram) * unit, free = uint64_t(si.freeram) * unit;
    PutU32(r, 0, 32);
    PutU32(r, 4, total ? 100 - free * 100 / total : 0);
    PutU32(r, 8, total);
    PutU32(r, 12, free);
    PutU32(r, 16, uint64_t(si.totalswap) * unit);
    PutU32(r, 20, uint64_t(si.freeswap) * unit);
    PutU32(r, 24, uint64_t(si.totalhigh) * unit);
    PutU32(r, 28, uint64_t(si.freehigh) * unit);
    return r;
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
    std::random_device random;
    std::vector<uint8_t> seed(16 + 32);
    for (size_t i = 0; i < 16; i += 4) {
        const uint32_t v = random();
        for (size_t k = 0; k < 4; ++k) seed[i + k] = static_cast<uint8_t>(v >> (8 * k));
    }
    seed[7] = static_cast<uint8_t>((seed[7] & 0x0F) | 0x40);  // a version-4 GUID
    seed[8] = static_cast<uint8_t>((seed[8] & 0x3F) | 0x80);
    const auto status = MemoryStatus();
    std::copy(status.begin(), status.end(), seed.begin() + 16);
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
