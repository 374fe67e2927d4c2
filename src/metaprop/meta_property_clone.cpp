// Deep copies of a subtree.
#include "metaprop/meta_property.h"

#include <cstring>
#include <utility>

#include "base/error.h"
#include "metaprop/vocabulary.h"

namespace tagvera {
namespace {

using ChildList = std::vector<std::pair<IMPAMetaProperty*, CMPAMetaProperty*>>;

ChildList ChildrenOf(const CMPAMetaProperty& node) {
    ChildList list;
    for (const auto& [childName, entry] : node.children())
        CMPAMetaProperty::ForEachInChain(entry, [&](IMPAMetaProperty* child, CMPAMetaProperty* own) {
            list.emplace_back(child, own);
        });
    return list;
}

// The path a node's parent had when the node's own path was composed, for clones of another class.
std::string ParentPathOf(const CMPAMetaProperty& node) {
    const std::string& path = node.path();
    if (node.flags() & kFlagFlatten) return path;
    const std::string& name = node.name();
    if (path == name) return {};
    if (path.size() > name.size() && path.compare(path.size() - name.size(), name.size(), name) == 0 &&
        path[path.size() - name.size() - 1] == kPathSeparator)
        return path.substr(0, path.size() - name.size() - 1);
    return path;
}

}  // namespace

// Name, type, value, flags and change marker. An interface held by a type 14 value gets a reference
// for the copy; a type 13 pointer is not copied, since two nodes would free it twice.
HRESULT CMPAMetaProperty::CopyFieldsInto(IMPAMetaProperty* target) const {
    const bool copyValue = hasValue_ && type_ != kTypeOwnedPointer;
    if (copyValue && type_ == kTypeInterfacePointer) {
        if (auto* pointer = static_cast<IUnknown*>(ValuePointer())) pointer->AddRef();
    }
    HRESULT result = target->SetName(name_.c_str());
    result |= target->SetType(type_);
    if (copyValue) {
        const HRESULT hr = target->SetValue(valueData(), valueSize_);
        if (Failed(hr) && type_ == kTypeInterfacePointer) {
            if (auto* pointer = static_cast<IUnknown*>(ValuePointer())) pointer->Release();
        }
        result |= hr;
    }
    result |= target->SetFlags(flags_);
    result |= target->SetChanged(changed_);
    return result;
}

// Depth first with a stack of its own. Each copy is added to its parent's copy once its own
// children are complete, with replace as a nested Clone would, and the paths are set once at the
// end; so the cost is linear in the size of the subtree whatever its depth.
HRESULT CMPAMetaProperty::Clone(IMPAMetaProperty** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    return Guard([&]() -> HRESULT {
        struct Frame {
            ComPtr<IMPAMetaProperty> copy;
            ChildList children;
            size_t next = 0;
        };
        auto addCopy = [](IMPAMetaProperty* parent, IMPAMetaProperty* copy) {
            if (CMPAMetaProperty* own = FromInterface(parent))
                return own->AddChildImpl(copy, true, nullptr, 0, false, nullptr);
            return parent->AddChild(copy, true, nullptr, 0);
        };

        ComPtr<IMPAMetaProperty> root;
        HRESULT result = CreateNode(root);
        if (Failed(result)) return result;
        result = CopyFieldsInto(root.get());
        if (Failed(result)) return result;
        std::vector<Frame> frames;
        frames.push_back({root, ChildrenOf(*this)});
        while (true) {
            Frame& top = frames.back();
            if (top.next == top.children.size()) {
                ComPtr<IMPAMetaProperty> done = std::move(top.copy);
                frames.pop_back();
                if (frames.empty()) break;
                const HRESULT hr = addCopy(frames.back().copy.get(), done.get());
                if (Failed(hr)) return hr;
                result |= hr;
                continue;
            }
            auto [child, own] = top.children[top.next++];
            ComPtr<IMPAMetaProperty> copy;
            if (!own) {
                HRESULT hr = child->Clone(copy.put());
                if (Succeeded(hr)) hr = addCopy(top.copy.get(), copy.get());
                if (Failed(hr)) return hr;
                result |= hr;
                continue;
            }
            HRESULT hr = own->CreateNode(copy);
            if (Succeeded(hr)) hr = own->CopyFieldsInto(copy.get());
            if (Failed(hr)) return hr;
            frames.push_back({std::move(copy), ChildrenOf(*own)});
        }

        // The copy carries the original's path, and its subtree the paths that follow from it.
        if (CMPAMetaProperty* copy = FromInterface(root.get())) {
            copy->path_ = path_;
            copy->pathSpelled_ = false;
            copy->UpdateChildPaths();
        } else {
            root->SetParentPath(ParentPathOf(*this).c_str());
        }
        *out = root.detach();
        return result;
    });
}

}  // namespace tagvera
