#include "host/host_context.h"

#include <new>

#include "host/objects.h"
#include "tagvera/values.h"

namespace tagvera::host {

ComPtr<HostContext> HostContext::Create(const DirectoryList& directories) {
    return ComPtr<HostContext>::Adopt(new HostContext(directories));
}

HostContext::HostContext(const DirectoryList& directories)
    : events_(std::make_shared<PackageEvents>()), mediaPlatform_(directories) {}

void HostContext::AttachPackage(IKMAComponentPlugin* package) { package_ = ComPtr<IKMAComponentPlugin>::Share(package); }

void HostContext::DetachPackage() {
    package_.reset();
    mediaPlatform_.Reset();
}

HRESULT TV_STDCALL HostContext::QueryInterface(const GUID& iid, void** out) {
    if (iid == IID_IKMAMediaPlatform) return mediaPlatform_.Get(this, out);
    return RefCounted::QueryInterface(iid, out);
}

void* HostContext::find(const GUID& iid) {
    return iid == IID_IKMAClassFactory ? static_cast<IKMAClassFactory*>(this) : nullptr;
}

namespace {
// Hands out iid of a freshly made host object and drops the maker's reference.
template <class Itf>
HRESULT HandOut(HRESULT made, Itf* object, const GUID& iid, void** out) {
    if (Failed(made)) return made;
    const HRESULT hr = object->QueryInterface(iid, out);
    object->Release();
    return hr;
}
}  // namespace

HRESULT TV_STDCALL HostContext::CreateInstance(const GUID& classId, IUnknown* outer, const GUID& iid, void** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    const bool hostClass = classId == CLSID_CZNBuffer || classId == CLSID_CZNHeader ||
                           classId == CLSID_CKMAUniquelyKeyedList || classId == CLSID_PackageLifetime ||
                           classId == CLSID_PackageRegistration;
    if (!hostClass) return CreateComponent(classId, outer, iid, out);
    // The host's own objects are simple and cannot be aggregated.
    if (outer) return TV_E_INVALIDARG;
    if (classId == CLSID_CZNBuffer) {
        IKMABuffer* b = nullptr;
        const HRESULT hr = NewHostBuffer(&b);
        return HandOut(hr, b, iid, out);
    }
    if (classId == CLSID_CZNHeader || classId == CLSID_CKMAUniquelyKeyedList) {
        IKMAValues* v = nullptr;
        const HRESULT hr = classId == CLSID_CZNHeader ? NewHostValues(&v) : NewHostKeyedList(&v);
        return HandOut(hr, v, iid, out);
    }
    if (classId == CLSID_PackageLifetime) {
        IKCAPackageLifetime* l = nullptr;
        const HRESULT hr = NewLifetimeObject(events_, &l);
        return HandOut(hr, l, iid, out);
    }
    IKCAPackageRegistration* r = nullptr;
    const HRESULT hr = NewRegistrationObject(events_, &r);
    return HandOut(hr, r, iid, out);
}

HRESULT HostContext::CreateComponent(const GUID& classId, IUnknown* outer, const GUID& iid, void** out) {
    if (!package_) return TV_E_FAIL;
    // An aggregating caller may only ask for the inner IUnknown.
    if (outer && iid != IID_IUnknown) return TV_E_INVALIDARG;
    ComPtr<IUnknown> unknown;
    HRESULT hr = package_->CreateComponent(classId, unknown.put(), outer);
    if (Failed(hr)) return hr;
    if (!unknown) return TV_E_FAIL;
    if (auto user = QueryAs<IKNContextUser>(unknown, IID_IKNContextUser)) user->SetContext(this);
    if (outer) {
        *out = unknown.detach();
        return TV_S_OK;
    }
    return unknown->QueryInterface(iid, out);
}

}  // namespace tagvera::host
