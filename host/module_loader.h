// Loading a library at run time, the one thing a host does differently per system: dlopen here,
// LoadLibraryW on Windows (module_loader_windows.cpp). Paths are UTF-8 on both.
#ifndef TAGVERA_HOST_MODULE_LOADER_H
#define TAGVERA_HOST_MODULE_LOADER_H

#include <string>

namespace tagvera::host {

// The module with every symbol resolved now and kept local to it; null, with the loader's
// explanation in why, when it cannot be loaded.
void* LoadModule(const std::string& path, std::string& why);
// The address of an exported symbol; null, with the reason in why, when there is none.
void* FindSymbol(void* module, const char* symbol, std::string& why);
void UnloadModule(void* module);

// An environment variable's value as UTF-8, "" when unset.
std::string EnvironmentValue(const char* name);

}  // namespace tagvera::host

#endif
