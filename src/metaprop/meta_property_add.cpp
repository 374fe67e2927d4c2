// Adding nodes, replacing them and merging trees.
#include "metaprop/meta_property.h"

#include <cstring>
#include <unordered_set>

#include "base/error.h"
#include "metaprop/node_access.h"
#include "metaprop/vocabulary.h"
#include "platform/text.h"

namespace tagvera {
namespace {

// Merges recurse once per level of the trees merged; this counts the levels on the thread.
thread_local uint32_t t_mergeDepth = 0;

class MergeDepth {
public:
    MergeDepth() { ++t_mergeDepth; }
    ~MergeDepth() { --t_mergeDepth; }
    bool tooDeep() const { return t_mergeDepth > kMaxTreeDepth; }
};

bool IsDisplayName(std::string_view name) { return text::EqualsNoCase(name, kPropDisplayName); }

void MarkModified(IMPAMetaProperty* node) { node->SetFlags(FlagsOf(node) | kFlagModified); }

void TellParent(IMPAMetaProperty* child, IMPAMetaProperty* parent, bool add) {
    auto manager = QueryAs<IMPAMetaPropertyParentMgr>(child, IID_IMPAMetaPropertyParentMgr);
    if (!manager) return;
    if (add)
        manager->AddParent(parent);
    else
        manager->RemoveParent(parent);
}

// AddChild on a node of another class, which does not tell what stands under the name afterwards.
HRESULT AddThroughInterface(IMPAMetaProperty* target, IMPAMetaProperty* child, bool replace, const std::string& name,
                            uint32_t addFlags, ComPtr<IMPAMetaProperty>* placed) {
    const HRESULT hr = target->AddChild(child, replace, name.c_str(), addFlags);
    if (Succeeded(hr) && placed) {
        ComPtr<IMPAMetaProperty> found;
        if (Failed(target->FindFirstChild(name.c_str(), found.put()))) found = ComPtr<IMPAMetaProperty>::Share(child);
        *placed = found;
    }
    return hr;
}

}  // namespace

// --- AddProperty and its shortcuts ----------------------------------------------------------------

HRESULT CMPAMetaProperty::AddPropertyImpl(const char* name, uint32_t type, uint32_t flags, const uint8_t* data,
                                          uint32_t size, bool replace, ComPtr<IMPAMetaProperty>* placed) {
    ComPtr<IMPAMetaProperty> node;
    HRESULT hr = CreateNode(node);
    if (Failed(hr)) return hr;
    node->SetType(type);
    node->SetFlags(flags);
    if (data) {
        hr = node->SetValue(data, size);
        if (Failed(hr)) return hr;
    }
    return AddChildImpl(node.get(), replace, name, 0, true, placed);
}

// newNode receives the node that stands under the name afterwards: the new node when it was added
// or replaced an old one, the existing node when that one was kept or a group was merged into it.
HRESULT CMPAMetaProperty::AddProperty(const char* name, uint32_t type, uint32_t flags, const uint8_t* data,
                                      uint32_t size, bool replace, IMPAMetaProperty** newNode) {
    if (newNode) *newNode = nullptr;
    if (!name) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        ComPtr<IMPAMetaProperty> placed;
        const HRESULT hr = AddPropertyImpl(name, type, flags, data, size, replace, newNode ? &placed : nullptr);
        if (Succeeded(hr) && newNode) *newNode = placed.detach();
        return hr;
    });
}

HRESULT CMPAMetaProperty::AddText(const char* name, const char* text, uint32_t flags, bool replace,
                                  IMPAMetaProperty** newNode) {
    if (newNode) *newNode = nullptr;
    if (!text) return TV_E_POINTER;
    const size_t length = std::strlen(text);
    if (length >= UINT32_MAX) return TV_E_INVALIDARG;
    return AddProperty(name, kTypeText, flags, reinterpret_cast<const uint8_t*>(text),
                       static_cast<uint32_t>(length + 1), replace, newNode);
}

HRESULT CMPAMetaProperty::AddFlag(const char* name, uint32_t value, uint32_t flags, bool replace,
                                  IMPAMetaProperty** newNode) {
    // The first byte of the little-endian number.
    const uint8_t byte = static_cast<uint8_t>(value);
    return AddProperty(name, kTypeFlag, flags, &byte, 1, replace, newNode);
}

