// Taking children out of a node.
#include "metaprop/meta_property.h"

#include "base/error.h"

namespace tagvera {

// The entry of the child's name goes with its whole chain once a node of that name and type is in
// it. When none is, nothing changes.
HRESULT CMPAMetaProperty::RemoveChild(IMPAMetaProperty* child) {
    if (!child) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        std::string key;
        if (CMPAMetaProperty* own = FromInterface(child)) {
            key = own->name();
        } else {
            const char* childName = nullptr;
            child->GetName(&childName);
            key = childName ? childName : "";
        }
        auto at = children_.find(key);
        if (at == children_.end()) return TV_E_PROP_NOTFOUND;
        bool inChain = false;
        std::vector<ComPtr<IMPAMetaProperty>> chain;
        ForEachInChain(at->second, [&](IMPAMetaProperty* node, CMPAMetaProperty*) {
            chain.push_back(ComPtr<IMPAMetaProperty>::Share(node));
            if (node == child || child->IsSameNameAndType(node) == 1) inChain = true;
        });
        if (!inChain) return TV_E_PROP_NOTFOUND;
        IMPAMetaProperty* self = AsProperty();
        for (const auto& node : chain) {
            if (CMPAMetaProperty* own = FromInterface(node.get()))
                own->RemoveParentNode(self);
            else if (auto manager = QueryAs<IMPAMetaPropertyParentMgr>(node, IID_IMPAMetaPropertyParentMgr))
                manager->RemoveParent(self);
        }
        // Released when this function is done with the node: the last of them may hold this node.
        Entry taken;
        EraseEntry(at, taken);
        return TV_S_OK;
    });
}

HRESULT CMPAMetaProperty::RemoveByPath(const char* path) {
    if (!path) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        ComPtr<IMPAMetaProperty> node = ComPtr<IMPAMetaProperty>::Share(AsProperty());
        std::string_view rest = path;
        bool topLevel = true;
        for (size_t cut; (cut = rest.find(kPathSeparator)) != std::string_view::npos; rest.remove_prefix(cut + 1)) {
            const std::string first(rest.substr(0, cut));
            ComPtr<IMPAMetaProperty> next;
            if (Succeeded(node->FindFirstChild(first.c_str(), next.put())) && next) {
                node = next;
            } else if (!(topLevel && first == name_)) {
                // At the top, the node's own name stands for the node itself.
                return TV_E_FAIL;
            }
            topLevel = false;
        }
        ComPtr<IMPAMetaProperty> target;
        const HRESULT hr = node->FindFirstChild(std::string(rest).c_str(), target.put());
        if (Failed(hr)) return hr;
        return node->RemoveChild(target.get());
    });
}

}  // namespace tagvera
