// The node itself: interface table, creation of new nodes, destruction, fields and value, the
// same-name chain link and the parents list.
#include "metaprop/meta_property.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "base/error.h"
#include "metaprop/deferred_release.h"
#include "metaprop/metaprop_component.h"
#include "metaprop/vocabulary.h"
#include "tagvera/plugin.h"

namespace tagvera {
namespace {

template <class T>
void EraseOne(std::vector<T>& list, const T& value) {
    auto at = std::find(list.begin(), list.end(), value);
    if (at != list.end()) list.erase(at);
}

}  // namespace

HRESULT CMPAMetaProperty::InternalQueryInterface(const GUID& iid, void** out) {
    if (!out) return TV_E_POINTER;
    // The class itself first: nodes ask it of each other on every add and lookup (FromInterface).
    if (iid == IID_CMPAMetaPropertyClass) return Hand(this, out);
    if (iid == IID_IUnknown) return Hand(static_cast<IUnknown*>(static_cast<CUnknownIMP*>(this)), out);
    if (iid == IID_IKNContextUser) return Hand(static_cast<IKNContextUser*>(this), out);
    if (iid == IID_IMPAMetaProperty) return Hand(static_cast<IMPAMetaProperty*>(this), out);
    if (iid == IID_IMPAMetaPropertySerialize) return Hand(static_cast<IMPAMetaPropertySerialize*>(this), out);
    if (iid == IID_IMPAFileProperties) return Hand(static_cast<IMPAFileProperties*>(this), out);
    if (iid == IID_IMPAMetaPropertyLinkedList) return Hand(static_cast<IMPAMetaPropertyLinkedList*>(this), out);
    if (iid == IID_IKMAXMLParserResponse) return Hand(static_cast<IKMAXMLParserResponse*>(this), out);
    if (iid == IID_IMPAMetaPropertySerialize2) return Hand(static_cast<IMPAMetaPropertySerialize2*>(this), out);
    if (iid == IID_IMPAMetaPropertyParentMgr) return Hand(static_cast<IMPAMetaPropertyParentMgr*>(this), out);
    return NoInterface(out);
}

CMPAMetaProperty* CMPAMetaProperty::FromInterface(IUnknown* object) {
    if (!object) return nullptr;
    void* raw = nullptr;
    if (Failed(object->QueryInterface(IID_CMPAMetaPropertyClass, &raw)) || !raw) return nullptr;
    auto* node = static_cast<CMPAMetaProperty*>(raw);
    node->Release();
    return node;
}

HRESULT CMPAMetaProperty::CreateNode(ComPtr<IMPAMetaProperty>& out) const {
    out.reset();
    IKMAClassFactory* factory = classFactory();
    if (!factory) return CreateStandaloneMetaProperty(out.put());
    if (Failed(CreateThroughHost(CLSID_CMPAMetaProperty, IID_IMPAMetaProperty, out.put())) || !out) {
        out.reset();
        return TV_E_OUTOFMEMORY;
    }
    // A host that hands out bare nodes still gets grandchildren made through its factory.
    CMPAMetaProperty* node = FromInterface(out.get());
    if (node && !node->classFactory()) node->AdoptFactory(factory);
    return TV_S_OK;
}

// The cursor is found by walking the chain, so a step costs its position in the chain: nothing for
// the usual chain of one node, and chains only grow through SetNext by hand.
ComPtr<IMPAMetaProperty> CMPAMetaProperty::AfterCursor(const Entry& entry, IMPAMetaProperty* cursor) {
    if (!cursor) return entry.first;
    IMPAMetaProperty* node = entry.first.get();
    CMPAMetaProperty* own = entry.firstNode;
    ComPtr<IMPAMetaProperty> hold;
    while (node) {
        ComPtr<IMPAMetaProperty> next = NextInChain(node, own);
        if (node == cursor) return next;
        hold = std::move(next);
        node = hold.get();
        own = FromInterface(node);
    }
    return {};
}

ComPtr<IMPAMetaProperty> CMPAMetaProperty::NextInChain(IMPAMetaProperty* node, CMPAMetaProperty* own) {
    if (own) {
        if (own->nextNode_) return ComPtr<IMPAMetaProperty>::Share(own->nextNode_->AsProperty());
        return QueryAs<IMPAMetaProperty>(own->next_, IID_IMPAMetaProperty);
    }
    auto link = QueryAs<IMPAMetaPropertyLinkedList>(node, IID_IMPAMetaPropertyLinkedList);
    if (!link) return {};
    auto next = ComPtr<IMPAMetaPropertyLinkedList>::Adopt(link->GetNext());
    return QueryAs<IMPAMetaProperty>(next, IID_IMPAMetaProperty);
}

CMPAMetaProperty::~CMPAMetaProperty() {
    // The pointer value may need "DeleteFunc" from a child, so it goes while children still live.
    try {
        DisposePointerValue();
    } catch (...) {
    }
    // A leaf hands nothing on, and needs no list of deferred releases (a thread-local) to do it.
    if (!next_ && children_.empty()) return;
    DeferredReleases releases;
    if (nextNode_) EraseOne(nextNode_->chainOwners_, this);
    releases.Add(next_);
    next_ = nullptr;
    nextNode_ = nullptr;
    value_.reset();
    IMPAMetaProperty* self = AsProperty();
    for (auto& [childName, entry] : children_) {
        ForEachInChain(entry, [&](IMPAMetaProperty* node, CMPAMetaProperty* own) {
            if (own) {
                own->RemoveParentNode(self);
            } else if (auto manager = QueryAs<IMPAMetaPropertyParentMgr>(node, IID_IMPAMetaPropertyParentMgr)) {
                manager->RemoveParent(self);
            }
        });
        releases.Add(entry.first.detach());
    }
}

void* CMPAMetaProperty::ValuePointer() const {
    void* pointer = nullptr;
    if (hasValue_ && valueSize_ >= sizeof pointer) std::memcpy(&pointer, valueData(), sizeof pointer);
    return pointer;
}

// Types 13 and 14 own what their value points at: a pointer freed by the function whose address
// the child "DeleteFunc" holds, or an interface holding one reference.
void CMPAMetaProperty::DisposePointerValue() {
    void* pointer = ValuePointer();
    if (!pointer) return;
    if (type_ == kTypeInterfacePointer) {
        static_cast<IUnknown*>(pointer)->Release();
    } else if (type_ == kTypeOwnedPointer) {
        ComPtr<IMPAMetaProperty> holder;
        if (Failed(FindPath(kPropDeleteFunc, holder))) return;
        const uint8_t* data = nullptr;
        uint32_t size = 0;
        PropertyDeleteFunc deleteFunc = nullptr;
        if (Failed(holder->GetValue(&data, &size)) || size < sizeof deleteFunc) return;
        std::memcpy(&deleteFunc, data, sizeof deleteFunc);
        if (deleteFunc) deleteFunc(pointer);
    }
}

void CMPAMetaProperty::StoreValue(const uint8_t* data, uint32_t size) {
    std::unique_ptr<uint8_t[]> previous;  // freed after the copy: data may be the node's own value
    if (hasValue_) {
        changed_ = kChanged;
        // A new pointer in a pointer-owning node frees the old one; the same pointer stays.
        if (IsPointerType(type_)) {
            void* incoming = nullptr;
            if (data && size >= sizeof incoming) std::memcpy(&incoming, data, sizeof incoming);
            if (incoming != ValuePointer()) DisposePointerValue();
        }
        previous = std::move(value_);
        valueSize_ = 0;
        hasValue_ = false;
    }
    if (!data) return;
    if (size <= kInlineValueBytes) {
        if (size) std::memmove(inlineValue_, data, size);
    } else {
        value_.reset(new (std::nothrow) uint8_t[size]);
        if (!value_) throw std::bad_alloc();
        std::memcpy(value_.get(), data, size);
    }
    valueSize_ = size;
    hasValue_ = true;
}

// --- IMPAMetaProperty: fields ---------------------------------------------------------------------

HRESULT CMPAMetaProperty::GetName(const char** name) {
    if (!name) return TV_E_POINTER;
    *name = name_.c_str();
    return name_.empty() ? TV_E_PROP_EMPTY : TV_S_OK;
}

HRESULT CMPAMetaProperty::GetType(uint32_t* type) {
    if (!type) return TV_E_POINTER;
    *type = type_;
    return TV_S_OK;
}

HRESULT CMPAMetaProperty::GetValue(const uint8_t** data, uint32_t* size) {
    if (!data || !size) return TV_E_POINTER;
    if (!hasValue_ || valueSize_ == 0) {
        *data = nullptr;
        *size = 0;
        return TV_E_PROP_EMPTY;
    }
    *data = valueData();
    *size = valueSize_;
    return TV_S_OK;
}

HRESULT CMPAMetaProperty::GetFlags(uint32_t* flags) {
    if (!flags) return TV_E_POINTER;
    *flags = flags_;
    return TV_S_OK;
}

HRESULT CMPAMetaProperty::GetPath(const char** path) {
    if (!path) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        *path = this->path().c_str();
        return path_.empty() ? TV_E_PROP_EMPTY : TV_S_OK;
    });
}

