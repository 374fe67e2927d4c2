// Paths, lookup by name and by path, and the enumerations of child names and children.
#include "metaprop/meta_property.h"

#include <algorithm>
#include <unordered_set>

#include "base/error.h"

namespace tagvera {
namespace {

// Splits "first:rest" at the first separator; false when there is none.
bool SplitFirst(std::string_view path, std::string_view& first, std::string_view& rest) {
    const size_t cut = path.find(kPathSeparator);
    if (cut == std::string_view::npos) return false;
    first = path.substr(0, cut);
    rest = path.substr(cut + 1);
    return true;
}

// The groups a plain name is searched under first, in this order.
constexpr const char* kSearchFirst[] = {kGroupTrack, kGroupAlbum, kGroupArtist};

}  // namespace

// --- Paths ----------------------------------------------------------------------------------------

void CMPAMetaProperty::ComposePath(const NodePath& parentPath) {
    path_ = (flags_ & kFlagFlatten) ? parentPath : parentPath.Child(name_);
    pathSpelled_ = false;
}

const std::string& CMPAMetaProperty::path() const {
    if (!pathSpelled_) {
        pathText_ = path_.Spell();
        pathSpelled_ = true;
    }
    return pathText_;
}

// A node whose path already derives from parentPath keeps it, and its subtree keeps theirs, as the
// walk below assumes of every child it meets (a group merged under a root of the same path).
void CMPAMetaProperty::UpdatePaths(const NodePath& parentPath) {
    if (path_.DerivesFrom(parentPath, name_, flags_ & kFlagFlatten)) return;
    ComposePath(parentPath);
    UpdateChildPaths();
}

// Walks the subtree in the order of nested calls, with a stack of its own so that depth costs heap
// rather than call stack. A node met a second time below the same parent (a node may stand under
// two names) already has its path from this walk; its subtree is not walked again, which keeps a
// tree of such doubled nodes from costing 2^depth.
void CMPAMetaProperty::UpdateChildPaths() {
    if (children_.empty()) return;
    std::vector<CMPAMetaProperty*> pending{this};
    while (!pending.empty()) {
        CMPAMetaProperty* node = pending.back();
        pending.pop_back();
        const size_t firstChild = pending.size();
        for (const auto& [childName, entry] : node->children_) {
            ForEachInChain(entry, [&](IMPAMetaProperty* child, CMPAMetaProperty* own) {
                if (!own) {
                    child->SetParentPath(node->path().c_str());
                    return;
                }
                if (own->path_.DerivesFrom(node->path_, own->name_, own->flags_ & kFlagFlatten)) return;
                own->ComposePath(node->path_);
                pending.push_back(own);
            });
        }
        std::reverse(pending.begin() + static_cast<std::ptrdiff_t>(firstChild), pending.end());
    }
}

HRESULT CMPAMetaProperty::SetParentPath(const char* parentPath) {
    if (!parentPath) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        UpdatePaths(NodePath::FromText(parentPath));
        return TV_S_OK;
    });
}

// --- Lookup ---------------------------------------------------------------------------------------

HRESULT CMPAMetaProperty::FindDirect(std::string_view name, ComPtr<IMPAMetaProperty>& out) {
    out.reset();
    auto at = children_.find(name);
    if (at == children_.end()) return TV_E_PROP_NOTFOUND;
    if (!at->second.first) return TV_E_PROP_ENDOFLIST;
    at->second.findCursor = at->second.first.get();
    out = at->second.first;
    return TV_S_OK;
}

HRESULT CMPAMetaProperty::FindFirstChild(const char* name, IMPAMetaProperty** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    if (!name) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        // A child whose own name holds ":" (added under its own name) is still found by that name.
        std::string_view rest = name, first;
        if (rest.find(kPathSeparator) != std::string_view::npos && children_.count(rest)) {
            ComPtr<IMPAMetaProperty> found;
            const HRESULT hr = FindDirect(rest, found);
            *out = found.detach();
            return hr;
        }
        // Each leading part is found with FindFirstChild on the node reached, as a nested call would.
        ComPtr<IMPAMetaProperty> node = ComPtr<IMPAMetaProperty>::Share(AsProperty());
        while (SplitFirst(rest, first, rest)) {
            ComPtr<IMPAMetaProperty> next;
            CMPAMetaProperty* own = FromInterface(node.get());
            const HRESULT hr = own ? own->FindDirect(first, next)
                                   : node->FindFirstChild(std::string(first).c_str(), next.put());
            if (Failed(hr)) return hr;
            node = next;
        }
        CMPAMetaProperty* own = FromInterface(node.get());
        if (!own) return node->FindFirstChild(std::string(rest).c_str(), out);
        ComPtr<IMPAMetaProperty> found;
        const HRESULT hr = own->FindDirect(rest, found);
        *out = found.detach();
        return hr;
    });
}

