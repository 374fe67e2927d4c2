// A byte vector whose new elements are left uncleared: buffers that a read is about to fill
// (a 64 KB window, a tag) need not be written twice, nor have pages of theirs touched that the
// read skips.
#ifndef TAGVERA_BASE_READ_BUFFER_H
#define TAGVERA_BASE_READ_BUFFER_H

#include <cstdint>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace tagvera {

template <class T>
struct DefaultInitAllocator : std::allocator<T> {
    using std::allocator<T>::allocator;
    template <class U>
    struct rebind {
        using other = DefaultInitAllocator<U>;
    };
    template <class U>
    void construct(U* p) noexcept {
        ::new (static_cast<void*>(p)) U;
    }
    template <class U, class... Args>
    void construct(U* p, Args&&... args) {
        ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
    }
};

using ReadBuffer = std::vector<uint8_t, DefaultInitAllocator<uint8_t>>;

}  // namespace tagvera

#endif
