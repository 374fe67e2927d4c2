// The host context handed to InitializePlugin and to every component: it is the host class factory.
// Buffers and value lists are the host's own; the lifetime and registration objects record what the
// package tells them; property trees and every other component class come from the package's
// CreateComponent and are given this context before they are handed out.
#ifndef TAGVERA_HOST_HOST_CONTEXT_H
#define TAGVERA_HOST_HOST_CONTEXT_H

#include <memory>

#include "host/media_platform_source.h"
#include "host/package_events.h"
#include "host/ref_counted.h"
#include "tagvera/com_ptr.h"
#include "tagvera/plugin.h"

namespace tagvera::host {

class HostContext final : public RefCounted<IKMAClassFactory> {
public:
    // directories: the list the host gives SetDLLAccessPath; the media platform is looked for there.
    static ComPtr<HostContext> Create(const DirectoryList& directories = {});

    // The package that makes component classes. The context holds a reference until Detach,
    // which breaks the cycle (the package holds the context as its class factory).
    void AttachPackage(IKMAComponentPlugin* package);
    void DetachPackage();

    const std::shared_ptr<PackageEvents>& events() const { return events_; }

    HRESULT TV_STDCALL CreateInstance(const GUID& classId, IUnknown* outer, const GUID& iid, void** out) override;
    // Also hands out the media platform (IID_IKMAMediaPlatform), a separate object.
    HRESULT TV_STDCALL QueryInterface(const GUID& iid, void** out) override;

private:
    explicit HostContext(const DirectoryList& directories);
    void* find(const GUID& iid) override;
    HRESULT CreateComponent(const GUID& classId, IUnknown* outer, const GUID& iid, void** out);

    std::shared_ptr<PackageEvents> events_;
    ComPtr<IKMAComponentPlugin> package_;
    MediaPlatformSource mediaPlatform_;
};

}  // namespace tagvera::host

#endif