HRESULT CMPAMetaProperty::WalkToLastPart(std::string_view& path, ComPtr<IMPAMetaProperty>& node) {
    node = ComPtr<IMPAMetaProperty>::Share(AsProperty());
    if (children_.count(path)) return TV_S_OK;  // a child's own name may hold ":"
    std::string_view first;
    while (SplitFirst(path, first, path)) {
        CMPAMetaProperty* own = FromInterface(node.get());
        if (!own) {
            ComPtr<IMPAMetaProperty> next;
            const HRESULT hr = node->FindFirstChild(std::string(first).c_str(), next.put());
            if (Failed(hr)) return hr;
            node = next;
            continue;
        }
        auto at = own->children_.find(first);
        if (at == own->children_.end()) return TV_E_PROP_NOTFOUND;
        if (!at->second.first) return TV_E_PROP_ENDOFLIST;
        node = at->second.first;
    }
    return TV_S_OK;
}

HRESULT CMPAMetaProperty::FindNextChild(const char* name, IMPAMetaProperty** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    if (!name) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        std::string_view last = name;
        ComPtr<IMPAMetaProperty> node;
        HRESULT hr = WalkToLastPart(last, node);
        if (Failed(hr)) return hr;
        CMPAMetaProperty* own = FromInterface(node.get());
        if (!own) return node->FindNextChild(std::string(last).c_str(), out);
        auto at = own->children_.find(last);
        if (at == own->children_.end()) return TV_E_PROP_NOTFOUND;
        Entry& entry = at->second;
        // Before any FindFirstChild the first node is next; at the end the cursor stays on the last.
        ComPtr<IMPAMetaProperty> next = AfterCursor(entry, entry.findCursor);
        if (!next) return TV_E_PROP_ENDOFLIST;
        entry.findCursor = next.get();
        *out = next.detach();
        return TV_S_OK;
    });
}

HRESULT CMPAMetaProperty::GetChildCount(const char* name, uint32_t* count) {
    if (!count) return TV_E_POINTER;
    *count = 0;
    if (!name) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        std::string_view last = name;
        ComPtr<IMPAMetaProperty> node;
        HRESULT hr = WalkToLastPart(last, node);
        if (Failed(hr)) return hr;
        CMPAMetaProperty* own = FromInterface(node.get());
        if (!own) return node->GetChildCount(std::string(last).c_str(), count);
        auto at = own->children_.find(last);
        if (at == own->children_.end()) return TV_E_PROP_NOTFOUND;
        uint32_t length = 0;
        ForEachInChain(at->second, [&](IMPAMetaProperty*, CMPAMetaProperty*) { ++length; });
        *count = length;
        return TV_S_OK;
    });
}

HRESULT CMPAMetaProperty::GetChildNameCount(uint32_t* count) {
    if (!count) return TV_E_POINTER;
    *count = static_cast<uint32_t>(children_.size());
    return TV_S_OK;
}

HRESULT CMPAMetaProperty::GetTotalChildCount(uint32_t* count) {
    if (!count) return TV_E_POINTER;
    *count = 0;
    return Guard([&]() -> HRESULT {
        uint32_t total = 0;
        for (const auto& [childName, entry] : children_)
            ForEachInChain(entry, [&](IMPAMetaProperty*, CMPAMetaProperty*) { ++total; });
        *count = total;
        return TV_S_OK;
    });
}

// --- FindByPath -----------------------------------------------------------------------------------

// The order in which a plain name is searched below this node: "Track", "Album" and "Artist" first,
// then every child in enumeration order. The three are not searched a second time: the search is
// deterministic, so they would fail again, and a tree of nested "Track" groups would cost 2^depth.
void CMPAMetaProperty::OrderedChildrenForSearch(std::vector<IMPAMetaProperty*>& out) const {
    out.clear();
    IMPAMetaProperty* preferred[3] = {};
    for (int i = 0; i < 3; ++i) {
        auto at = children_.find(std::string_view(kSearchFirst[i]));
        if (at != children_.end() && at->second.first) {
            preferred[i] = at->second.first.get();
            out.push_back(preferred[i]);
        }
    }
    for (const auto& [childName, entry] : children_) {
        ForEachInChain(entry, [&](IMPAMetaProperty* child, CMPAMetaProperty*) {
            for (IMPAMetaProperty* p : preferred)
                if (p == child) return;
            out.push_back(child);
        });
    }
}

