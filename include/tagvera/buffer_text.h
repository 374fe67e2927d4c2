// The text a string buffer holds, read the same way by hosts and by the library: up to its first
// NUL, never past its size (a buffer need not end in one).
#ifndef TAGVERA_BUFFER_TEXT_H
#define TAGVERA_BUFFER_TEXT_H

#include <cstring>
#include <string>

#include "tagvera/values.h"

namespace tagvera {

inline std::string BufferText(IKMABuffer* buffer) {
    if (!buffer) return {};
    uint8_t* data = nullptr;
    uint32_t size = 0;
    if (Failed(buffer->Get(&data, &size)) || !data) return {};
    const auto* chars = reinterpret_cast<const char*>(data);
    const void* nul = std::memchr(chars, 0, size);
    return std::string(chars, nul ? static_cast<const char*>(nul) - chars : size);
}

}  // namespace tagvera

#endif
