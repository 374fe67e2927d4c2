#include "component/unknown.h"

namespace tagvera {

HRESULT CUnknownIMP::SetupAggregation(IUnknown* outer, IUnknown** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    if (refs_.load() != 0) return TV_E_FAIL;
    if (!outer) {
        void* unk = nullptr;
        const HRESULT hr = QueryInterface(IID_IUnknown, &unk);
        inner_ = static_cast<IUnknown*>(unk);
        *out = inner_;
        return hr;
    }
    outer_ = outer;
    auto* agg = new (std::nothrow) CAggregateImpl(this);
    if (!agg) {
        outer_ = nullptr;
        return TV_E_OUTOFMEMORY;
    }
    inner_ = agg;
    agg->AddRef();
    *out = agg;
    return TV_S_OK;
}

}  // namespace tagvera
