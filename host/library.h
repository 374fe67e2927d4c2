// The library as a host loads it: the shared object (dlopen here, LoadLibraryW on Windows) and
// its three entry points.
#ifndef TAGVERA_HOST_LIBRARY_H
#define TAGVERA_HOST_LIBRARY_H

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tagvera/entry_points.h"

namespace tagvera::host {

// A step of loading or starting the library failed; the message names the step and the reason.
class HostError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Kind name and directory, as SetDLLAccessPath takes them ("DT_Codecs", "/opt/codecs").
using DirectoryList = std::vector<std::pair<std::string, std::string>>;

class Library {
public:
    // Where to load from when the caller names nothing: $TAGVERA_LIBRARY, else the library's
    // soname, found through the loader's search path (the command's run path points at the
    // build or install tree).
    static std::string DefaultPath();

    // Loads path with every symbol resolved now and kept local to it, and finds the three entry
    // points; throws HostError with the loader's explanation of what is missing.
    explicit Library(const std::string& path = DefaultPath());
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    const std::string& path() const { return path_; }

    HRESULT SetAccessPath(const DirectoryList& directories) const;
    HRESULT SetAccessPathBlock(const char* block) const { return setAccessPath_(block); }
    HRESULT CreateInstance(IUnknown** out) const { return createInstance_(out); }
    HRESULT Shutdown() const { return shutdown_(); }

    // Unloads when the object goes unless kept: code or objects of the library may outlive it.
    void KeepLoaded() { keepLoaded_ = true; }

private:
    void* Find(const char* symbol) const;

    std::string path_;
    void* handle_;
    bool keepLoaded_ = false;
    KMACreateInstanceFn createInstance_ = nullptr;
    KMAShutdownFn shutdown_ = nullptr;
    SetDLLAccessPathFn setAccessPath_ = nullptr;
};

}  // namespace tagvera::host

#endif
