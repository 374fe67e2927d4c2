// SetDLLAccessPath's list parser on arbitrary bytes, always ended by two NULs as the list form
// promises; then the table passed on and parsed again must give the same table.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "package/directory_table.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<char> list(data, data + size);
    list.push_back('\0');
    list.push_back('\0');

    tagvera::DLLAccessPath table;
    const size_t stored = table.SetFromList(list.data());
    if (stored > 0 && table.size() == 0) std::abort();
    for (uint32_t kind = 0; kind < 10; ++kind) {
        if (const char* dir = table.Get(kind)) {
            const size_t n = std::strlen(dir);
            if (n == 0 || (dir[n - 1] != '\\' && dir[n - 1] != '/')) std::abort();
        }
    }

    const std::string block = table.Block();
    tagvera::DLLAccessPath copy;
    copy.SetFromList(block.c_str());
    if (copy.Block() != block || copy.size() != table.size()) std::abort();
    return 0;
}
