// A bounded cursor over bytes in memory: every read is checked against what remains.
#ifndef TAGVERA_BASE_BYTE_READER_H
#define TAGVERA_BASE_BYTE_READER_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "base/error.h"

namespace tagvera {

class ByteReader {
public:
    // failCode is what a read past the end throws; each format picks its own.
    explicit ByteReader(std::span<const uint8_t> bytes, HRESULT failCode = TV_E_FAIL)
        : data_(bytes.data()), size_(bytes.size()), failCode_(failCode) {}
    ByteReader(const void* data, size_t size, HRESULT failCode = TV_E_FAIL)
        : data_(static_cast<const uint8_t*>(data)), size_(size), failCode_(failCode) {}

    size_t size() const { return size_; }
    size_t offset() const { return pos_; }
    size_t remaining() const { return size_ - pos_; }
    bool empty() const { return pos_ == size_; }
    const uint8_t* current() const { return data_ + pos_; }
    HRESULT failCode() const { return failCode_; }

    void require(size_t n, const char* what = "truncated data") const {
        if (n > remaining()) throw Error(failCode_, what);
    }
    void seek(size_t offset) {
        if (offset > size_) throw Error(failCode_, "offset beyond data");
        pos_ = offset;
    }
    void skip(size_t n) {
        require(n);
        pos_ += n;
    }

    uint8_t u8() {
        require(1);
        return data_[pos_++];
    }
    uint16_t u16le() { return static_cast<uint16_t>(le(2)); }
    uint32_t u32le() { return static_cast<uint32_t>(le(4)); }
    uint64_t u64le() { return le(8); }
    uint16_t u16be() { return static_cast<uint16_t>(be(2)); }
    uint32_t u24be() { return static_cast<uint32_t>(be(3)); }
    uint32_t u32be() { return static_cast<uint32_t>(be(4)); }
    uint64_t u64be() { return be(8); }

    std::span<const uint8_t> bytes(size_t n) {
        require(n);
        std::span<const uint8_t> out(data_ + pos_, n);
        pos_ += n;
        return out;
    }
    // A sub-reader over the next n bytes, sharing this reader's failure code.
    ByteReader sub(size_t n) { return ByteReader(bytes(n), failCode_); }
    std::string_view chars(size_t n) {
        auto b = bytes(n);
        return {reinterpret_cast<const char*>(b.data()), b.size()};
    }

private:
    uint64_t le(size_t n) {
        require(n);
        uint64_t v = 0;
        for (size_t i = 0; i < n; ++i) v |= uint64_t(data_[pos_ + i]) << (8 * i);
        pos_ += n;
        return v;
    }
    uint64_t be(size_t n) {
        require(n);
        uint64_t v = 0;
        for (size_t i = 0; i < n; ++i) v = (v << 8) | data_[pos_ + i];
        pos_ += n;
        return v;
    }

    const uint8_t* data_;
    size_t size_;
    size_t pos_ = 0;
    HRESULT failCode_;
};

// Overflow-checked addition of sizes taken from a file.
inline bool AddOverflows(uint64_t a, uint64_t b, uint64_t* out) { return __builtin_add_overflow(a, b, out); }
// The same where a sum that does not fit makes the block malformed: it throws failCode.
inline uint64_t CheckedSum(uint64_t a, uint64_t b, HRESULT failCode, const char* what) {
    uint64_t sum = 0;
    if (AddOverflows(a, b, &sum)) throw Error(failCode, what);
    return sum;
}

}  // namespace tagvera

#endif
