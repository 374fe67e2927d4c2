#include "component/buffer.h"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <vector>

namespace tagvera {

CZNBuffer::CZNBuffer() { std::memset(area_, 0, sizeof area_); }

CZNBuffer::~CZNBuffer() { freeBlock(); }

HRESULT CZNBuffer::InternalQueryInterface(const GUID& iid, void** out) {
    if (!out) return TV_E_POINTER;
    if (iid == IID_IUnknown) return Hand(static_cast<CUnknownIMP*>(this), out);
    if (iid == IID_IKMABuffer) return Hand(static_cast<IKMABuffer*>(this), out);
    return NoInterface(out);
}

uint8_t* CZNBuffer::block() const {
    uint8_t* p;
    std::memcpy(&p, area_, sizeof p);
    return p;
}

uint32_t CZNBuffer::heapLength() const {
    uint32_t n;
    std::memcpy(&n, area_ + kLengthAt, sizeof n);
    return n;
}

void CZNBuffer::setHeap(uint8_t* p, uint32_t length, bool owned) {
    std::memcpy(area_, &p, sizeof p);
    setHeapLength(length);
    area_[kOwnedAt] = owned ? 1 : 0;
    area_[kInlineCapacity] = kHeapMarker;
}

void CZNBuffer::setHeapLength(uint32_t length) { std::memcpy(area_ + kLengthAt, &length, sizeof length); }

void CZNBuffer::freeBlock() {
    if (onHeap() && ownsBlock()) std::free(block());
}

uint32_t TV_STDCALL CZNBuffer::GetSize() { return onHeap() ? heapLength() : area_[kInlineCapacity]; }

uint8_t* TV_STDCALL CZNBuffer::GetBuffer() { return onHeap() ? block() : area_; }

HRESULT TV_STDCALL CZNBuffer::Get(uint8_t** data, uint32_t* size) {
    if (!data || !size) return TV_E_POINTER;
    *data = GetBuffer();
    *size = GetSize();
    return TV_S_OK;
}

HRESULT CZNBuffer::Resize(uint32_t size, bool keep) {
    // Another holder may be reading the content; it must not move or shrink under them.
    if (refCount() > 1) return TV_E_NOCLASSFACTORY;
    const uint32_t length = GetSize();
    if (size <= length) {
        if (onHeap())
            setHeapLength(size);
        else
            setInlineLength(size);
        return TV_S_OK;
    }
    if (size <= kInlineCapacity) {
        if (onHeap()) {
            uint8_t* old = block();
            const bool owned = ownsBlock();
            if (keep) std::memcpy(area_, old, length);
            if (owned) std::free(old);
        }
        setInlineLength(size);
        return TV_S_OK;
    }
    if (onHeap() && ownsBlock() && keep) {
        auto* grown = static_cast<uint8_t*>(std::realloc(block(), size));
        if (!grown) return TV_E_OUTOFMEMORY;
        setHeap(grown, size, true);
        return TV_S_OK;
    }
    auto* fresh = static_cast<uint8_t*>(std::malloc(size));
    if (!fresh) return TV_E_OUTOFMEMORY;
    if (keep) std::memcpy(fresh, GetBuffer(), length);
    freeBlock();
    setHeap(fresh, size, true);
    return TV_S_OK;
}

HRESULT TV_STDCALL CZNBuffer::SetSize(uint32_t size) {
    const uint32_t length = GetSize();
    const HRESULT hr = Resize(size, true);
    // Grown bytes read as zeros rather than whatever an earlier content left there.
    if (Succeeded(hr) && size > length) std::memset(GetBuffer() + length, 0, size - length);
    return hr;
}

HRESULT TV_STDCALL CZNBuffer::Set(const uint8_t* data, uint32_t size) {
    if (!data && size) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        // Setting a buffer from its own content: take a copy before the storage moves.
        const uint8_t* base = GetBuffer();
        const uint8_t* end = base + GetSize();
        std::vector<uint8_t> copy;
        const std::less<const uint8_t*> before;
        if (size && !before(data, base) && before(data, end)) {
            if (size > static_cast<size_t>(end - data)) return TV_E_INVALIDARG;
            copy.assign(data, data + size);
            data = copy.data();
        }
        const HRESULT hr = Resize(size, false);
        if (Failed(hr)) return hr;
        if (size) std::memmove(GetBuffer(), data, size);
        return TV_S_OK;
    });
}

}  // namespace tagvera
