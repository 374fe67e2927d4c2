#include "component/unknown.h"

#include "base/error.h"

namespace tagvera {

HRESULT CUnknownIMP::SetupAggregation(IUnknown* outer, IUnknown** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    if (refs_.load() != 0) return TV_E_FAIL;
    if (!outer) {
        void* unk = nullptr;
        const HRESULT hr = QueryInterface(IID_IUnknown, &unk);
        if (Failed(hr)) return hr;
        inner_ = static_cast<IUnknown*>(unk);
        *out = inner_;
        return hr;
    }
    auto* agg = new (std::nothrow) CAggregateImpl(this);
    if (!agg) return TV_E_OUTOFMEMORY;
    outer_ = outer;
    inner_ = agg;
    agg->AddRef();
    *out = agg;
    return TV_S_OK;
}

HRESULT FinishConstruction(CUnknownIMP* object, IUnknown* outer, IUnknown** out) {
    object->InternalAddRef();
    HRESULT hr = Guard([&] { return object->FinalConstruct(); });
    // Drop the guard reference without letting InternalRelease delete the object.
    object->DropConstructionRef();
    if (Succeeded(hr)) hr = object->SetupAggregation(outer, out);
    if (Failed(hr)) {
        // No reference was handed out, so nobody else can see the object.
        *out = nullptr;
        delete object;
    }
    return hr;
}

}  // namespace tagvera
