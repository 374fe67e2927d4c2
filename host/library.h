// The library as a host loads it: the shared object and its three entry points.
#ifndef TAGVERA_HOST_LIBRARY_H
#define TAGVERA_HOST_LIBRARY_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/dynamic_library.h"
#include "tagvera/entry_points.h"

namespace tagvera::host {

// Kind name and directory, as SetDLLAccessPath takes them ("DT_Codecs", "/opt/codecs").
using DirectoryList = std::vector<std::pair<std::string, std::string>>;

// The list block SetDLLAccessPath reads: "kind=directory" strings, each NUL-terminated, then an
// empty one.
std::string DirectoryBlock(const DirectoryList& directories);

class Library {
public:
    // Where to load from when the caller names nothing: $TAGVERA_LIBRARY, else the library's
    // soname, found through the loader's search path (the command's run path points at the
    // build or install tree).
    static std::string DefaultPath();

    // Loads path and resolves the three entry points; throws Error saying what is missing.
    explicit Library(const std::string& path = DefaultPath());

    const std::string& path() const { return library_.path(); }

    HRESULT SetAccessPath(const DirectoryList& directories) const;
    HRESULT SetAccessPathBlock(const char* block) const { return setAccessPath_(block); }
    HRESULT CreateInstance(IUnknown** out) const { return createInstance_(out); }
    HRESULT Shutdown() const { return shutdown_(); }

    // Unloads when the object goes unless kept: code or objects of the library may outlive it.
    void KeepLoaded() { library_.release(); }

private:
    platform::DynamicLibrary library_;
    KMACreateInstanceFn createInstance_;
    KMAShutdownFn shutdown_;
    SetDLLAccessPathFn setAccessPath_;
};

}  // namespace tagvera::host

#endif