HRESULT CMPAMetaProperty::GetChanged(uint32_t* changed) {
    if (!changed) return TV_E_POINTER;
    *changed = changed_;
    return TV_S_OK;
}

HRESULT CMPAMetaProperty::SetName(const char* name) {
    if (!name) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        name_ = name;
        return TV_S_OK;
    });
}

HRESULT CMPAMetaProperty::SetType(uint32_t type) {
    type_ = type;
    return TV_S_OK;
}

// A null data pointer with size 0 removes the value.
HRESULT CMPAMetaProperty::SetValue(const uint8_t* data, uint32_t size) {
    if (!data && size) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        StoreValue(data, size);
        return TV_S_OK;
    });
}

HRESULT CMPAMetaProperty::SetFlags(uint32_t flags) {
    flags_ = flags;
    return TV_S_OK;
}

HRESULT CMPAMetaProperty::SetChanged(uint32_t changed) {
    changed_ = changed;
    return TV_S_OK;
}

HRESULT CMPAMetaProperty::IsSameNameAndType(IMPAMetaProperty* other) {
    if (!other) return 0;
    if (CMPAMetaProperty* node = FromInterface(other)) return node->name_ == name_ && node->type_ == type_ ? 1 : 0;
    const char* otherName = nullptr;
    uint32_t otherType = 0;
    if (other->GetName(&otherName) == TV_E_PROP_EMPTY || !otherName) otherName = "";
    if (Failed(other->GetType(&otherType))) return 0;
    return name_ == otherName && otherType == type_ ? 1 : 0;
}

