#include "package/package.h"

#include <cstring>

#include "base/error.h"

namespace tagvera {

size_t GuidHash::operator()(const GUID& g) const noexcept {
    size_t h = g.Data1;
    h = h * 31 + g.Data2;
    h = h * 31 + g.Data3;
    for (uint8_t b : g.Data4) h = h * 31 + b;
    return h;
}

AKCAPackage::AKCAPackage(const PackageIdentity& identity)
    : creators_(10), rows_(10), name_(identity.name), namespaceUri_(identity.namespaceUri),
      rightsNotice_(identity.rightsNotice), version_(identity.version) {
    for (const ComponentTableRow* row = identity.table; row->kind != kRowEnd; ++row) {
        if (row->kind != kRowComponent) continue;
        creators_.emplace(row->classId(), row->creator);
        rows_.emplace(componentCount_, row);
        ++componentCount_;
    }
}

// The host sees the package unregister first and its registration object go last.
AKCAPackage::~AKCAPackage() {
    if (registration_) registration_->Unregister();
    if (factory_) factory_->Release();
    if (lifetime_) lifetime_->Release();
    if (registration_) registration_->Release();
}

HRESULT AKCAPackage::InternalQueryInterface(const GUID& iid, void** out) {
    if (!out) return TV_E_POINTER;
    if (iid == IID_IUnknown) return Hand(static_cast<CUnknownIMP*>(this), out);
    if (iid == IID_IKMAPlugin) return Hand(static_cast<IKMAPlugin*>(this), out);
    if (iid == IID_IKMAComponentPlugin) return Hand(static_cast<IKMAComponentPlugin*>(this), out);
    if (iid == IID_IKMAPluginNamespace) return Hand(static_cast<IKMAPluginNamespace*>(this), out);
    if (iid == IID_IKMAToolServices) return Hand(static_cast<IKMAToolServices*>(this), out);
    // IKCAPackage_ is for components only and never handed out by lookup.
    return NoInterface(out);
}

HRESULT TV_STDCALL AKCAPackage::DescribePlugin(bool* loadMultiple, const char** description,
                                               const char** rightsNotice, const char** moreInfo, uint32_t* version) {
    if (!loadMultiple || !description || !rightsNotice || !moreInfo || !version) return TV_E_POINTER;
    *loadMultiple = true;
    *description = name_.c_str();
    *rightsNotice = rightsNotice_;
    *moreInfo = "";
    *version = version_;
    return TV_S_OK;
}

template <class Itf>
HRESULT AKCAPackage::CreateHostObject(const GUID& classId, const GUID& iid, Itf** out) {
    *out = nullptr;
    if (!factory_) return TV_E_NOCLASSFACTORY;
    const HRESULT hr = factory_->CreateInstance(classId, nullptr, iid, reinterpret_cast<void**>(out));
    if (Failed(hr)) *out = nullptr;
    return hr;
}

HRESULT TV_STDCALL AKCAPackage::InitializePlugin(IUnknown* context) {
    if (!context) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        IKMAClassFactory* factory = nullptr;
        HRESULT hr = context->QueryInterface(IID_IKMAClassFactory, reinterpret_cast<void**>(&factory));
        if (Failed(hr)) return hr;
        if (!factory) return TV_E_NOINTERFACE;
        if (factory_) factory_->Release();
        factory_ = factory;

        IKCAPackageLifetime* lifetime = nullptr;
        hr = CreateHostObject(CLSID_PackageLifetime, IID_IKCAPackageLifetime, &lifetime);
        if (Failed(hr)) return hr;
        if (lifetime_) lifetime_->Release();
        lifetime_ = lifetime;

        IKCAPackageRegistration* registration = nullptr;
        hr = CreateHostObject(CLSID_PackageRegistration, IID_IKCAPackageRegistration, &registration);
        if (Failed(hr)) return hr;
        if (registration_) {
            registration_->Unregister();
            registration_->Release();
        }
        registration_ = registration;
        registration_->Register(lifetime_, name_.c_str());
        lifetime_->Configure(busyValue_, 1);
        return TV_S_OK;
    });
}

HRESULT TV_STDCALL AKCAPackage::GetComponentCount() { return static_cast<HRESULT>(componentCount_); }

const char* TV_STDCALL AKCAPackage::GetPackageName() { return name_.c_str(); }