HRESULT CMPAMetaProperty::AddNumber(const char* name, uint32_t value, uint32_t flags, bool replace,
                                    IMPAMetaProperty** newNode) {
    uint8_t bytes[4];
    StoreNumber(value, bytes);
    return AddProperty(name, kTypeNumber, flags, bytes, 4, replace, newNode);
}

HRESULT CMPAMetaProperty::AddUrl(const char* name, const char* text, uint32_t flags, bool replace,
                                 IMPAMetaProperty** newNode) {
    if (newNode) *newNode = nullptr;
    if (!text) return TV_E_POINTER;
    const size_t length = std::strlen(text);
    if (length >= UINT32_MAX) return TV_E_INVALIDARG;
    return AddProperty(name, kTypeUrl, flags, reinterpret_cast<const uint8_t*>(text),
                       static_cast<uint32_t>(length + 1), replace, newNode);
}

HRESULT CMPAMetaProperty::AddGroup(const char* name, uint32_t flags, bool replace, IMPAMetaProperty** newNode) {
    return AddProperty(name, kTypeGroup, flags, nullptr, 0, replace, newNode);
}

// --- AddChild -------------------------------------------------------------------------------------

HRESULT CMPAMetaProperty::AddChild(IMPAMetaProperty* child, bool replace, const char* name, uint32_t addFlags) {
    if (!child) return TV_E_POINTER;
    return Guard([&]() -> HRESULT { return AddChildImpl(child, replace, name, addFlags, true, nullptr); });
}

HRESULT CMPAMetaProperty::AddChildImpl(IMPAMetaProperty* child, bool replace, const char* name, uint32_t addFlags,
                                       bool updatePaths, ComPtr<IMPAMetaProperty>* placed) {
    addFlags &= 0xFF;
    if ((addFlags & kAddSkipStagnant) && (FlagsOf(child) & kFlagStagnant)) {
        if (!(addFlags & kAddDisplayNameExempt) || !IsDisplayName(NameOf(child))) return TV_S_PROP_STAGNANT;
    }
    if (!name || !std::strchr(name, kPathSeparator)) return AddChildHere(child, replace, name, addFlags, updatePaths, placed);

    // "Group:Sub:Name": walk down, making missing groups on the way, and add under the last one.
    ComPtr<IMPAMetaProperty> target = ComPtr<IMPAMetaProperty>::Share(AsProperty());
    std::string_view rest = name;
    for (size_t cut; (cut = rest.find(kPathSeparator)) != std::string_view::npos; rest.remove_prefix(cut + 1)) {
        const std::string_view first = rest.substr(0, cut);
        CMPAMetaProperty* own = FromInterface(target.get());
        if (!own) return AddThroughInterface(target.get(), child, replace, std::string(rest), addFlags, placed);
        ComPtr<IMPAMetaProperty> group;
        if (Failed(own->FindDirect(first, group))) {
            const std::string groupName(first);
            const HRESULT hr = own->AddPropertyImpl(groupName.c_str(), kTypeGroup, 0, nullptr, 0, false, &group);
            if (Failed(hr)) return hr;
            if (!group) return TV_E_FAIL;
        }
        target = group;
    }
    CMPAMetaProperty* own = FromInterface(target.get());
    const std::string last(rest);
    if (!own) return AddThroughInterface(target.get(), child, replace, last, addFlags, placed);
    return own->AddChildHere(child, replace, last.c_str(), addFlags, updatePaths, placed);
}

// Owners are parents and nodes whose next-sibling link holds this one; the walk goes up through
// both, usually a single line of parents to the root.
bool CMPAMetaProperty::IsSelfOrOwner(IMPAMetaProperty* candidate) const {
    const CMPAMetaProperty* node = this;
    while (true) {
        if (const_cast<CMPAMetaProperty*>(node)->AsProperty() == candidate) return true;
        if (node->parents_.size() + node->chainOwners_.size() != 1) break;
        const CMPAMetaProperty* owner =
            node->parents_.empty() ? node->chainOwners_[0] : FromInterface(node->parents_[0].node);
        if (!owner) return false;
        node = owner;
    }
    if (node->parents_.empty() && node->chainOwners_.empty()) return false;
    std::vector<const CMPAMetaProperty*> pending{node};
    std::unordered_set<const CMPAMetaProperty*> seen{node};
    auto visit = [&](const CMPAMetaProperty* owner) {
        if (owner && seen.insert(owner).second) pending.push_back(owner);
    };
    while (!pending.empty()) {
        const CMPAMetaProperty* at = pending.back();
        pending.pop_back();
        for (const ParentLink& parent : at->parents_) {
            if (parent.node == candidate) return true;
            visit(FromInterface(parent.node));
        }
        for (const CMPAMetaProperty* owner : at->chainOwners_) {
            if (const_cast<CMPAMetaProperty*>(owner)->AsProperty() == candidate) return true;
            visit(owner);
        }
    }
    return false;
}

