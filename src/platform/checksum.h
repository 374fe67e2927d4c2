// A 64-bit checksum of a byte stream fed in pieces of any size: the same bytes give the same value
// however they are cut. It tells a torn or mixed write from a whole one; it is no defence against
// someone forging a match.
#ifndef TAGVERA_PLATFORM_CHECKSUM_H
#define TAGVERA_PLATFORM_CHECKSUM_H

#include <cstdint>
#include <span>

namespace tagvera::platform {

class Checksum {
public:
    void add(std::span<const uint8_t> bytes);
    uint64_t value() const;

private:
    uint64_t state_ = 0x9E3779B97F4A7C15ull;
    uint64_t pending_ = 0;  // the bytes of an unfinished word, the first in the low bits
    unsigned pendingBytes_ = 0;
    uint64_t length_ = 0;
};

}  // namespace tagvera::platform

#endif
