// Ties a component's life to the package: created and destroyed notifications, and the creator.
#ifndef TAGVERA_COMPONENT_MANAGED_COMPONENT_H
#define TAGVERA_COMPONENT_MANAGED_COMPONENT_H

#include <new>

#include "component/unknown.h"

namespace tagvera {

template <class T>
class CKCAManagedComponent_ final : public T {
public:
    explicit CKCAManagedComponent_(IKCAPackage_* package) : package_(package) {
        if (package_) package_->ComponentCreated();
    }
    ~CKCAManagedComponent_() override {
        if (package_) package_->ComponentDestroyed();
    }

private:
    IKCAPackage_* package_;  // not reference counted: the package outlives its components
};

// A component creator of the shape the component table holds.
typedef HRESULT (*ComponentCreator)(IKCAPackage_* package, IUnknown* outer, IUnknown** out);

// Creation in two phases: construct, FinalConstruct with a guard reference, then hand out.
template <class T>
HRESULT CreateManagedComponent(IKCAPackage_* package, IUnknown* outer, IUnknown** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    auto* obj = new (std::nothrow) CKCAManagedComponent_<T>(package);
    if (!obj) return TV_E_OUTOFMEMORY;
    obj->InternalAddRef();
    HRESULT hr;
    try {
        hr = obj->FinalConstruct();
    } catch (...) {
        hr = TV_E_FAIL;
    }
    // Drop the guard reference without letting InternalRelease delete the object.
    obj->DropConstructionRef();
    if (Failed(hr)) {
        delete obj;
        return hr;
    }
    return obj->SetupAggregation(outer, out);
}

}  // namespace tagvera

#endif
