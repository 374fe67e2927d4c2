// AKCAPackage: a plug-in package described by a component table. It answers the host's plug-in
// interfaces, creates components by class id and tells the host's lifetime object when the first
// component comes to life and when the last one goes. Tools built on it also find the platform's
// file and preference services here (IKMAToolServices).
#ifndef TAGVERA_PACKAGE_PACKAGE_H
#define TAGVERA_PACKAGE_PACKAGE_H

#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_map>

#include "component/unknown.h"
#include "package/component_table.h"
#include "package/tool_services.h"
#include "tagvera/plugin.h"

namespace tagvera {

struct GuidHash {
    size_t operator()(const GUID& g) const noexcept;
};

struct PackageIdentity {
    const char* name;           // the package name, also the description
    const char* rightsNotice;
    const char* namespaceUri;   // the plug-in namespace handed out by GetPluginNamespace
    uint32_t version;
    const ComponentTableRow* table;
};

class AKCAPackage : public CUnknownIMP,
                    public IKMAPlugin,
                    public IKMAComponentPlugin,
                    public IKMAPluginNamespace,
                    public IKCAPackage_,
                    public PackageToolServices {
public:
    static constexpr uint32_t kBusyValue = 2000;

    explicit AKCAPackage(const PackageIdentity& identity);
    ~AKCAPackage() override;

    TV_IMPLEMENT_IUNKNOWN
    HRESULT InternalQueryInterface(const GUID& iid, void** out) override;

    // IKMAPlugin
    HRESULT TV_STDCALL DescribePlugin(bool* loadMultiple, const char** description, const char** rightsNotice,
                                      const char** moreInfo, uint32_t* version) override;
    HRESULT TV_STDCALL InitializePlugin(IUnknown* context) override;

    // IKMAComponentPlugin
    HRESULT TV_STDCALL GetComponentCount() override;
    const char* TV_STDCALL GetPackageName() override;
    HRESULT TV_STDCALL GetComponentInfo(uint32_t index, IKMAValues** info) override;
    HRESULT TV_STDCALL CreateComponent(const GUID& classId, IUnknown** out, IUnknown* outer) override;

    // IKMAPluginNamespace
    HRESULT TV_STDCALL GetPluginNamespace(IKMABuffer** uri) override;

    // IKCAPackage_: every live component holds the package, so it cannot go before they do.
    HRESULT TV_STDCALL ComponentCreated() override;
    HRESULT TV_STDCALL ComponentDestroyed() override;

    // What KMAShutdown tells the lifetime object before it drops the process-wide reference.
    void NotifyShutdown();
    int32_t liveComponents() const;

private:
    template <class Itf>
    HRESULT CreateHostObject(const GUID& classId, const GUID& iid, Itf** out);
    HRESULT NewTextBuffer(const char* text, IKMABuffer** out);
    HRESULT NewBytesBuffer(const void* bytes, uint32_t size, IKMABuffer** out);
    void FillComponentInfo(const ComponentTableRow* row, IKMAValues* values);

    // Fields in the order the package lays them out.
    uint32_t componentCount_ = 0;
    std::unordered_map<GUID, ComponentCreator, GuidHash> creators_;
    std::unordered_map<uint32_t, const ComponentTableRow*> rows_;
    IKMAClassFactory* factory_ = nullptr;
    IKCAPackageRegistration* registration_ = nullptr;
    std::string name_;
    // Components live on any thread; the count and the Busy/Idle call it triggers change together,
    // so the host never hears Idle after a Busy that a later component caused.
    mutable std::mutex liveMutex_;
    int32_t liveComponents_ = 0;
    IKCAPackageLifetime* lifetime_ = nullptr;
    const uint32_t busyValue_ = kBusyValue;
    const char* namespaceUri_;

    const char* rightsNotice_;
    uint32_t version_;
};

}  // namespace tagvera

#endif