HRESULT AKCAPackage::NewBytesBuffer(const void* bytes, uint32_t size, IKMABuffer** out) {
    HRESULT hr = CreateHostObject(CLSID_CZNBuffer, IID_IKMABuffer, out);
    if (Failed(hr)) return hr;
    hr = (*out)->Set(static_cast<const uint8_t*>(bytes), size);
    if (Failed(hr)) {
        (*out)->Release();
        *out = nullptr;
    }
    return hr;
}

HRESULT AKCAPackage::NewTextBuffer(const char* text, IKMABuffer** out) {
    return NewBytesBuffer(text, static_cast<uint32_t>(std::strlen(text) + 1), out);
}

void AKCAPackage::FillComponentInfo(const ComponentTableRow* row, IKMAValues* values) {
    // A value that cannot be set is left out; the host still gets the rest.
    IKMABuffer* buffer = nullptr;
    if (Succeeded(NewBytesBuffer(&row->classId(), sizeof(GUID), &buffer))) {
        values->SetBufferValue(kComponentClsid, buffer);
        buffer->Release();
    }
    for (++row; row->kind != kRowComponent && row->kind != kRowEnd; ++row) {
        switch (row->kind) {
            case kRowNumber:
                values->SetNumberValue(row->name, static_cast<uint32_t>(row->value.number));
                break;
            case kRowString:
                if (Succeeded(NewTextBuffer(row->text(), &buffer))) {
                    values->SetStringValue(row->name, buffer);
                    buffer->Release();
                }
                break;
            case kRowBytes:
                if (Succeeded(NewBytesBuffer(row->value.pointer, row->size, &buffer))) {
                    values->SetBufferValue(row->name, buffer);
                    buffer->Release();
                }
                break;
            default:
                break;
        }
    }
}

HRESULT TV_STDCALL AKCAPackage::GetComponentInfo(uint32_t index, IKMAValues** info) {
    if (!info) return TV_E_POINTER;
    *info = nullptr;
    if (!factory_) return TV_E_FAIL;
    auto it = rows_.find(index);
    if (it == rows_.end()) return TV_E_FAIL;
    IKMAValues* values = nullptr;
    if (Failed(CreateHostObject(CLSID_CZNHeader, IID_IKMAValues, &values))) return TV_E_FAIL;
    FillComponentInfo(it->second, values);
    *info = values;
    return TV_S_OK;
}

HRESULT TV_STDCALL AKCAPackage::CreateComponent(const GUID& classId, IUnknown** out, IUnknown* outer) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    auto it = creators_.find(classId);
    if (it == creators_.end()) return TV_E_FAIL;
    const HRESULT hr = Guard([&] { return it->second(static_cast<IKCAPackage_*>(this), outer, out); });
    if (Failed(hr)) *out = nullptr;
    return hr;
}

HRESULT TV_STDCALL AKCAPackage::GetPluginNamespace(IKMABuffer** uri) {
    if (!uri) return TV_E_POINTER;
    *uri = nullptr;
    if (!factory_) return TV_E_NOCLASSFACTORY;
    IKMABuffer* buffer = nullptr;
    if (Failed(CreateHostObject(CLSID_CZNBuffer, IID_IKMABuffer, &buffer))) return TV_E_FAIL;
    const HRESULT hr =
        buffer->Set(reinterpret_cast<const uint8_t*>(namespaceUri_), static_cast<uint32_t>(std::strlen(namespaceUri_) + 1));
    if (Failed(hr)) {
        buffer->Release();
        return hr;
    }
    *uri = buffer;
    return TV_S_OK;
}

HRESULT TV_STDCALL AKCAPackage::ComponentCreated() {
    InternalAddRef();
    std::lock_guard lock(liveMutex_);
    if (++liveComponents_ == 1 && lifetime_) lifetime_->Busy();
    return TV_S_OK;
}

HRESULT TV_STDCALL AKCAPackage::ComponentDestroyed() {
    {
        std::lock_guard lock(liveMutex_);
        if (liveComponents_-- == 1 && lifetime_) lifetime_->Idle();
    }
    // May destroy the package when the host let go of it before this component.
    InternalRelease();
    return TV_S_OK;
}

int32_t AKCAPackage::liveComponents() const {
    std::lock_guard lock(liveMutex_);
    return liveComponents_;
}

void AKCAPackage::NotifyShutdown() {
    if (lifetime_) lifetime_->Busy();
}

}  // namespace tagvera
