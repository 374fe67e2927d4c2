#include "heap_meter.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<size_t> g_inUse{0};
std::atomic<size_t> g_peak{0};

void* Take(size_t n) {
    void* p = std::malloc(n ? n : 1);
    if (!p) throw std::bad_alloc();
    const size_t now = g_inUse += malloc_usable_size(p);
    size_t peak = g_peak.load();
    while (now > peak && !g_peak.compare_exchange_weak(peak, now)) {
    }
    return p;
}

void Give(void* p) noexcept {
    if (!p) return;
    g_inUse -= malloc_usable_size(p);
    std::free(p);
}

}  // namespace

void* operator new(size_t n) { return Take(n); }
void* operator new[](size_t n) { return Take(n); }
void* operator new(size_t n, const std::nothrow_t&) noexcept {
    try {
        return Take(n);
    } catch (...) {
        return nullptr;
    }
}
void* operator new[](size_t n, const std::nothrow_t&) noexcept {
    try {
        return Take(n);
    } catch (...) {
        return nullptr;
    }
}
void operator delete(void* p) noexcept { Give(p); }
void operator delete[](void* p) noexcept { Give(p); }
void operator delete(void* p, size_t) noexcept { Give(p); }
void operator delete[](void* p, size_t) noexcept { Give(p); }

namespace tagvera::bench {

size_t HeapInUse() { return g_inUse.load(); }
size_t HeapPeak() { return g_peak.load(); }
void ResetHeapPeak() { g_peak = g_inUse.load(); }

}  // namespace tagvera::bench
