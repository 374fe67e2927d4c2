// Ties a component's life to the package: created and destroyed notifications, and the creator.
#ifndef TAGVERA_COMPONENT_MANAGED_COMPONENT_H
#define TAGVERA_COMPONENT_MANAGED_COMPONENT_H

#include <new>

#include "base/error.h"
#include "component/unknown.h"

namespace tagvera {

template <class T>
class CKCAManagedComponent_ final : public T {
public:
    explicit CKCAManagedComponent_(IKCAPackage_* package) : package_(package) {
        if (package_) package_->ComponentCreated();
    }
    // Runs before T's destructor, so the package hears of the end while the object is whole.
    ~CKCAManagedComponent_() override {
        if (package_) package_->ComponentDestroyed();
    }

    IKCAPackage_* package() const { return package_; }

private:
    IKCAPackage_* package_;  // not reference counted: the package keeps itself alive for us
};

// A component creator of the shape the component table holds.
typedef HRESULT (*ComponentCreator)(IKCAPackage_* package, IUnknown* outer, IUnknown** out);

// Creation in two phases: construct (which tells the package), FinalConstruct, then hand out.
template <class T>
HRESULT CreateManagedComponent(IKCAPackage_* package, IUnknown* outer, IUnknown** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    return Guard([&]() -> HRESULT {
        auto* object = new (std::nothrow) CKCAManagedComponent_<T>(package);
        if (!object) return TV_E_OUTOFMEMORY;
        return FinishConstruction(object, outer, out);
    });
}

}  // namespace tagvera

#endif
