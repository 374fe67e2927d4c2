// Anonymous pages are zero until written. (Windows: VirtualAlloc with MEM_COMMIT | MEM_RESERVE.)
#include "platform/zeroed_memory.h"

#include <sys/mman.h>

#include <new>

namespace tagvera::platform {

ZeroedMemory::ZeroedMemory(size_t size) : size_(size) {
    if (size == 0) return;
    void* pages = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) throw std::bad_alloc();
    data_ = static_cast<uint8_t*>(pages);
}

ZeroedMemory::~ZeroedMemory() {
    if (data_) ::munmap(data_, size_);
}

}  // namespace tagvera::platform
