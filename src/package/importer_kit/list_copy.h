// The size protocol of the importers' list getters (GetSupportedMimeTypes and the like): the text
// with its NUL into the caller's buffer, or the size it needs.
#ifndef TAGVERA_PACKAGE_IMPORTER_KIT_LIST_COPY_H
#define TAGVERA_PACKAGE_IMPORTER_KIT_LIST_COPY_H

#include <cstdint>
#include <cstring>
#include <string_view>

#include "tagvera/abi.h"

namespace tagvera {

// No size: E_FAIL. A buffer too small: *size is set to what is needed and the result is
// 0x8004000D; no buffer at all is a question for the size, answered with S_OK.
inline HRESULT CopyListOut(std::string_view list, char* buffer, uint32_t* size) {
    if (!size) return TV_E_FAIL;
    const uint32_t needed = static_cast<uint32_t>(list.size()) + 1;
    if (*size < needed || !buffer) {
        const bool shortBuffer = *size < needed && buffer;
        *size = needed;
        return shortBuffer ? TV_E_BUFFERTOOSMALL : TV_S_OK;
    }
    std::memcpy(buffer, list.data(), list.size());
    buffer[list.size()] = '\0';
    *size = needed;
    return TV_S_OK;
}

}  // namespace tagvera

#endif
