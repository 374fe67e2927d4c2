// Reading a node through IMPAMetaProperty alone, so that both serialized forms work on any tree:
// the library's own, a host's, or a block view.
#ifndef TAGVERA_METAPROP_NODE_ACCESS_H
#define TAGVERA_METAPROP_NODE_ACCESS_H

#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "base/error.h"
#include "metaprop/vocabulary.h"
#include "tagvera/metaprop.h"

namespace tagvera {

inline void ThrowIfFailed(HRESULT hr, const char* what) {
    if (Failed(hr)) throw Error(hr, what);
}

// The node's name; "" when it has none.
inline const char* NameOf(IMPAMetaProperty* node) {
    const char* name = nullptr;
    if (Failed(node->GetName(&name)) || !name) return "";
    return name;
}

inline uint32_t TypeOf(IMPAMetaProperty* node) {
    uint32_t type = 0;
    ThrowIfFailed(node->GetType(&type), "cannot read a node's type");
    return type;
}

inline uint32_t FlagsOf(IMPAMetaProperty* node) {
    uint32_t flags = 0;
    ThrowIfFailed(node->GetFlags(&flags), "cannot read a node's flags");
    return flags;
}

inline uint32_t ChangedOf(IMPAMetaProperty* node) {
    uint32_t changed = 0;
    return Succeeded(node->GetChanged(&changed)) ? changed : 0;
}

// The node's value bytes (not a copy); empty when it has none.
inline std::span<const uint8_t> ValueOf(IMPAMetaProperty* node) {
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    if (Failed(node->GetValue(&data, &size)) || !data || size == 0) return {};
    return {data, size};
}

// A string value up to its NUL, never past its size.
inline std::string_view ValueText(std::span<const uint8_t> value) {
    const char* text = reinterpret_cast<const char*>(value.data());
    const void* nul = value.empty() ? nullptr : std::memchr(text, 0, value.size());
    return {text, nul ? static_cast<size_t>(static_cast<const char*>(nul) - text) : value.size()};
}

// Changes a node's type so that a pointer type never takes over bytes that are no pointer and a
// pointer value never outlives its type: such a value is cleared under the old type first.
inline void RetypeNode(IMPAMetaProperty* node, uint32_t type) {
    const uint32_t old = TypeOf(node);
    if ((IsPointerType(old) || IsPointerType(type)) && !ValueOf(node).empty())
        ThrowIfFailed(node->SetValue(nullptr, 0), "cannot clear a node's value");
    ThrowIfFailed(node->SetType(type), "cannot set a node's type");
}

}  // namespace tagvera

#endif
