// A large buffer of zero bytes whose untouched pages cost neither time nor memory: for a reader
// that must lay a few ranges of a file out at their own offsets (a TIFF's metadata between its
// pixel data) without clearing the gaps by hand.
#ifndef TAGVERA_PLATFORM_ZEROED_MEMORY_H
#define TAGVERA_PLATFORM_ZEROED_MEMORY_H

#include <cstddef>
#include <cstdint>
#include <span>

namespace tagvera::platform {

class ZeroedMemory {
public:
    // Throws std::bad_alloc when the pages cannot be reserved.
    explicit ZeroedMemory(size_t size);
    ~ZeroedMemory();
    ZeroedMemory(const ZeroedMemory&) = delete;
    ZeroedMemory& operator=(const ZeroedMemory&) = delete;

    std::span<uint8_t> bytes() const { return {data_, size_}; }

private:
    uint8_t* data_ = nullptr;
    size_t size_ = 0;
};

}  // namespace tagvera::platform

#endif
