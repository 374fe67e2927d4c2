#include "mediaplatform/media_platform.h"

#include "host/ref_counted.h"
#include "mediaplatform/file_system_manager.h"
#include "mediaplatform/message_queue.h"
#include "tagvera/com_ptr.h"

namespace tagvera::mediaplatform {
namespace {

class MediaPlatform final : public host::RefCounted<IKMAMediaPlatform> {
public:
    MediaPlatform(IKMAClassFactory* factory, PluginSet plugins)
        : factory_(ComPtr<IKMAClassFactory>::Share(factory)), plugins_(plugins) {}

    HRESULT TV_STDCALL GetPluginHandler(IKMAPluginHandler** handler) override {
        if (!handler) return TV_E_POINTER;
        *handler = NewPluginHandler(factory_.get(), plugins_).detach();
        return *handler ? TV_S_OK : TV_E_OUTOFMEMORY;
    }

    HRESULT TV_STDCALL CreateObject(const GUID& classId, const GUID& iid, void** out) override {
        if (!out) return TV_E_POINTER;
        *out = nullptr;
        if (classId == CLSID_KMAFileSystemManager) return NewFileSystemManager(iid, out);
        if (!factory_) return TV_E_NOCLASSFACTORY;
        return factory_->CreateInstance(classId, nullptr, iid, out);
    }

    HRESULT TV_STDCALL DispatchNextMessage() override {
        try {
            return DispatchOneOnThisThread() ? TV_S_OK : TV_S_FALSE;
        } catch (...) {
            return TV_E_FAIL;
        }
    }

private:
    void* find(const GUID& iid) override {
        return iid == IID_IKMAMediaPlatform ? static_cast<IKMAMediaPlatform*>(this) : nullptr;
    }
    ComPtr<IKMAClassFactory> factory_;
    PluginSet plugins_;
};

}  // namespace

HRESULT NewMediaPlatform(IKMAClassFactory* factory, PluginSet plugins, IKMAMediaPlatform** out) {
    if (!out) return TV_E_POINTER;
    *out = new (std::nothrow) MediaPlatform(factory, plugins);
    return *out ? TV_S_OK : TV_E_OUTOFMEMORY;
}

}  // namespace tagvera::mediaplatform

