#include "host/module_loader.h"

#include <dlfcn.h>

#include <cstdlib>

namespace tagvera::host {
namespace {
std::string LoaderError() {
    const char* e = ::dlerror();
    return e ? e : "unknown loader error";
}
}  // namespace

void* LoadModule(const std::string& path, std::string& why) {
    void* module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module) why = LoaderError();
    return module;
}

void* FindSymbol(void* module, const char* symbol, std::string& why) {
    ::dlerror();
    void* address = ::dlsym(module, symbol);
    if (!address) why = LoaderError();
    return address;
}

void UnloadModule(void* module) { ::dlclose(module); }

std::string EnvironmentValue(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

}  // namespace tagvera::host
