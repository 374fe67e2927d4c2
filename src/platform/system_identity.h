// What the system offers toward a new unique identifier: a fresh GUID, and the 32-byte
// memory-status record (length, load, physical, paging and virtual totals and frees) that
// identifiers are salted with.
#ifndef TAGVERA_PLATFORM_SYSTEM_IDENTITY_H
#define TAGVERA_PLATFORM_SYSTEM_IDENTITY_H

#include <array>
#include <cstdint>

namespace tagvera::platform {

// 16 bytes in GUID layout, version 4 (random).
std::array<uint8_t, 16> NewGuidBytes();

// Little-endian 32-bit fields, each clipped to 32 bits; zeros where the system says nothing.
std::array<uint8_t, 32> MemoryStatusRecord();

}  // namespace tagvera::platform

#endif
