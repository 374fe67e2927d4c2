#include "xml/byte_queue.h"

#include <cstring>
#include <limits>
#include <new>

#include "base/error.h"

namespace tagvera::xml {

ByteQueue::ByteQueue() : storage_(new uint8_t[kInitialCapacity]), capacity_(kInitialCapacity) {}

void ByteQueue::append(const uint8_t* bytes, size_t count) {
    if (count == 0) return;
    if (count > capacity_ - tail_) {
        const size_t used = size();
        if (count > std::numeric_limits<size_t>::max() - used) throw std::bad_alloc();
        const size_t needed = used + count;
        // Moving the live bytes down pays for itself only when at least as many dead bytes go.
        if (needed <= capacity_ && head_ >= used) {
            std::memmove(storage_.get(), storage_.get() + head_, used);
        } else {
            size_t grown = capacity_;
            while (grown < needed) grown = grown > std::numeric_limits<size_t>::max() / 2 ? needed : grown * 2;
            std::unique_ptr<uint8_t[]> bigger(new uint8_t[grown]);
            if (used) std::memcpy(bigger.get(), storage_.get() + head_, used);
            storage_ = std::move(bigger);
            capacity_ = grown;
        }
        head_ = 0;
        tail_ = used;
    }
    std::memcpy(storage_.get() + tail_, bytes, count);
    tail_ += count;
}

void ByteQueue::consume(size_t count) {
    if (count >= size()) {
        head_ = tail_ = 0;
        return;
    }
    head_ += count;
}

void ByteQueue::clear() {
    head_ = tail_ = 0;
    if (capacity_ != kInitialCapacity) {
        storage_.reset(new uint8_t[kInitialCapacity]);
        capacity_ = kInitialCapacity;
    }
}

}  // namespace tagvera::xml
