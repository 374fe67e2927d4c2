// Uses the installed headers both ways a host can: the linked entry points, and the library
// loaded at run time from the path the package config gives.
#include <dlfcn.h>

#include <cstdio>

#include "tagvera/layout_checks.h"
#include "tagvera/tagvera.h"

int main() {
    IUnknown* package = nullptr;
    if (KMACreateInstance(&package) != 0 || !package) return 1;
    auto plugin = tagvera::QueryAs<IKMAComponentPlugin>(package, tagvera::IID_IKMAComponentPlugin);
    const HRESULT count = plugin ? plugin->GetComponentCount() : -1;
    plugin.reset();
    package->Release();
    if (KMAShutdown() != 0) return 2;

    void* lib = dlopen(TAGVERA_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    if (!lib) return 3;
    auto create = reinterpret_cast<KMACreateInstanceFn>(dlsym(lib, tagvera::kCreateInstanceSymbol));
    if (!create) return 4;
    std::printf("%d components, %s\n", static_cast<int>(count), tagvera::kKnownComponents[2].className);
    return count == 8 ? 0 : 5;
}