// A depth-first search in the order above, with its own stack: the first node that has a direct
// child of that name wins.
HRESULT CMPAMetaProperty::SearchByName(std::string_view name, ComPtr<IMPAMetaProperty>& out) {
    HRESULT failure = FindDirect(name, out);
    if (Succeeded(failure)) return failure;
    std::vector<IMPAMetaProperty*> pending, ordered;
    OrderedChildrenForSearch(ordered);
    pending.assign(ordered.rbegin(), ordered.rend());
    const std::string nameText(name);
    // A node reached again (it stands under two parents or two names) failed the first time and
    // would fail again. Only nodes held more than once need remembering.
    std::unordered_set<IMPAMetaProperty*> searched;
    while (!pending.empty()) {
        IMPAMetaProperty* node = pending.back();
        pending.pop_back();
        CMPAMetaProperty* own = FromInterface(node);
        if ((!own || own->HeldMoreThanOnce()) && !searched.insert(node).second) continue;
        HRESULT hr;
        if (!own) {
            hr = node->FindByPath(nameText.c_str(), out.put());
            if (Succeeded(hr)) return hr;
            failure = hr;
            continue;
        }
        hr = own->FindDirect(name, out);
        if (Succeeded(hr)) return hr;
        failure = hr;
        own->OrderedChildrenForSearch(ordered);
        pending.insert(pending.end(), ordered.rbegin(), ordered.rend());
    }
    out.reset();
    return failure;
}

HRESULT CMPAMetaProperty::FindPath(std::string_view path, ComPtr<IMPAMetaProperty>& out) {
    out.reset();
    // Leading parts are found with FindFirstChild; the last part gets the full search.
    ComPtr<IMPAMetaProperty> node = ComPtr<IMPAMetaProperty>::Share(AsProperty());
    std::string_view first;
    while (SplitFirst(path, first, path)) {
        ComPtr<IMPAMetaProperty> next;
        CMPAMetaProperty* own = FromInterface(node.get());
        const HRESULT hr =
            own ? own->FindDirect(first, next) : node->FindFirstChild(std::string(first).c_str(), next.put());
        if (Failed(hr)) return hr;
        node = next;
    }
    CMPAMetaProperty* own = FromInterface(node.get());
    if (!own) return node->FindByPath(std::string(path).c_str(), out.put());
    return own->SearchByName(path, out);
}

HRESULT CMPAMetaProperty::FindByPath(const char* path, IMPAMetaProperty** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    if (!path) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        ComPtr<IMPAMetaProperty> found;
        const HRESULT hr = FindPath(path, found);
        *out = found.detach();
        return hr;
    });
}

// --- Enumerations ---------------------------------------------------------------------------------

HRESULT CMPAMetaProperty::GetFirstChildName(const char** name) {
    if (!name) return TV_E_POINTER;
    nameStarted_ = true;
    nameCursor_ = children_.begin();
    return GetNextChildName(name);
}

HRESULT CMPAMetaProperty::GetNextChildName(const char** name) {
    if (!name) return TV_E_POINTER;
    *name = nullptr;
    if (!nameStarted_) return GetFirstChildName(name);
    if (nameCursor_ == children_.end()) return TV_E_PROP_ENDOFLIST;
    *name = nameCursor_->first.c_str();
    ++nameCursor_;
    return TV_S_OK;
}

HRESULT CMPAMetaProperty::GetFirstChild(IMPAMetaProperty** out) {
    if (!out) return TV_E_POINTER;
    childStarted_ = true;
    childCursor_ = children_.begin();
    childFresh_ = true;
    return GetNextChild(out);
}

HRESULT CMPAMetaProperty::GetNextChild(IMPAMetaProperty** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    if (!childStarted_) return GetFirstChild(out);
    return Guard([&]() -> HRESULT {
        while (childCursor_ != children_.end()) {
            Entry& entry = childCursor_->second;
            ComPtr<IMPAMetaProperty> next;
            if (childFresh_)
                next = entry.first;
            else if (entry.enumCursor)
                next = AfterCursor(entry, entry.enumCursor);
            childFresh_ = false;
            if (next) {
                entry.enumCursor = next.get();
                *out = next.detach();
                return TV_S_OK;
            }
            ++childCursor_;
            childFresh_ = true;
        }
        return TV_E_PROP_ENDOFLIST;
    });
}

// Moves the entry's references into taken (released by the caller once this node is no longer
// touched) and keeps both enumerations on the entry that follows.
void CMPAMetaProperty::EraseEntry(Children::iterator at, Entry& taken) {
    if (nameCursor_ == at) ++nameCursor_;
    if (childCursor_ == at) {
        ++childCursor_;
        childFresh_ = true;
    }
    taken = std::move(at->second);
    children_.erase(at);
}

}  // namespace tagvera