HRESULT CMPAMetaProperty::IsEqual(IMPAMetaProperty* other) {
    if (IsSameNameAndType(other) != 1) return 0;
    const uint8_t* otherData = nullptr;
    uint32_t otherSize = 0;
    other->GetValue(&otherData, &otherSize);
    if (!otherData) otherSize = 0;
    const uint32_t size = hasValue_ ? valueSize_ : 0;
    if (otherSize != size) return 0;
    return size == 0 || std::memcmp(otherData, valueData(), size) == 0 ? 1 : 0;
}

// --- IMPAMetaPropertyLinkedList ------------------------------------------------------------------

IMPAMetaPropertyLinkedList* CMPAMetaProperty::GetNext() {
    if (next_) next_->AddRef();
    return next_;
}

HRESULT CMPAMetaProperty::SetNext(IMPAMetaPropertyLinkedList* next) {
    return Guard([&]() -> HRESULT {
        CMPAMetaProperty* nextNode = FromInterface(next);
        // The link owns next: refused when next already owns this node, which includes a chain that
        // leads back here. A next that owns nothing cannot.
        if (nextNode && (nextNode == this || !nextNode->children_.empty() || nextNode->next_) &&
            IsSelfOrOwner(nextNode->AsProperty()))
            return TV_E_INVALIDARG;
        IMPAMetaPropertyLinkedList* self = this;
        for (auto at = ComPtr<IMPAMetaPropertyLinkedList>::Share(next); at;
             at = ComPtr<IMPAMetaPropertyLinkedList>::Adopt(at->GetNext())) {
            if (at.get() == self) return TV_E_INVALIDARG;
        }
        if (nextNode) nextNode->chainOwners_.push_back(this);
        if (next) next->AddRef();
        IMPAMetaPropertyLinkedList* previous = next_;
        if (nextNode_) EraseOne(nextNode_->chainOwners_, this);
        next_ = next;
        nextNode_ = nextNode;
        if (previous) previous->Release();
        return TV_S_OK;
    });
}

