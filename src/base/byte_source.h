// Random access to the bytes of a file (or of memory) without holding them: what readers are given
// instead of a path. Offsets are 64-bit; files over 4 GB are normal.
#ifndef TAGVERA_BASE_BYTE_SOURCE_H
#define TAGVERA_BASE_BYTE_SOURCE_H

#include <cstdint>
#include <algorithm>
#include <cstring>
#include <span>
#include <vector>

#include "base/error.h"

namespace tagvera {

class ByteSource {
public:
    virtual ~ByteSource() = default;
    virtual uint64_t size() const = 0;
    // Reads up to out.size() bytes at offset; returns how many were read (short only at the end).
    // Throws Error on an I/O failure.
    virtual size_t readAt(uint64_t offset, std::span<uint8_t> out) = 0;

    // Exactly n bytes at offset, or the failure code.
    std::vector<uint8_t> readExact(uint64_t offset, size_t n, HRESULT failCode = TV_E_FAIL) {
        if (offset > size() || n > size() - offset) throw Error(failCode, "read beyond end of file");
        std::vector<uint8_t> buf(n);
        if (readAt(offset, buf) != n) throw Error(failCode, "short read");
        return buf;
    }
};

// A ByteSource over bytes already in memory (tests, fuzzers, embedded blocks).
class MemorySource final : public ByteSource {
public:
    explicit MemorySource(std::span<const uint8_t> bytes) : bytes_(bytes) {}
    uint64_t size() const override { return bytes_.size(); }
    size_t readAt(uint64_t offset, std::span<uint8_t> out) override {
        if (offset >= bytes_.size()) return 0;
        const size_t n = std::min<uint64_t>(out.size(), bytes_.size() - offset);
        if (n) std::memcpy(out.data(), bytes_.data() + offset, n);
        return n;
    }

private:
    std::span<const uint8_t> bytes_;
};

}  // namespace tagvera

#endif
