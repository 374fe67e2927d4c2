// The reference-counted object base every component derives from, with COM-style aggregation.
#ifndef TAGVERA_COMPONENT_UNKNOWN_H
#define TAGVERA_COMPONENT_UNKNOWN_H

#include <atomic>
#include <new>

#include "base/error.h"
#include "tagvera/abi.h"
#include "tagvera/plugin.h"

namespace tagvera {

class CUnknownIMP : public IUnknown {
public:
    CUnknownIMP() : inner_(this) {}

    HRESULT TV_STDCALL QueryInterface(const GUID& iid, void** out) override {
        return outer_ ? outer_->QueryInterface(iid, out) : InternalQueryInterface(iid, out);
    }
    RefCount TV_STDCALL AddRef() override { return outer_ ? outer_->AddRef() : InternalAddRef(); }
    RefCount TV_STDCALL Release() override { return outer_ ? outer_->Release() : InternalRelease(); }

    // Deleting destructor: the slot after IUnknown's.
    virtual ~CUnknownIMP() = default;

    // Hands out the non-delegating unknown: the object itself, or an aggregation object for outer.
    virtual HRESULT SetupAggregation(IUnknown* outer, IUnknown** out);
    virtual HRESULT InternalQueryInterface(const GUID& iid, void** out) = 0;
    virtual RefCount InternalAddRef() { return static_cast<RefCount>(++refs_); }
    virtual RefCount InternalRelease() {
        const int32_t left = --refs_;
        if (left > 0) return static_cast<RefCount>(left);
        // A FinalRelease that takes and drops a reference of its own must not delete us twice.
        refs_.store(1);
        FinalRelease();
        delete this;
        return 0;
    }
    virtual HRESULT FinalConstruct() { return TV_S_OK; }
    virtual void FinalRelease() {}

    int32_t refCount() const { return refs_.load(); }
    // Ends the construction phase: the guard reference goes without deleting the object.
    void DropConstructionRef() { --refs_; }
    IUnknown* outerUnknown() const { return outer_; }
    IUnknown* innerUnknown() const { return inner_; }

    CUnknownIMP(const CUnknownIMP&) = delete;
    CUnknownIMP& operator=(const CUnknownIMP&) = delete;

protected:
    // The tail of every InternalQueryInterface: an interface found, AddRef'd and handed out.
    HRESULT Hand(void* itf, void** out) {
        *out = itf;
        AddRef();
        return TV_S_OK;
    }
    static HRESULT NoInterface(void** out) {
        *out = nullptr;
        return TV_E_NOINTERFACE;
    }

private:
    std::atomic<int32_t> refs_{0};
    IUnknown* outer_ = nullptr;
    IUnknown* inner_;
};

// The non-delegating unknown of an aggregated object; destroying it destroys the owner.
class CAggregateImpl final : public IUnknown {
public:
    explicit CAggregateImpl(CUnknownIMP* owner) : owner_(owner) {}
    ~CAggregateImpl() { delete owner_; }

    // IUnknown is this object itself, so the outer object can hold the inner one's lifetime;
    // every other interface comes from the owner and counts on the outer object.
    HRESULT TV_STDCALL QueryInterface(const GUID& iid, void** out) override {
        if (!out) return TV_E_POINTER;
        if (iid == IID_IUnknown) {
            *out = static_cast<IUnknown*>(this);
            AddRef();
            return TV_S_OK;
        }
        return owner_->InternalQueryInterface(iid, out);
    }
    RefCount TV_STDCALL AddRef() override { return static_cast<RefCount>(++refs_); }
    RefCount TV_STDCALL Release() override {
        const int32_t left = --refs_;
        if (left > 0) return static_cast<RefCount>(left);
        delete this;
        return 0;
    }

private:
    std::atomic<int32_t> refs_{0};
    CUnknownIMP* owner_;
};

// The second construction phase shared by every creator: FinalConstruct under a guard reference,
// then the first reference through SetupAggregation. On any failure the object is destroyed and
// *out stays null. out must be valid and already null.
HRESULT FinishConstruction(CUnknownIMP* object, IUnknown* outer, IUnknown** out);

// Creates a T that is not tied to the package (buffers, value lists made without the host).
template <class T>
HRESULT CreateObject(IUnknown* outer, IUnknown** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    return Guard([&]() -> HRESULT {
        auto* object = new (std::nothrow) T();
        if (!object) return TV_E_OUTOFMEMORY;
        return FinishConstruction(object, outer, out);
    });
}

}  // namespace tagvera

// Every interface base of a component repeats IUnknown's three slots; this routes all of them to
// the one CUnknownIMP implementation (sibling bases do not override each other in C++).
#define TV_IMPLEMENT_IUNKNOWN                                                                     \
    HRESULT TV_STDCALL QueryInterface(const GUID& iid, void** out) override {                     \
        return ::tagvera::CUnknownIMP::QueryInterface(iid, out);                                  \
    }                                                                                             \
    ::tagvera::RefCount TV_STDCALL AddRef() override { return ::tagvera::CUnknownIMP::AddRef(); } \
    ::tagvera::RefCount TV_STDCALL Release() override { return ::tagvera::CUnknownIMP::Release(); }

#endif
