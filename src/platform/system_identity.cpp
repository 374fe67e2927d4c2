#include "platform/system_identity.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/sysinfo.h>
#endif

#include <algorithm>
#include <random>

namespace tagvera::platform {

namespace {

void PutU32(std::array<uint8_t, 32>& out, size_t at, uint64_t v) {
    const uint32_t x = static_cast<uint32_t>(std::min<uint64_t>(v, UINT32_MAX));
    for (size_t i = 0; i < 4; ++i) out[at + i] = static_cast<uint8_t>(x >> (8 * i));
}

}  // namespace

std::array<uint8_t, 16> NewGuidBytes() {
    std::random_device random;
    std::array<uint8_t, 16> guid{};
    for (size_t i = 0; i < guid.size(); i += 4) {
        const uint32_t v = random();
        for (size_t k = 0; k < 4; ++k) guid[i + k] = static_cast<uint8_t>(v >> (8 * k));
    }
    guid[7] = static_cast<uint8_t>((guid[7] & 0x0F) | 0x40);
    guid[8] = static_cast<uint8_t>((guid[8] & 0x3F) | 0x80);
    return guid;
}

std::array<uint8_t, 32> MemoryStatusRecord() {
    std::array<uint8_t, 32> r{};
#if defined(_WIN32)
    // The record has the layout of MEMORYSTATUS; the 64-bit call's figures are clipped to it.
    MEMORYSTATUSEX ms{};
    ms.dwLength = sizeof ms;
    if (!::GlobalMemoryStatusEx(&ms)) return r;
    PutU32(r, 0, 32);
    PutU32(r, 4, ms.dwMemoryLoad);
    PutU32(r, 8, ms.ullTotalPhys);
    PutU32(r, 12, ms.ullAvailPhys);
    PutU32(r, 16, ms.ullTotalPageFile);
    PutU32(r, 20, ms.ullAvailPageFile);
    PutU32(r, 24, ms.ullTotalVirtual);
    PutU32(r, 28, ms.ullAvailVirtual);
    return r;
#else
    struct sysinfo si {};
    if (::sysinfo(&si) != 0) return r;
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
#endif
}

}  // namespace tagvera::platform
