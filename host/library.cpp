#include "host/library.h"

#include <cstdlib>

namespace tagvera::host {

std::string DirectoryBlock(const DirectoryList& directories) {
    std::string block;
    for (const auto& [kind, directory] : directories) {
        block += kind;
        block += '=';
        block += directory;
        block += '\0';
    }
    block += '\0';
    return block;
}

std::string Library::DefaultPath() {
    if (const char* env = std::getenv("TAGVERA_LIBRARY"); env && *env) return env;
    return TAGVERA_LIBRARY_SONAME;
}

Library::Library(const std::string& path)
    : library_(path),
      createInstance_(library_.function<KMACreateInstanceFn>(kCreateInstanceSymbol)),
      shutdown_(library_.function<KMAShutdownFn>(kShutdownSymbol)),
      setAccessPath_(library_.function<SetDLLAccessPathFn>(kSetAccessPathSymbol)) {}

HRESULT Library::SetAccessPath(const DirectoryList& directories) const {
    const std::string block = DirectoryBlock(directories);
    // An empty block still carries its ending NUL, so even no entries make a valid list.
    return setAccessPath_(block.c_str());
}

}  // namespace tagvera::host
