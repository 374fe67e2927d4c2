// Shared by the property-store fuzz targets: a canonical text of a tree for comparing two trees,
// with the differences each stored form is allowed to make left out.
#ifndef TAGVERA_FUZZ_METAPROP_FUZZ_TREE_H
#define TAGVERA_FUZZ_METAPROP_FUZZ_TREE_H

#include <cstdint>
#include <string>

#include "tagvera/com_ptr.h"
#include "tagvera/metaprop.h"
#include "tagvera/vocabulary.h"

namespace tagvera::fuzz {

struct Canon {
    bool withRoot = true;
    uint32_t flagMask = 0xFFFFFFFF;
    bool referenceValues = true;  // compare the values of type-10 nodes
    bool xml = false;             // values of none and group nodes do not travel
};

inline void CanonNode(IMPAMetaProperty* node, const Canon& c, int depth, std::string& out) {
    const char* name = nullptr;
    node->GetName(&name);
    uint32_t type = 0, flags = 0;
    node->GetType(&type);
    node->GetFlags(&flags);
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    bool value = Succeeded(node->GetValue(&data, &size)) && size > 0;
    // A block stores "no value" as an empty string.
    if (value && size == 1 && data[0] == 0) value = false;
    if (type == kTypeReference && !c.referenceValues) value = false;
    if (c.xml && (type == kTypeNone || type == kTypeGroup)) value = false;
    out.append(size_t(depth), ' ');
    out += name ? name : "";
    out += '|' + std::to_string(type) + '|' + std::to_string(flags & c.flagMask) + '|';
    if (value) out.append(reinterpret_cast<const char*>(data), size);
    out += '\n';
    ComPtr<IMPAMetaProperty> child;
    for (HRESULT hr = node->GetFirstChild(child.put()); hr == TV_S_OK; hr = node->GetNextChild(child.put()))
        CanonNode(child.get(), c, depth + 1, out);
}

inline std::string CanonTree(IMPAMetaProperty* root, const Canon& c = {}) {
    std::string out;
    if (c.withRoot) {
        CanonNode(root, c, 0, out);
        return out;
    }
    ComPtr<IMPAMetaProperty> child;
    for (HRESULT hr = root->GetFirstChild(child.put()); hr == TV_S_OK; hr = root->GetNextChild(child.put()))
        CanonNode(child.get(), c, 0, out);
    return out;
}

}  // namespace tagvera::fuzz

#endif
