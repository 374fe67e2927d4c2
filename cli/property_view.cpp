#include "cli/property_view.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tagvera/vocabulary.h"

namespace tagvera::cli {

std::string NameOf(IMPAMetaProperty* node) {
    const char* name = nullptr;
    return Succeeded(node->GetName(&name)) && name ? name : "";
}

uint32_t TypeOf(IMPAMetaProperty* node) {
    uint32_t type = kTypeNone;
    node->GetType(&type);
    return type;
}

std::vector<uint8_t> ValueOf(IMPAMetaProperty* node) {
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    if (Failed(node->GetValue(&data, &size)) || !data) return {};
    return {data, data + size};
}

std::string TextOf(IMPAMetaProperty* node) {
    const std::vector<uint8_t> value = ValueOf(node);
    const auto nul = std::find(value.begin(), value.end(), uint8_t(0));
    return std::string(value.begin(), nul);
}

std::optional<uint32_t> NumberOf(IMPAMetaProperty* node) {
    const uint32_t type = TypeOf(node);
    const std::vector<uint8_t> v = ValueOf(node);
    if (type == kTypeNumber && v.size() == 4)
        return uint32_t(v[0]) | uint32_t(v[1]) << 8 | uint32_t(v[2]) << 16 | uint32_t(v[3]) << 24;
    if (type == kTypeText) return static_cast<uint32_t>(std::strtoul(TextOf(node).c_str(), nullptr, 10));
    return std::nullopt;
}

std::vector<ComPtr<IMPAMetaProperty>> ChildrenOf(IMPAMetaProperty* node) {
    std::vector<ComPtr<IMPAMetaProperty>> out;
    ComPtr<IMPAMetaProperty> child;
    for (HRESULT hr = node->GetFirstChild(child.put()); Succeeded(hr) && child; hr = node->GetNextChild(child.put()))
        out.push_back(child);
    return out;
}

ComPtr<IMPAMetaProperty> ChildAt(IMPAMetaProperty* node, const std::string& path) {
    ComPtr<IMPAMetaProperty> found;
    if (Failed(node->FindFirstChild(path.c_str(), found.put()))) return {};
    return found;
}

bool IsGroup(IMPAMetaProperty* node) { return TypeOf(node) == kTypeGroup; }

bool IsReference(IMPAMetaProperty* node) {
    const uint32_t type = TypeOf(node);
    return type == kTypeReference || type == kTypeFileReference || type == kTypeDataReference;
}

std::vector<std::string> ListEntries(IMPAMetaProperty* node) {
    std::vector<std::string> entries;
    const std::vector<uint8_t> value = ValueOf(node);
    std::string current;
    for (uint8_t byte : value) {
        if (byte == 0) {
            if (!current.empty()) entries.push_back(current);
            current.clear();
        } else {
            current += char(byte);
        }
    }
    if (!current.empty()) entries.push_back(current);
    return entries;
}

std::string OneLine(const std::string& text) {
    std::string out;
    for (unsigned char c : text) {
        if (c == '\n') out += "\\n";
        else if (c == '\r') out += "\\r";
        else if (c == '\t') out += "\\t";
        else if (c < 0x20 || c == 0x7F) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", c);
            out += escaped;
        } else out += char(c);
    }
    return out;
}

}  // namespace tagvera::cli
