// The output of both serialized forms: starts at 10000 bytes, doubles (or more, to fit) when full,
// and is handed out as a new[] array that the caller frees with delete[].
#ifndef TAGVERA_METAPROP_OUTPUT_BUFFER_H
#define TAGVERA_METAPROP_OUTPUT_BUFFER_H

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include "base/error.h"

namespace tagvera {

template <class Byte>
class BasicOutputBuffer {
    static_assert(sizeof(Byte) == 1);

public:
    static constexpr size_t kInitialCapacity = 10000;
    // Sizes travel as u32 at the interfaces and inside blocks.
    static constexpr size_t kMaxSize = UINT32_MAX;

    size_t size() const { return size_; }
    Byte* data() { return data_.get(); }
    bool hasRoom(size_t n) const { return capacity_ - size_ >= n; }

    void append(const void* bytes, size_t n) {
        if (n == 0) return;
        reserve(n);
        std::memcpy(data_.get() + size_, bytes, n);
        size_ += n;
    }
    void append(std::string_view text) { append(text.data(), text.size()); }
    void append(char c) {
        reserve(1);
        data_[size_++] = static_cast<Byte>(c);
    }
    // n zero bytes, to be filled in later; returns where they start.
    size_t appendZeros(size_t n) {
        reserve(n);
        std::memset(data_.get() + size_, 0, n);
        const size_t at = size_;
        size_ += n;
        return at;
    }
    // Drops what was appended after size n (a piece that is left out after all).
    void truncate(size_t n) {
        if (n < size_) size_ = n;
    }
    // Hands the bytes over; the buffer is empty afterwards.
    Byte* release() {
        size_ = capacity_ = 0;
        return data_.release();
    }

private:
    void reserve(size_t n) {
        if (hasRoom(n)) return;
        if (n > kMaxSize - size_) throw Error(TV_E_OUTOFMEMORY, "serialized form larger than 4 GB");
        size_t capacity = capacity_ ? capacity_ : kInitialCapacity;
        while (capacity - size_ < n) capacity = capacity > kMaxSize / 2 ? kMaxSize : capacity * 2;
        std::unique_ptr<Byte[]> bigger(new (std::nothrow) Byte[capacity]);
        if (!bigger) throw Error(TV_E_OUTOFMEMORY, "out of memory for the serialized form");
        if (size_) std::memcpy(bigger.get(), data_.get(), size_);
        data_ = std::move(bigger);
        capacity_ = capacity;
    }

    std::unique_ptr<Byte[]> data_;
    size_t size_ = 0;
    size_t capacity_ = 0;
};

// Blocks are bytes, documents are text.
using OutputBuffer = BasicOutputBuffer<uint8_t>;
using TextOutputBuffer = BasicOutputBuffer<char>;

}  // namespace tagvera

#endif
