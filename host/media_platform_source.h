// The media platform the host hands to components through its context: libvxmedpltfm.so, loaded
// on the first request from the host's plug-in directory (or the loader's search path, or
// $TAGVERA_MEDIA_PLATFORM), given the host's directory list, and made once per context. A
// platform that cannot be loaded leaves only the components that ask for it without one.
#ifndef TAGVERA_HOST_MEDIA_PLATFORM_SOURCE_H
#define TAGVERA_HOST_MEDIA_PLATFORM_SOURCE_H

#include <mutex>
#include <string>

#include "host/library.h"
#include "tagvera/com_ptr.h"
#include "tagvera/media_platform.h"
#include "tagvera/plugin.h"

namespace tagvera::host {

class MediaPlatformSource {
public:
    explicit MediaPlatformSource(DirectoryList directories) : directories_(std::move(directories)) {}

    // The platform made with factory, with a reference for the caller; E_NOINTERFACE when
    // there is none to be had (and why in problem()).
    HRESULT Get(IKMAClassFactory* factory, void** out);
    // Lets go of the platform, which holds the factory it was made with.
    void Reset() {
        std::lock_guard lock(mutex_);
        platform_.reset();
    }
    const std::string& problem() const { return problem_; }

private:
    HRESULT Load(IKMAClassFactory* factory);

    // Components on several threads may ask at once.
    std::mutex mutex_;
    DirectoryList directories_;
    ComPtr<IKMAMediaPlatform> platform_;
    bool tried_ = false;
    std::string problem_;
};

}  // namespace tagvera::host

#endif
