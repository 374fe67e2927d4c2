#include "host/library.h"

#include "host/module_loader.h"

namespace tagvera::host {

std::string Library::DefaultPath() {
    if (std::string env = EnvironmentValue("TAGVERA_LIBRARY"); !env.empty()) return env;
    return TAGVERA_LIBRARY_SONAME;
}

namespace {
void* Load(const std::string& path) {
    std::string why;
    void* module = LoadModule(path, why);
    if (!module) throw HostError("cannot load '" + path + "': " + why);
    return module;
}
}  // namespace

Library::Library(const std::string& path) : path_(path), handle_(Load(path)) {
    try {
        createInstance_ = reinterpret_cast<KMACreateInstanceFn>(Find(kCreateInstanceSymbol));
        shutdown_ = reinterpret_cast<KMAShutdownFn>(Find(kShutdownSymbol));
        setAccessPath_ = reinterpret_cast<SetDLLAccessPathFn>(Find(kSetAccessPathSymbol));
    } catch (...) {
        UnloadModule(handle_);
        throw;
    }
}

Library::~Library() {
    if (!keepLoaded_) UnloadModule(handle_);
}

void* Library::Find(const char* symbol) const {
    std::string why;
    void* address = FindSymbol(handle_, symbol, why);
    if (!address) throw HostError("'" + path_ + "' has no symbol '" + symbol + "': " + why);
    return address;
}

HRESULT Library::SetAccessPath(const DirectoryList& directories) const {
    const std::string block = DirectoryListBlock(directories);
    // An empty block still carries its ending NUL, so even no entries make a valid list.
    return setAccessPath_(block.c_str());
}

}  // namespace tagvera::host
