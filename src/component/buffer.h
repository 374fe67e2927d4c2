// CZNBuffer: the library's own IKMABuffer. Up to 15 bytes live inline in a 16-byte area whose last
// byte holds their length; larger contents live in a heap block and the last byte says so.
#ifndef TAGVERA_COMPONENT_BUFFER_H
#define TAGVERA_COMPONENT_BUFFER_H

#include <cstdint>

#include "component/unknown.h"
#include "tagvera/values.h"

namespace tagvera {

class CZNBuffer : public CUnknownIMP, public IKMABuffer {
public:
    static constexpr uint32_t kInlineCapacity = 15;
    static constexpr uint8_t kHeapMarker = 0xEE;

    CZNBuffer();
    ~CZNBuffer() override;

    TV_IMPLEMENT_IUNKNOWN
    HRESULT InternalQueryInterface(const GUID& iid, void** out) override;

    HRESULT TV_STDCALL Get(uint8_t** data, uint32_t* size) override;
    HRESULT TV_STDCALL Set(const uint8_t* data, uint32_t size) override;
    HRESULT TV_STDCALL SetSize(uint32_t size) override;
    uint32_t TV_STDCALL GetSize() override;
    uint8_t* TV_STDCALL GetBuffer() override;

    bool onHeap() const { return area_[kInlineCapacity] == kHeapMarker; }

private:
    HRESULT Resize(uint32_t size, bool keep);

    // Heap form: the block's address, the length and the owned switch at fixed places in the area.
    static constexpr size_t kLengthAt = sizeof(uint8_t*);
    static constexpr size_t kOwnedAt = kLengthAt + sizeof(uint32_t);
    static_assert(kOwnedAt < kInlineCapacity, "the heap form must leave the marker byte alone");

    uint8_t* block() const;
    uint32_t heapLength() const;
    bool ownsBlock() const { return area_[kOwnedAt] != 0; }
    void setHeap(uint8_t* block, uint32_t length, bool owned);
    void setHeapLength(uint32_t length);
    void setInlineLength(uint32_t length) { area_[kInlineCapacity] = static_cast<uint8_t>(length); }
    void freeBlock();

    alignas(sizeof(void*)) uint8_t area_[16];
};

}  // namespace tagvera

#endif