// --- IMPAMetaPropertyParentMgr -------------------------------------------------------------------

CMPAMetaProperty::ParentLink* CMPAMetaProperty::FindParent(IMPAMetaProperty* parent) {
    return std::find_if(parents_.begin(), parents_.end(), [&](const ParentLink& p) { return p.node == parent; });
}

void CMPAMetaProperty::AddParentNode(IMPAMetaProperty* parent) {
    auto at = FindParent(parent);
    if (at != parents_.end())
        ++at->links;
    else
        parents_.push_back({parent, 1});
}

void CMPAMetaProperty::RemoveParentNode(IMPAMetaProperty* parent) {
    auto at = FindParent(parent);
    if (at != parents_.end() && --at->links == 0) parents_.erase(at);
}

HRESULT CMPAMetaProperty::DetachFromParents() {
    return Guard([&]() -> HRESULT {
        // Removing this node from a parent may drop the last reference to it.
        ComPtr<IMPAMetaProperty> self = ComPtr<IMPAMetaProperty>::Share(AsProperty());
        std::vector<ComPtr<IMPAMetaProperty>> parents;
        parents.reserve(parents_.size());
        for (const ParentLink& parent : parents_) parents.push_back(ComPtr<IMPAMetaProperty>::Share(parent.node));
        HRESULT result = TV_S_OK;
        for (const auto& parent : parents) {
            const HRESULT hr = parent->RemoveChild(self.get());
            if (Failed(hr) && Succeeded(result)) result = hr;
        }
        return result;
    });
}

HRESULT CMPAMetaProperty::AddParent(IMPAMetaProperty* parent) {
    if (!parent) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        if (FindParent(parent) == parents_.end()) parents_.push_back({parent, 1});
        return TV_S_OK;
    });
}

HRESULT CMPAMetaProperty::RemoveParent(IMPAMetaProperty* parent) {
    if (!parent) return TV_E_POINTER;
    auto at = FindParent(parent);
    if (at != parents_.end()) parents_.erase(at);
    return TV_S_OK;
}

HRESULT CMPAMetaProperty::GetParentCount(uint32_t* count) {
    if (!count) return TV_E_POINTER;
    *count = static_cast<uint32_t>(parents_.size());
    return TV_S_OK;
}

HRESULT CMPAMetaProperty::GetParent(uint32_t index, IMPAMetaProperty** parent) {
    if (!parent) return TV_E_POINTER;
    *parent = nullptr;
    if (index >= parents_.size()) return TV_E_FAIL;
    *parent = parents_[index].node;
    (*parent)->AddRef();
    return TV_S_OK;
}

}  // namespace tagvera
