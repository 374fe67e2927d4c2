#include "metaprop/fast_meta_property.h"

#include <algorithm>
#include <iterator>
#include <new>

#include "metaprop/block_io.h"
#include "metaprop/metaprop_component.h"
#include "metaprop/vocabulary.h"
#include "platform/text.h"

namespace tagvera {
namespace {

// A node's path from its parent's path, as SetParentPath makes it: a flatten node adds nothing.
std::string ComposePath(const std::string& parentPath, std::string_view name, uint32_t flags) {
    std::string path = parentPath;
    if (flags & kFlagFlatten) return path;
    if (!parentPath.empty()) path += kPathSeparator;
    path += name;
    return path;
}

// The first record of the table entry whose name equals name without regard to case, and the
// entry's count.
bool FindEntry(const block::Record& parent, std::string_view name, block::Record* found, uint32_t* count) {
    for (uint32_t i = 0; i < parent.entryCount(); ++i) {
        const block::Record::Entry e = parent.entry(i);
        const block::Record child = parent.childAt(e.offset);
        if (!text::EqualsNoCase(child.nameView(), name)) continue;
        if (e.count == 0) throw Error(TV_E_FAIL, "metadata block: child table entry without records");
        *found = child;
        if (count) *count = e.count;
        return true;
    }
    return false;
}

constexpr const char* kSearchFirst[] = {kGroupTrack, kGroupAlbum, kGroupArtist};

}  // namespace

HRESULT CreateFastMetaProperty(IMPAMetaPropertyBuffer** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    auto* view = new (std::nothrow) CFastMetaProperty;
    if (!view) return TV_E_OUTOFMEMORY;
    return view->QueryInterface(IID_IMPAMetaPropertyBuffer, reinterpret_cast<void**>(out));
}

HRESULT CFastMetaProperty::InternalQueryInterface(const GUID& iid, void** out) {
    if (!out) return TV_E_POINTER;
    if (iid == IID_IUnknown || iid == IID_IMPAMetaProperty || iid == IID_IMPAMetaPropertyBuffer)
        return Hand(static_cast<IMPAMetaPropertyBuffer*>(this), out);
    return NoInterface(out);
}

template <class Read>
HRESULT CFastMetaProperty::ReadInPlace(Read&& read) {
    if (!hasRecord_ && !full_) return TV_E_NOTLOADED;
    return Guard(read);
}

template <class Op>
HRESULT CFastMetaProperty::Forward(Op&& op) {
    const HRESULT hr = EnsureFull();
    if (Failed(hr)) return hr;
    return op(full_.get());
}

HRESULT CFastMetaProperty::EnsureFull() {
    if (full_) return TV_S_OK;
    if (!hasRecord_) return TV_E_NOTIMPL;
    ComPtr<IMPAMetaProperty> node;
    if (Failed(CreateStandaloneMetaProperty(node.put())) || !node) return TV_E_NOTIMPL;
    const HRESULT hr = Guard([&] {
        // Everything the record holds goes into the node, reference data included.
        ReadRecordInto(node.get(), record_, CreateStandaloneMetaProperty, true);
        return node->SetParentPath(parentPath_.c_str());
    });
    if (Failed(hr)) return TV_E_NOTIMPL;
    full_ = std::move(node);
    return TV_S_OK;
}

HRESULT CFastMetaProperty::SetBuffer(uint8_t* block, uint32_t size, bool bigEndian) {
    std::shared_ptr<const uint8_t[]> owned(block);
    block_.reset();
    hasRecord_ = false;
    record_ = {};
    full_.reset();
    parentPath_.clear();
    path_.clear();
    nameCursor_ = 0;
    if (!block) return TV_E_POINTER;
    if (size < block::kHeaderSize + 4 || !block::HeaderMatches(block, size, bigEndian)) return TV_E_FAIL;
    const uint32_t rootLength = block::Load32(block + block::kHeaderSize, bigEndian);
    if (uint64_t(rootLength) + block::kHeaderSize > size) return TV_E_FAIL;
    return Guard([&] {
        record_ = block::Record::Parse({block + block::kHeaderSize, rootLength}, bigEndian);
        path_ = ComposePath("", record_.nameView(), record_.flags());
        block_ = std::move(owned);
        hasRecord_ = true;
        return TV_S_OK;
    });
}

HRESULT CFastMetaProperty::MakeView(const block::Record& record, const std::string& parentPath,
                                    IMPAMetaProperty** out) const {
    auto* view = new (std::nothrow) CFastMetaProperty;
    if (!view) return TV_E_OUTOFMEMORY;
    ComPtr<IMPAMetaProperty> held;
    view->QueryInterface(IID_IMPAMetaProperty, held.putVoid());
    view->block_ = block_;
    view->record_ = record;
    view->hasRecord_ = true;
    view->parentPath_ = parentPath;
    view->path_ = ComposePath(parentPath, record.nameView(), record.flags());
    *out = held.detach();
    return TV_S_OK;
}

// --- Reads answered from the record ---

HRESULT CFastMetaProperty::GetName(const char** name) {
    if (!name) return TV_E_POINTER;
    *name = nullptr;
    if (full_) return full_->GetName(name);
    return ReadInPlace([&]() -> HRESULT {
        if (record_.nameView().empty()) return TV_E_PROP_EMPTY;
        *name = record_.name();
        return TV_S_OK;
    });
}

HRESULT CFastMetaProperty::GetType(uint32_t* type) {
    if (!type) return TV_E_POINTER;
    if (full_) return full_->GetType(type);
    return ReadInPlace([&]() -> HRESULT {
        *type = record_.type();
        return TV_S_OK;
    });
}

HRESULT CFastMetaProperty::GetFlags(uint32_t* flags) {
    if (!flags) return TV_E_POINTER;
    if (full_) return full_->GetFlags(flags);
    return ReadInPlace([&]() -> HRESULT {
        *flags = record_.flags();
        return TV_S_OK;
    });
}

HRESULT CFastMetaProperty::GetValue(const uint8_t** data, uint32_t* size) {
    if (!data || !size) return TV_E_POINTER;
    *data = nullptr;
    *size = 0;
    if (full_) return full_->GetValue(data, size);
    return ReadInPlace([&]() -> HRESULT {
        // Pointer types never have a value taken from bytes; the full node agrees.
        if (IsPointerType(record_.type())) return TV_E_PROP_EMPTY;
        const std::span<const uint8_t> value = record_.value();
        if (value.empty()) return TV_E_PROP_EMPTY;
        *data = value.data();
        *size = static_cast<uint32_t>(value.size());
        return TV_S_OK;
    });
}

HRESULT CFastMetaProperty::GetPath(const char** path) {
    if (!path) return TV_E_POINTER;
    *path = nullptr;
    if (full_) return full_->GetPath(path);
    return ReadInPlace([&]() -> HRESULT {
        if (path_.empty()) return TV_E_PROP_EMPTY;
        *path = path_.c_str();
        return TV_S_OK;
    });
}

HRESULT CFastMetaProperty::GetChanged(uint32_t* changed) {
    if (!changed) return TV_E_POINTER;
    if (full_) return full_->GetChanged(changed);
    return ReadInPlace([&]() -> HRESULT {
        *changed = kUnchanged;
        return TV_S_OK;
    });
}

HRESULT CFastMetaProperty::GetFirstChildName(const char** name) {
    if (!name) return TV_E_POINTER;
    *name = nullptr;
    if (full_) return full_->GetFirstChildName(name);
    nameCursor_ = 0;
    return GetNextChildName(name);
}

HRESULT CFastMetaProperty::GetNextChildName(const char** name) {
    if (!name) return TV_E_POINTER;
    *name = nullptr;
    if (full_) return full_->GetNextChildName(name);
    return ReadInPlace([&]() -> HRESULT {
        if (nameCursor_ >= record_.entryCount()) return TV_E_PROP_ENDOFLIST;
        *name = record_.childAt(record_.entry(nameCursor_).offset).name();
        ++nameCursor_;
        return TV_S_OK;
    });
}

HRESULT CFastMetaProperty::GetChildCount(const char* name, uint32_t* count) {
    if (!name || !count) return TV_E_POINTER;
    *count = 0;
    if (full_) return full_->GetChildCount(name, count);
    return ReadInPlace([&]() -> HRESULT {
        block::Record child;
        return FindEntry(record_, name, &child, count) ? TV_S_OK : TV_E_PROP_NOTFOUND;
    });
}

HRESULT CFastMetaProperty::FindRecord(std::string_view path, block::Record* found, std::string* parentPath) const {
    block::Record at = record_;
    *parentPath = path_;
    for (;;) {
        const size_t colon = path.find(kPathSeparator);
        block::Record next;
        if (!FindEntry(at, path.substr(0, colon), &next, nullptr)) return TV_E_PROP_NOTFOUND;
        if (colon == std::string_view::npos) {
            *found = next;
            return TV_S_OK;
        }
        *parentPath = ComposePath(*parentPath, next.nameView(), next.flags());
        at = next;
        path.remove_prefix(colon + 1);
    }
}

HRESULT CFastMetaProperty::FindFirstChild(const char* name, IMPAMetaProperty** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    if (!name) return TV_E_POINTER;
    if (full_) return full_->FindFirstChild(name, out);
    return ReadInPlace([&]() -> HRESULT {
        block::Record found;
        std::string parentPath;
        const HRESULT hr = FindRecord(name, &found, &parentPath);
        return Failed(hr) ? hr : MakeView(found, parentPath, out);
    });
}

bool CFastMetaProperty::SearchByName(const block::Record& record, const std::string& recordPath,
                                     std::string_view name, unsigned depth, block::Record* found,
                                     std::string* parentPath) const {
    if (depth > block::kMaxDepth) throw Error(TV_E_FAIL, "metadata block nested too deep");
    if (FindEntry(record, name, found, nullptr)) {
        *parentPath = recordPath;
        return true;
    }
    // "Track", "Album" and "Artist" first; the walk over all children then skips the nodes already
    // searched, so no record is searched twice.
    const uint8_t* searched[std::size(kSearchFirst)] = {};
    for (size_t i = 0; i < std::size(kSearchFirst); ++i) {
        block::Record group;
        if (!FindEntry(record, kSearchFirst[i], &group, nullptr)) continue;
        searched[i] = group.bytes().data();
        if (SearchByName(group, ComposePath(recordPath, group.nameView(), group.flags()), name, depth + 1, found,
                         parentPath))
            return true;
    }
    block::ChildWalker walker(record);
    block::Record child;
    bool firstOfName = false;
    while (walker.next(&child, &firstOfName)) {
        if (std::find(std::begin(searched), std::end(searched), child.bytes().data()) != std::end(searched)) continue;
        if (SearchByName(child, ComposePath(recordPath, child.nameView(), child.flags()), name, depth + 1, found,
                         parentPath))
            return true;
    }
    return false;
}

HRESULT CFastMetaProperty::FindByPath(const char* path, IMPAMetaProperty** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    if (!path) return TV_E_POINTER;
    if (full_) return full_->FindByPath(path, out);
    return ReadInPlace([&]() -> HRESULT {
        std::string_view rest(path);
        block::Record at = record_;
        std::string atPath = path_;
        // Leading parts are followed as children; the last is searched for below where they lead.
        for (size_t colon; (colon = rest.find(kPathSeparator)) != std::string_view::npos;) {
            block::Record next;
            if (!FindEntry(at, rest.substr(0, colon), &next, nullptr)) return TV_E_PROP_NOTFOUND;
            atPath = ComposePath(atPath, next.nameView(), next.flags());
            at = next;
            rest.remove_prefix(colon + 1);
        }
        block::Record found;
        std::string parentPath;
        if (!SearchByName(at, atPath, rest, 0, &found, &parentPath)) return TV_E_PROP_NOTFOUND;
        return MakeView(found, parentPath, out);
    });
}

// --- Operations that need the full node ---

HRESULT CFastMetaProperty::FindNextChild(const char* name, IMPAMetaProperty** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    // Without a tree there is no find cursor to continue from.
    if (!full_) return TV_E_NOTIMPL;
    return full_->FindNextChild(name, out);
}

HRESULT CFastMetaProperty::SetName(const char* name) {
    return Forward([&](IMPAMetaProperty* n) { return n->SetName(name); });
}
HRESULT CFastMetaProperty::SetType(uint32_t type) {
    return Forward([&](IMPAMetaProperty* n) { return n->SetType(type); });
}
HRESULT CFastMetaProperty::SetValue(const uint8_t* data, uint32_t size) {
    return Forward([&](IMPAMetaProperty* n) { return n->SetValue(data, size); });
}
HRESULT CFastMetaProperty::SetFlags(uint32_t flags) {
    return Forward([&](IMPAMetaProperty* n) { return n->SetFlags(flags); });
}
HRESULT CFastMetaProperty::SetParentPath(const char* parentPath) {
    return Forward([&](IMPAMetaProperty* n) { return n->SetParentPath(parentPath); });
}
HRESULT CFastMetaProperty::SetChanged(uint32_t changed) {
    return Forward([&](IMPAMetaProperty* n) { return n->SetChanged(changed); });
}
HRESULT CFastMetaProperty::GetChildNameCount(uint32_t* count) {
    return Forward([&](IMPAMetaProperty* n) { return n->GetChildNameCount(count); });
}
HRESULT CFastMetaProperty::GetFirstChild(IMPAMetaProperty** out) {
    return Forward([&](IMPAMetaProperty* n) { return n->GetFirstChild(out); });
}
HRESULT CFastMetaProperty::GetNextChild(IMPAMetaProperty** out) {
    return Forward([&](IMPAMetaProperty* n) { return n->GetNextChild(out); });
}
HRESULT CFastMetaProperty::GetTotalChildCount(uint32_t* count) {
    return Forward([&](IMPAMetaProperty* n) { return n->GetTotalChildCount(count); });
}
HRESULT CFastMetaProperty::AddProperty(const char* name, uint32_t type, uint32_t flags, const uint8_t* data,
                                       uint32_t size, bool replace, IMPAMetaProperty** newNode) {
    return Forward([&](IMPAMetaProperty* n) { return n->AddProperty(name, type, flags, data, size, replace, newNode); });
}
HRESULT CFastMetaProperty::AddChild(IMPAMetaProperty* child, bool replace, const char* name, uint32_t addFlags) {
    return Forward([&](IMPAMetaProperty* n) { return n->AddChild(child, replace, name, addFlags); });
}
HRESULT CFastMetaProperty::AddText(const char* name, const char* text, uint32_t flags, bool replace,
                                   IMPAMetaProperty** newNode) {
    return Forward([&](IMPAMetaProperty* n) { return n->AddText(name, text, flags, replace, newNode); });
}
HRESULT CFastMetaProperty::AddFlag(const char* name, uint32_t value, uint32_t flags, bool replace,
                                   IMPAMetaProperty** newNode) {
    return Forward([&](IMPAMetaProperty* n) { return n->AddFlag(name, value, flags, replace, newNode); });
}
HRESULT CFastMetaProperty::AddNumber(const char* name, uint32_t value, uint32_t flags, bool replace,
                                     IMPAMetaProperty** newNode) {
    return Forward([&](IMPAMetaProperty* n) { return n->AddNumber(name, value, flags, replace, newNode); });
}
HRESULT CFastMetaProperty::AddUrl(const char* name, const char* text, uint32_t flags, bool replace,
                                  IMPAMetaProperty** newNode) {
    return Forward([&](IMPAMetaProperty* n) { return n->AddUrl(name, text, flags, replace, newNode); });
}
HRESULT CFastMetaProperty::AddGroup(const char* name, uint32_t flags, bool replace, IMPAMetaProperty** newNode) {
    return Forward([&](IMPAMetaProperty* n) { return n->AddGroup(name, flags, replace, newNode); });
}
HRESULT CFastMetaProperty::RemoveChild(IMPAMetaProperty* child) {
    return Forward([&](IMPAMetaProperty* n) { return n->RemoveChild(child); });
}
HRESULT CFastMetaProperty::RemoveByPath(const char* path) {
    return Forward([&](IMPAMetaProperty* n) { return n->RemoveByPath(path); });
}
HRESULT CFastMetaProperty::MergeFrom(IMPAMetaProperty* source, bool replace, uint32_t addFlags) {
    return Forward([&](IMPAMetaProperty* n) { return n->MergeFrom(source, replace, addFlags); });
}
HRESULT CFastMetaProperty::Clone(IMPAMetaProperty** out) {
    return Forward([&](IMPAMetaProperty* n) { return n->Clone(out); });
}
HRESULT CFastMetaProperty::IsSameNameAndType(IMPAMetaProperty* other) {
    return Forward([&](IMPAMetaProperty* n) { return n->IsSameNameAndType(other); });
}
HRESULT CFastMetaProperty::IsEqual(IMPAMetaProperty* other) {
    return Forward([&](IMPAMetaProperty* n) { return n->IsEqual(other); });
}

}  // namespace tagvera
