#include "host/library.h"

#include <dlfcn.h>

#include <cstdlib>

namespace tagvera::host {

std::string Library::DefaultPath() {
    if (const char* env = std::getenv("TAGVERA_LIBRARY"); env && *env) return env;
    return TAGVERA_LIBRARY_SONAME;
}

namespace {
std::string LoaderError() {
    const char* e = ::dlerror();
    return e ? e : "unknown loader error";
}
}  // namespace

Library::Library(const std::string& path) : path_(path), handle_(::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (!handle_) throw HostError("cannot load '" + path + "': " + LoaderError());
    try {
        createInstance_ = reinterpret_cast<KMACreateInstanceFn>(Find(kCreateInstanceSymbol));
        shutdown_ = reinterpret_cast<KMAShutdownFn>(Find(kShutdownSymbol));
        setAccessPath_ = reinterpret_cast<SetDLLAccessPathFn>(Find(kSetAccessPathSymbol));
    } catch (...) {
        ::dlclose(handle_);
        throw;
    }
}

Library::~Library() {
    if (!keepLoaded_) ::dlclose(handle_);
}

void* Library::Find(const char* symbol) const {
    ::dlerror();
    void* address = ::dlsym(handle_, symbol);
    if (!address) throw HostError("'" + path_ + "' has no symbol '" + symbol + "': " + LoaderError());
    return address;
}

HRESULT Library::SetAccessPath(const DirectoryList& directories) const {
    const std::string block = DirectoryListBlock(directories);
    // An empty block still carries its ending NUL, so even no entries make a valid list.
    return setAccessPath_(block.c_str());
}

}  // namespace tagvera::host