HRESULT CMPAMetaProperty::AddChildHere(IMPAMetaProperty* child, bool replace, const char* name, uint32_t addFlags,
                                       bool updatePaths, ComPtr<IMPAMetaProperty>* placed) {
    CMPAMetaProperty* childNode = FromInterface(child);
    // Only a node that owns others can own this one; leaves, the common case, skip the walk up.
    bool ownsOthers = true;
    if (childNode) {
        ownsOthers = !childNode->children_.empty() || childNode->next_;
    } else {
        uint32_t childNames = 0;
        ownsOthers = Failed(child->GetChildNameCount(&childNames)) || childNames;
    }
    if (child == AsProperty() || (ownsOthers && IsSelfOrOwner(child))) return TV_E_INVALIDARG;
    std::string key;
    if (!name) {
        key = NameOf(child);
    } else {
        key = name;
        const HRESULT hr = childNode ? childNode->SetName(name) : child->SetName(name);
        if (Failed(hr)) return hr;
    }
    if (updatePaths) {
        if (childNode)
            childNode->UpdatePaths(path_);
        else
            child->SetParentPath(path().c_str());
    }

    // One walk down the map finds the entry or the place for a new one.
    auto at = children_.lower_bound(key);
    if (at == children_.end() || at->first != key) {
        Entry entry;
        entry.first = ComPtr<IMPAMetaProperty>::Share(child);
        entry.firstNode = childNode;
        children_.emplace_hint(at, std::move(key), std::move(entry));
        if (addFlags & kAddMarkChanged) MarkModified(child);
        if (childNode)
            childNode->AddParentNode(AsProperty());
        else
            TellParent(child, AsProperty(), true);
        if (placed) *placed = ComPtr<IMPAMetaProperty>::Share(child);
        return TV_S_OK;
    }

    Entry& entry = at->second;
    // Held for the whole step: a merge below may drop the entry's own reference.
    ComPtr<IMPAMetaProperty> existing = entry.first;
    if (existing.get() == child) {
        // Adding a node where it already stands changes nothing.
        if (placed) *placed = existing;
        return TypeOf(child) == kTypeGroup || replace ? TV_S_OK : TV_S_PROP_EXISTS;
    }
    if ((addFlags & kAddMarkChanged) && existing->IsEqual(child) == 0) MarkModified(existing.get());
    const uint32_t oldType = TypeOf(existing.get());
    const uint32_t newType = TypeOf(child);
    if (oldType == kTypeGroup && newType == kTypeGroup) {
        if (placed) *placed = existing;
        return existing->MergeFrom(child, replace, addFlags);
    }
    if (!replace) {
        if (placed) *placed = existing;
        return TV_S_PROP_EXISTS;
    }
    if (KeepsChildrenOnReplace(oldType, newType)) {
        const HRESULT hr = childNode ? childNode->MergeFromImpl(existing.get(), false, addFlags)
                                     : child->MergeFrom(existing.get(), false, addFlags);
        if (Failed(hr)) return hr;
    }
    // The merge may have changed the map; look the entry up again.
    at = children_.find(key);
    if (at == children_.end()) return TV_E_FAIL;
    const HRESULT hr = PutFirstInChain(at->second, child);
    if (Succeeded(hr) && placed) *placed = ComPtr<IMPAMetaProperty>::Share(child);
    return hr;
}

