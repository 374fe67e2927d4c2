#include "package/tagvera_package.h"

#include <new>

#include "base/error.h"

namespace tagvera {

namespace {

// The host calls the entry points from one thread, so the slot needs no lock. holdsReference is
// false after a KMAShutdown that left the package alive in others' hands: a second shutdown then
// must not drop a reference the slot no longer owns.
struct PackageSlot {
    CKCAtagveraPackage_* package = nullptr;
    IUnknown* unknown = nullptr;
    bool holdsReference = false;
};
PackageSlot g_slot;

}  // namespace

CKCAtagveraPackage_::CKCAtagveraPackage_()
    : AKCAPackage(PackageIdentity{kName, kRightsNotice, kNamespaceUri, kPackageVersion, kTagveraComponentTable}) {}

CKCAtagveraPackage_::~CKCAtagveraPackage_() {
    if (g_slot.package == this) g_slot = PackageSlot{};
}

HRESULT CreatePackageInstance(IUnknown** out) {
    if (!out) return TV_E_INVALIDARG;
    *out = nullptr;
    return Guard([&]() -> HRESULT {
        if (!g_slot.package) {
            auto* package = new (std::nothrow) CKCAtagveraPackage_();
            if (!package) return TV_E_OUTOFMEMORY;
            IUnknown* unknown = nullptr;
            const HRESULT hr = FinishConstruction(package, nullptr, &unknown);
            if (Failed(hr)) return hr;
            g_slot = PackageSlot{package, unknown, true};
        } else if (!g_slot.holdsReference) {
            g_slot.unknown->AddRef();
            g_slot.holdsReference = true;
        }
        g_slot.unknown->AddRef();
        *out = g_slot.unknown;
        return TV_S_OK;
    });
}

HRESULT ShutdownPackage() {
    if (!g_slot.package || !g_slot.holdsReference) return TV_E_FAIL;
    g_slot.package->NotifyShutdown();
    g_slot.holdsReference = false;
    // The package's destructor empties the slot when this was the last reference.
    return g_slot.unknown->Release() == 0 ? TV_S_OK : TV_E_FAIL;
}

}  // namespace tagvera
