#include "host/package_events.h"

#include <new>

#include "host/ref_counted.h"

namespace tagvera::host {

namespace {

class HostLifetime final : public RefCounted<IKCAPackageLifetime> {
public:
    explicit HostLifetime(std::shared_ptr<PackageEvents> events) : events_(std::move(events)) {
        ++events_->liveLifetimeObjects;
    }
    ~HostLifetime() override { --events_->liveLifetimeObjects; }

    HRESULT TV_STDCALL Reserved3() override { return TV_E_NOTIMPL; }
    HRESULT TV_STDCALL Configure(uint32_t busyValue, uint32_t enable) override {
        events_->calls.push_back("Configure(" + std::to_string(busyValue) + "," + std::to_string(enable) + ")");
        events_->configured = enable != 0;
        events_->busyValue = busyValue;
        return TV_S_OK;
    }
    HRESULT TV_STDCALL Reserved5() override { return TV_E_NOTIMPL; }
    HRESULT TV_STDCALL Reserved6() override { return TV_E_NOTIMPL; }
    HRESULT TV_STDCALL Reserved7() override { return TV_E_NOTIMPL; }
    HRESULT TV_STDCALL Idle() override {
        std::lock_guard lock(events_->mutex);
        events_->calls.push_back("Idle");
        events_->busy = false;
        ++events_->idleCount;
        return TV_S_OK;
    }
    HRESULT TV_STDCALL Busy() override {
        std::lock_guard lock(events_->mutex);
        events_->calls.push_back("Busy");
        events_->busy = true;
        ++events_->busyCount;
        return TV_S_OK;
    }

private:
    void* find(const GUID& iid) override {
        return iid == IID_IKCAPackageLifetime ? static_cast<IKCAPackageLifetime*>(this) : nullptr;
    }
    std::shared_ptr<PackageEvents> events_;
};

class HostRegistration final : public RefCounted<IKCAPackageRegistration> {
public:
    explicit HostRegistration(std::shared_ptr<PackageEvents> events) : events_(std::move(events)) {
        ++events_->liveRegistrationObjects;
    }
    ~HostRegistration() override { --events_->liveRegistrationObjects; }

    HRESULT TV_STDCALL Register(IUnknown* lifetime, const char* packageName) override {
        if (!lifetime || !packageName) return TV_E_POINTER;
        events_->calls.push_back(std::string("Register(") + packageName + ")");
        events_->registered = true;
        events_->packageName = packageName;
        return TV_S_OK;
    }
    HRESULT TV_STDCALL Unregister() override {
        events_->calls.push_back("Unregister");
        events_->registered = false;
        return TV_S_OK;
    }

private:
    void* find(const GUID& iid) override {
        return iid == IID_IKCAPackageRegistration ? static_cast<IKCAPackageRegistration*>(this) : nullptr;
    }
    std::shared_ptr<PackageEvents> events_;
};

}  // namespace

HRESULT NewLifetimeObject(std::shared_ptr<PackageEvents> events, IKCAPackageLifetime** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    return Guarded([&] { *out = new HostLifetime(std::move(events)); });
}

HRESULT NewRegistrationObject(std::shared_ptr<PackageEvents> events, IKCAPackageRegistration** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    return Guarded([&] { *out = new HostRegistration(std::move(events)); });
}

}  // namespace tagvera::host
