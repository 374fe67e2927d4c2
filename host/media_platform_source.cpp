#include "host/media_platform_source.h"

#include "host/module_loader.h"

namespace tagvera::host {
namespace {

std::string ModulePath(const DirectoryList& directories) {
    if (std::string env = EnvironmentValue("TAGVERA_MEDIA_PLATFORM"); !env.empty()) return env;
    for (const auto& [kind, directory] : directories)
        if (kind == "DT_Plugins" && !directory.empty())
            return directory + (directory.back() == '/' ? "" : "/") + kMediaPlatformLibrary;
    return kMediaPlatformLibrary;
}

}  // namespace

HRESULT MediaPlatformSource::Get(IKMAClassFactory* factory, void** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    std::lock_guard lock(mutex_);
    if (!tried_) {
        tried_ = true;
        if (Failed(Load(factory))) platform_.reset();
    }
    if (!platform_) return TV_E_NOINTERFACE;
    return platform_->QueryInterface(IID_IKMAMediaPlatform, out);
}

HRESULT MediaPlatformSource::Load(IKMAClassFactory* factory) {
    const std::string path = ModulePath(directories_);
    // Kept for the life of the process: notifications the module queued may still be waiting.
    std::string why;
    void* module = LoadModule(path, why);
    if (!module) {
        problem_ = "cannot load '" + path + "': " + why;
        return TV_E_FAIL;
    }
    auto setAccessPath = reinterpret_cast<VXSetDLLAccessPathFn>(FindSymbol(module, kMediaPlatformAccessPathEntryPoint, why));
    auto create = reinterpret_cast<VXCreateMediaPlatformExFn>(FindSymbol(module, kMediaPlatformEntryPoint, why));
    if (!setAccessPath || !create) {
        problem_ = "'" + path + "' lacks the media platform's entry points";
        return TV_E_FAIL;
    }
    const std::string block = DirectoryListBlock(directories_);
    if (const HRESULT hr = setAccessPath(block.c_str()); Failed(hr)) {
        problem_ = "the media platform refused the directory list";
        return hr;
    }
    const HRESULT hr = create(factory, platform_.put());
    if (Failed(hr)) problem_ = "the media platform could not be made";
    return hr;
}

}  // namespace tagvera::host
