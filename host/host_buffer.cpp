// The host's IKMABuffer: a growable byte array that refuses to move while shared.
#include <cstring>
#include <functional>
#include <new>
#include <vector>

#include "host/objects.h"
#include "host/ref_counted.h"

namespace tagvera::host {

namespace {

class HostBuffer final : public RefCounted<IKMABuffer> {
public:
    HRESULT TV_STDCALL Get(uint8_t** data, uint32_t* size) override {
        if (!data || !size) return TV_E_POINTER;
        *data = GetBuffer();
        *size = GetSize();
        return TV_S_OK;
    }

    HRESULT TV_STDCALL Set(const uint8_t* data, uint32_t size) override {
        if (!data && size) return TV_E_POINTER;
        if (refCount() > 1) return TV_E_NOCLASSFACTORY;
        const std::less<const uint8_t*> before;
        const uint8_t* end = bytes_.data() + bytes_.size();
        if (size && !bytes_.empty() && !before(data, bytes_.data()) && before(data, end)) {
            // From its own content: a range inside the content, moved down in place.
            if (size > static_cast<size_t>(end - data)) return TV_E_INVALIDARG;
            std::memmove(bytes_.data(), data, size);
            bytes_.resize(size);
            return TV_S_OK;
        }
        return Guarded([&] { bytes_.assign(data, data + size); });
    }

    HRESULT TV_STDCALL SetSize(uint32_t size) override {
        if (refCount() > 1) return TV_E_NOCLASSFACTORY;
        return Guarded([&] { bytes_.resize(size, 0); });
    }

    uint32_t TV_STDCALL GetSize() override { return static_cast<uint32_t>(bytes_.size()); }
    uint8_t* TV_STDCALL GetBuffer() override { return bytes_.empty() ? &empty_ : bytes_.data(); }

private:
    void* find(const GUID& iid) override {
        return iid == IID_IKMABuffer ? static_cast<IKMABuffer*>(this) : nullptr;
    }

    std::vector<uint8_t> bytes_;
    uint8_t empty_ = 0;  // what an empty buffer points at: never null
};

}  // namespace

HRESULT NewHostBuffer(IKMABuffer** out) {
    if (!out) return TV_E_POINTER;
    *out = new (std::nothrow) HostBuffer();
    return *out ? TV_S_OK : TV_E_OUTOFMEMORY;
}

}  // namespace tagvera::host
