#include "platform/checksum.h"

#include <bit>
#include <cstring>

namespace tagvera::platform {
namespace {

uint64_t Mix(uint64_t state, uint64_t word) {
    state ^= word * 0xff51afd7ed558ccdull;
    return std::rotl(state, 29) * 0xc4ceb9fe1a85ec53ull;
}

// Little-endian everywhere, so that a journal written on one machine checks on another.
uint64_t LoadWord(const uint8_t* p) {
    uint64_t w;
    std::memcpy(&w, p, sizeof w);
    if constexpr (std::endian::native == std::endian::big) w = __builtin_bswap64(w);
    return w;
}

}  // namespace

void Checksum::add(std::span<const uint8_t> bytes) {
    length_ += bytes.size();
    const uint8_t* p = bytes.data();
    const uint8_t* const end = p + bytes.size();
    for (; pendingBytes_ != 0 && p != end; ++p) {
        pending_ |= uint64_t(*p) << (8 * pendingBytes_);
        if (++pendingBytes_ == 8) {
            state_ = Mix(state_, pending_);
            pending_ = 0;
            pendingBytes_ = 0;
        }
    }
    for (; end - p >= 8; p += 8) state_ = Mix(state_, LoadWord(p));
    for (; p != end; ++p) pending_ |= uint64_t(*p) << (8 * pendingBytes_++);
}

uint64_t Checksum::value() const {
    uint64_t h = Mix(state_, pending_) ^ length_;
    h ^= h >> 33;
    h *= 0xff51afd7ed558ccdull;
    h ^= h >> 33;
    h *= 0xc4ceb9fe1a85ec53ull;
    return h ^ (h >> 33);
}

}  // namespace tagvera::platform
