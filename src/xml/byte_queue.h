// The bytes a reader has been given but not yet consumed: a tag cut by the end of one piece waits
// here for the next. Appending and consuming are amortised linear.
#ifndef TAGVERA_XML_BYTE_QUEUE_H
#define TAGVERA_XML_BYTE_QUEUE_H

#include <cstddef>
#include <cstdint>
#include <memory>

namespace tagvera::xml {

class ByteQueue {
public:
    static constexpr size_t kInitialCapacity = 1024;

    ByteQueue();

    const uint8_t* data() const { return storage_.get() + head_; }
    size_t size() const { return tail_ - head_; }
    bool empty() const { return head_ == tail_; }
    size_t capacity() const { return capacity_; }

    void append(const uint8_t* bytes, size_t count);
    void consume(size_t count);
    // Drops the content and gives back memory beyond the initial capacity.
    void clear();

private:
    std::unique_ptr<uint8_t[]> storage_;
    size_t capacity_ = 0;
    size_t head_ = 0;
    size_t tail_ = 0;
};

}  // namespace tagvera::xml

#endif
