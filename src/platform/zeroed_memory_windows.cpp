// Committed pages are zero until written and take physical memory only once touched; the commit
// charge is the whole size, as a Linux mapping's would be without overcommit.
#include "platform/zeroed_memory.h"

#include <windows.h>

#include <new>

namespace tagvera::platform {

ZeroedMemory::ZeroedMemory(size_t size) : size_(size) {
    if (size == 0) return;
    void* pages = ::VirtualAlloc(nullptr, size, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    if (!pages) throw std::bad_alloc();
    data_ = static_cast<uint8_t*>(pages);
}

ZeroedMemory::~ZeroedMemory() {
    if (data_) ::VirtualFree(data_, 0, MEM_RELEASE);
}

}  // namespace tagvera::platform
