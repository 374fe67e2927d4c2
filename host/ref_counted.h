// The host's own object base: one interlocked count, deleted at zero, interfaces answered from
// the derived class's find(). A model of what any host needs, kept apart from the library's.
#ifndef TAGVERA_HOST_REF_COUNTED_H
#define TAGVERA_HOST_REF_COUNTED_H

#include <atomic>
#include <new>

#include "tagvera/abi.h"

namespace tagvera::host {

// Runs body, an operation of a host object that can only fail by running out of memory.
template <class Body>
HRESULT Guarded(Body&& body) noexcept {
    try {
        body();
        return TV_S_OK;
    } catch (const std::bad_alloc&) {
        return TV_E_OUTOFMEMORY;
    }
}

// First must be the interface whose IUnknown stands for the object's identity.
template <class First, class... More>
class RefCounted : public First, public More... {
public:
    RefCounted(const RefCounted&) = delete;
    RefCounted& operator=(const RefCounted&) = delete;

    HRESULT TV_STDCALL QueryInterface(const GUID& iid, void** out) override {
        if (!out) return TV_E_POINTER;
        *out = iid == IID_IUnknown ? static_cast<IUnknown*>(static_cast<First*>(this)) : find(iid);
        if (!*out) return TV_E_NOINTERFACE;
        AddRef();
        return TV_S_OK;
    }
    RefCount TV_STDCALL AddRef() override { return static_cast<RefCount>(++refs_); }
    RefCount TV_STDCALL Release() override {
        const int32_t left = --refs_;
        if (left == 0) delete this;
        return static_cast<RefCount>(left < 0 ? 0 : left);
    }

protected:
    RefCounted() = default;
    virtual ~RefCounted() = default;
    // The interface pointer for iid (not IUnknown), or null.
    virtual void* find(const GUID& iid) = 0;
    int32_t refCount() const { return refs_.load(); }

private:
    std::atomic<int32_t> refs_{1};  // handed out with the creator's reference
};

}  // namespace tagvera::host

#endif