// The child takes the first place of the entry's chain: it inherits the old first node's successor
// and the cursors that pointed at the old node. The old node leaves the chain and drops this parent.
HRESULT CMPAMetaProperty::PutFirstInChain(Entry& entry, IMPAMetaProperty* child) {
    ComPtr<IMPAMetaProperty> old = entry.first;
    auto oldLink = QueryAs<IMPAMetaPropertyLinkedList>(old, IID_IMPAMetaPropertyLinkedList);
    auto childLink = QueryAs<IMPAMetaPropertyLinkedList>(child, IID_IMPAMetaPropertyLinkedList);
    if (oldLink && childLink) {
        auto successor = ComPtr<IMPAMetaPropertyLinkedList>::Adopt(oldLink->GetNext());
        // A child already further down this chain is taken out of its old place first.
        for (auto before = oldLink; successor;) {
            if (successor.get() == childLink.get()) {
                auto after = ComPtr<IMPAMetaPropertyLinkedList>::Adopt(childLink->GetNext());
                before->SetNext(after.get());
                break;
            }
            before = successor;
            successor = ComPtr<IMPAMetaPropertyLinkedList>::Adopt(successor->GetNext());
        }
        // The child takes the successor before the old node lets it go, so a refused link loses nothing.
        successor = ComPtr<IMPAMetaPropertyLinkedList>::Adopt(oldLink->GetNext());
        const HRESULT hr = childLink->SetNext(successor.get());
        if (Failed(hr)) return hr;
        oldLink->SetNext(nullptr);
    }
    entry.first = ComPtr<IMPAMetaProperty>::Share(child);
    entry.firstNode = FromInterface(child);
    if (entry.findCursor == old.get()) entry.findCursor = entry.first.get();
    if (entry.enumCursor == old.get()) entry.enumCursor = entry.first.get();
    if (CMPAMetaProperty* oldNode = FromInterface(old.get()))
        oldNode->RemoveParentNode(AsProperty());
    else
        TellParent(old.get(), AsProperty(), false);
    if (entry.firstNode)
        entry.firstNode->AddParentNode(AsProperty());
    else
        TellParent(child, AsProperty(), true);
    return TV_S_OK;
}

// --- MergeFrom ------------------------------------------------------------------------------------

HRESULT CMPAMetaProperty::MergeFrom(IMPAMetaProperty* source, bool replace, uint32_t addFlags) {
    if (!source) return TV_E_POINTER;
    return Guard([&]() -> HRESULT { return MergeFromImpl(source, replace, addFlags); });
}

HRESULT CMPAMetaProperty::MergeFromImpl(IMPAMetaProperty* source, bool replace, uint32_t addFlags) {
    MergeDepth depth;
    if (depth.tooDeep()) return TV_E_FAIL;
    // The source's children are listed before anything is added: adding may change the source
    // itself when it shares nodes with this tree.
    struct Name {
        std::string name;
        std::vector<ComPtr<IMPAMetaProperty>> nodes;
    };
    std::vector<Name> names;
    if (CMPAMetaProperty* own = FromInterface(source)) {
        names.reserve(own->children_.size());
        for (const auto& [childName, entry] : own->children_) {
            Name& item = names.emplace_back();
            item.name = childName;
            ForEachInChain(entry, [&](IMPAMetaProperty* node, CMPAMetaProperty*) {
                item.nodes.push_back(ComPtr<IMPAMetaProperty>::Share(node));
            });
        }
    } else {
        const char* childName = nullptr;
        for (HRESULT hr = source->GetFirstChildName(&childName); Succeeded(hr) && childName;
             hr = source->GetNextChildName(&childName))
            names.push_back({childName, {}});
        for (Name& item : names) {
            ComPtr<IMPAMetaProperty> node;
            for (HRESULT hr = source->FindFirstChild(item.name.c_str(), node.put()); Succeeded(hr) && node;
                 hr = source->FindNextChild(item.name.c_str(), node.put()))
                item.nodes.push_back(node);
        }
    }

    for (const Name& item : names) {
        const bool exempt = (addFlags & kAddDisplayNameExempt) && IsDisplayName(item.name);
        if ((addFlags & kAddExistingNamesOnly) && !exempt && children_.find(item.name) == children_.end()) continue;
        bool firstOfName = true;
        for (const auto& node : item.nodes) {
            if ((addFlags & kAddDeepGroups) && TypeOf(node.get()) == kTypeGroup) {
                // A group of this tree's own receives the source group's children, so the two trees
                // do not come to share the group node.
                const HRESULT hr =
                    AddPropertyImpl(NameOf(node.get()), kTypeGroup, FlagsOf(node.get()), nullptr, 0, true, nullptr);
                if (Failed(hr)) return hr;
            }
            const HRESULT hr = AddChildImpl(node.get(), firstOfName && replace, nullptr, addFlags, true, nullptr);
            if (Failed(hr)) return hr;
            firstOfName = false;
        }
    }
    return TV_S_OK;
}

}  // namespace tagvera
