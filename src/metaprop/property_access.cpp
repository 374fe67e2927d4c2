#include "metaprop/property_access.h"

#include <cstdlib>

#include "metaprop/node_access.h"
#include "tagvera/vocabulary.h"

namespace tagvera {

std::vector<ComPtr<IMPAMetaProperty>> ChildrenOf(IMPAMetaProperty* node) {
    std::vector<ComPtr<IMPAMetaProperty>> children;
    if (!node) return children;
    ComPtr<IMPAMetaProperty> child;
    for (HRESULT hr = node->GetFirstChild(child.put()); Succeeded(hr) && child; hr = node->GetNextChild(child.put()))
        children.push_back(child);
    return children;
}

bool ChildNumber(IMPAMetaProperty* node, const char* name, uint32_t* value) {
    *value = 0;
    ComPtr<IMPAMetaProperty> child;
    if (!node || Failed(node->FindFirstChild(name, child.put())) || !child) return false;
    uint32_t type = kTypeNone;
    if (Failed(child->GetType(&type))) return false;
    const auto bytes = ValueOf(child.get());
    if (type == kTypeNumber && bytes.size() == 4) {
        *value = uint32_t(bytes[0]) | uint32_t(bytes[1]) << 8 | uint32_t(bytes[2]) << 16 | uint32_t(bytes[3]) << 24;
        return true;
    }
    if (type == kTypeText) {
        const std::string text(ValueText(bytes));
        *value = static_cast<uint32_t>(std::strtoul(text.c_str(), nullptr, 10));
        return true;
    }
    return false;
}

std::string ChildText(IMPAMetaProperty* node, const char* name) {
    ComPtr<IMPAMetaProperty> child;
    if (!node || Failed(node->FindFirstChild(name, child.put())) || !child) return {};
    uint32_t type = kTypeNone;
    if (Failed(child->GetType(&type)) || type != kTypeText) return {};
    return std::string(ValueText(ValueOf(child.get())));
}

std::string PathOf(IMPAMetaProperty* property) {
    const char* path = nullptr;
    if (Succeeded(property->GetPath(&path)) && path && *path) return path;
    return NameOf(property);
}

}  // namespace tagvera
