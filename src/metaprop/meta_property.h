// CMPAMetaProperty: one node of the metadata property tree, and a component of its own. A node has a
// name, a type, flags, a value of bytes, and children keyed by case-sensitive name (an ordered map,
// so lookup and insertion stay logarithmic in groups of any size and enumeration is in byte order).
// Children are owned through their parent's chains; parents are known to a child but not owned.
#ifndef TAGVERA_METAPROP_META_PROPERTY_H
#define TAGVERA_METAPROP_META_PROPERTY_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "component/context_user.h"
#include "component/unknown.h"
#include "metaprop/node_path.h"
#include "metaprop/meta_property_serialize.h"
#include "tagvera/com_ptr.h"
#include "tagvera/metaprop.h"
#include "tagvera/vocabulary.h"

namespace tagvera {

// How deep merges may nest (MergeFrom, and AddChild of a group onto a group, recurse once per level).
// Deeper merges fail with E_FAIL instead of exhausting the caller's stack; every other walk over a
// tree is iterative and has no depth limit. Readers of blocks and documents stay within this depth.
inline constexpr uint32_t kMaxTreeDepth = 256;

// Answered only by CMPAMetaProperty, so that nodes reach each other's fields; see FromInterface.
inline constexpr GUID IID_CMPAMetaPropertyClass = TV_GUID(6B0C51E2, 3F7A, 4D21, 9C, 44, 1E, 8A, 52, 0D, B7, 93);

class CMPAMetaProperty : public CUnknownIMP,
                         public CKCAContextUserMixin,
                         public IMPAMetaProperty,
                         public CMPAMetaPropertySerializeImpl<CMPAMetaProperty>,
                         public IMPAFileProperties,
                         public IMPAMetaPropertyLinkedList,
                         public CMPAXMLParserResponseImpl<CMPAMetaProperty>,
                         public CMPAMetaPropertySerialize2Impl<CMPAMetaProperty>,
                         public IMPAMetaPropertyParentMgr {
public:
    // One child name: its chain of nodes (linked by their next-sibling fields) and the chain's cursors.
    struct Entry {
        ComPtr<IMPAMetaProperty> first;
        CMPAMetaProperty* firstNode = nullptr;  // first as this class, null for a node of another class
        // Cursors hold no reference: a node cut out of the chain through SetNext must not stay owned
        // here unseen, so they are looked up in the chain before use.
        IMPAMetaProperty* findCursor = nullptr;  // last node given by FindFirstChild/FindNextChild
        IMPAMetaProperty* enumCursor = nullptr;  // last node given by GetFirstChild/GetNextChild
    };
    using Children = std::map<std::string, Entry, std::less<>>;

    CMPAMetaProperty() = default;
    ~CMPAMetaProperty() override;

    TV_IMPLEMENT_IUNKNOWN
    HRESULT InternalQueryInterface(const GUID& iid, void** out) override;

    // The node behind any interface of this class; null for objects of another class. Takes no
    // reference: the caller's own keeps the node alive.
    static CMPAMetaProperty* FromInterface(IUnknown* object);
    IMPAMetaProperty* AsProperty() { return static_cast<IMPAMetaProperty*>(this); }

    // A new empty node: through the host class factory when this node has one, else made directly so
    // that trees also work without a host (tests, fuzzers, tools).
    HRESULT CreateNode(ComPtr<IMPAMetaProperty>& out) const;

    // Read access for this layer (the serialized forms), without touching any cursor.
    const std::string& name() const { return name_; }
    // Spelled out on first use after a change.
    const std::string& path() const;
    uint32_t type() const { return type_; }
    uint32_t flags() const { return flags_; }
    uint32_t changed() const { return changed_; }
    bool hasValue() const { return hasValue_; }
    const uint8_t* valueData() const {
        if (!hasValue_) return nullptr;
        return valueSize_ <= kInlineValueBytes ? inlineValue_ : value_.get();
    }
    uint32_t valueSize() const { return valueSize_; }
    const Children& children() const { return children_; }
    // The node after node in its same-name chain, or empty; own is node as this class, or null.
    static ComPtr<IMPAMetaProperty> NextInChain(IMPAMetaProperty* node, CMPAMetaProperty* own);
    // The node after cursor in the entry's chain; the first node for no cursor; empty at the end or
    // when cursor has left the chain.
    static ComPtr<IMPAMetaProperty> AfterCursor(const Entry& entry, IMPAMetaProperty* cursor);
    // Calls visit(node, node as this class or null) for every node of an entry's chain, in order.
    // visit must not change the chain.
    template <class Visit>
    static void ForEachInChain(const Entry& entry, Visit&& visit) {
        IMPAMetaProperty* node = entry.first.get();
        CMPAMetaProperty* own = entry.firstNode;
        ComPtr<IMPAMetaProperty> hold;
        while (node) {
            visit(node, own);
            if (own && own->nextNode_) {
                own = own->nextNode_;
                node = own->AsProperty();
                continue;
            }
            if (own && !own->next_) return;
            hold = NextInChain(node, own);
            node = hold.get();
            own = FromInterface(node);
        }
    }

    // IMPAMetaProperty
    HRESULT TV_STDCALL GetName(const char** name) override;
    HRESULT TV_STDCALL GetType(uint32_t* type) override;
    HRESULT TV_STDCALL GetValue(const uint8_t** data, uint32_t* size) override;
    HRESULT TV_STDCALL GetFlags(uint32_t* flags) override;
    HRESULT TV_STDCALL GetPath(const char** path) override;
    HRESULT TV_STDCALL GetChanged(uint32_t* changed) override;
    HRESULT TV_STDCALL SetName(const char* name) override;
    HRESULT TV_STDCALL SetType(uint32_t type) override;
    HRESULT TV_STDCALL SetValue(const uint8_t* data, uint32_t size) override;
    HRESULT TV_STDCALL SetFlags(uint32_t flags) override;
    HRESULT TV_STDCALL SetParentPath(const char* parentPath) override;
    HRESULT TV_STDCALL SetChanged(uint32_t changed) override;
    HRESULT TV_STDCALL FindByPath(const char* path, IMPAMetaProperty** out) override;
    HRESULT TV_STDCALL GetFirstChildName(const char** name) override;
    HRESULT TV_STDCALL GetNextChildName(const char** name) override;
    HRESULT TV_STDCALL GetChildNameCount(uint32_t* count) override;
    HRESULT TV_STDCALL FindFirstChild(const char* name, IMPAMetaProperty** out) override;
    HRESULT TV_STDCALL FindNextChild(const char* name, IMPAMetaProperty** out) override;
    HRESULT TV_STDCALL GetChildCount(const char* name, uint32_t* count) override;
    HRESULT TV_STDCALL GetFirstChild(IMPAMetaProperty** out) override;
    HRESULT TV_STDCALL GetNextChild(IMPAMetaProperty** out) override;
    HRESULT TV_STDCALL GetTotalChildCount(uint32_t* count) override;
    HRESULT TV_STDCALL AddProperty(const char* name, uint32_t type, uint32_t flags, const uint8_t* data,
                                   uint32_t size, bool replace, IMPAMetaProperty** newNode) override;
    HRESULT TV_STDCALL AddChild(IMPAMetaProperty* child, bool replace, const char* name, uint32_t addFlags) override;
    HRESULT TV_STDCALL AddText(const char* name, const char* text, uint32_t flags, bool replace,
                               IMPAMetaProperty** newNode) override;
    HRESULT TV_STDCALL AddFlag(const char* name, uint32_t value, uint32_t flags, bool replace,
                               IMPAMetaProperty** newNode) override;
    HRESULT TV_STDCALL AddNumber(const char* name, uint32_t value, uint32_t flags, bool replace,
                                 IMPAMetaProperty** newNode) override;
    HRESULT TV_STDCALL AddUrl(const char* name, const char* text, uint32_t flags, bool replace,
                              IMPAMetaProperty** newNode) override;
    HRESULT TV_STDCALL AddGroup(const char* name, uint32_t flags, bool replace, IMPAMetaProperty** newNode) override;
    HRESULT TV_STDCALL RemoveChild(IMPAMetaProperty* child) override;
    HRESULT TV_STDCALL RemoveByPath(const char* path) override;
    HRESULT TV_STDCALL MergeFrom(IMPAMetaProperty* source, bool replace, uint32_t addFlags) override;
    HRESULT TV_STDCALL Clone(IMPAMetaProperty** out) override;
    HRESULT TV_STDCALL IsSameNameAndType(IMPAMetaProperty* other) override;
    HRESULT TV_STDCALL IsEqual(IMPAMetaProperty* other) override;

    // IMPAFileProperties
    HRESULT TV_STDCALL GetFilename(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetTitle(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetArtist(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetAlbum(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetGenre(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetCopyright(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetPublisher(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetComments(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetCodec(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetMimeType(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetClosedLoopMarketing(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetLength(uint32_t* value) override;
    HRESULT TV_STDCALL GetChannels(uint32_t* value) override;
    HRESULT TV_STDCALL GetFileSize(uint32_t* value) override;
    HRESULT TV_STDCALL GetVBR(uint32_t* value) override;
    HRESULT TV_STDCALL GetFileProtection(uint32_t* value) override;
    HRESULT TV_STDCALL GetOriginalCopyFlag(uint32_t* value) override;
    HRESULT TV_STDCALL GetTrackNumber(uint32_t* value) override;
    HRESULT TV_STDCALL GetQuality(uint32_t* value) override;
    HRESULT TV_STDCALL GetReserved22(uint32_t* a, uint32_t* b, uint32_t* c) override;
    HRESULT TV_STDCALL Reserved23() override;
    HRESULT TV_STDCALL SetFilename(const char* value) override;
    HRESULT TV_STDCALL SetTitle(const char* value) override;
    HRESULT TV_STDCALL SetArtist(const char* value) override;
    HRESULT TV_STDCALL SetAlbum(const char* value) override;
    HRESULT TV_STDCALL SetGenre(const char* value) override;
    HRESULT TV_STDCALL SetCopyright(const char* value) override;
    HRESULT TV_STDCALL SetPublisher(const char* value) override;
    HRESULT TV_STDCALL SetComments(const char* value) override;
    HRESULT TV_STDCALL SetCodec(const char* value) override;
    HRESULT TV_STDCALL SetMimeType(const char* value) override;
    HRESULT TV_STDCALL SetClosedLoopMarketing(const char* value) override;
    HRESULT TV_STDCALL SetLength(uint32_t value) override;
    HRESULT TV_STDCALL SetChannels(uint32_t value) override;
    HRESULT TV_STDCALL SetFileSize(uint32_t value) override;
    HRESULT TV_STDCALL SetVBR(uint32_t value) override;
    HRESULT TV_STDCALL SetFileProtection(uint32_t value) override;
    HRESULT TV_STDCALL SetOriginalCopyFlag(uint32_t value) override;
    HRESULT TV_STDCALL SetTrackNumber(uint32_t value) override;
    HRESULT TV_STDCALL SetQuality(uint32_t value) override;
    HRESULT TV_STDCALL Reserved43() override;

    // IMPAMetaPropertyLinkedList
    IMPAMetaPropertyLinkedList* TV_STDCALL GetNext() override;
    HRESULT TV_STDCALL SetNext(IMPAMetaPropertyLinkedList* next) override;

    // IMPAMetaPropertyParentMgr
    HRESULT TV_STDCALL DetachFromParents() override;
    HRESULT TV_STDCALL AddParent(IMPAMetaProperty* parent) override;
    HRESULT TV_STDCALL RemoveParent(IMPAMetaProperty* parent) override;
    HRESULT TV_STDCALL GetParentCount(uint32_t* count) override;
    HRESULT TV_STDCALL GetParent(uint32_t index, IMPAMetaProperty** parent) override;

private:
    // A parent, not owned, and how many of its entries hold this node (a node may stand under two
    // names), so taking it out of one entry keeps the parent while another still holds it.
    struct ParentLink {
        IMPAMetaProperty* node = nullptr;
        uint32_t links = 0;
    };
    // Nearly every node has one parent: it is held in place, and only a second one costs a list.
    class ParentLinks {
    public:
        size_t size() const { return many_.empty() ? (one_.node ? 1 : 0) : many_.size(); }
        bool empty() const { return size() == 0; }
        ParentLink* begin() { return many_.empty() ? &one_ : many_.data(); }
        ParentLink* end() { return begin() + size(); }
        const ParentLink* begin() const { return many_.empty() ? &one_ : many_.data(); }
        const ParentLink* end() const { return begin() + size(); }
        const ParentLink& operator[](size_t i) const { return begin()[i]; }
        void push_back(const ParentLink& link) {
            if (many_.empty() && !one_.node) {
                one_ = link;
                return;
            }
            if (many_.empty()) many_.push_back(one_);
            many_.push_back(link);
            one_ = {};
        }
        void erase(ParentLink* at) {
            if (many_.empty())
                one_ = {};
            else
                many_.erase(many_.begin() + (at - many_.data()));
        }

    private:
        ParentLink one_;
        std::vector<ParentLink> many_;
    };

    // Fields and values (meta_property.cpp).
    void StoreValue(const uint8_t* data, uint32_t size);
    void DisposePointerValue();
    void* ValuePointer() const;

    // Paths and lookup (meta_property_find.cpp).
    void ComposePath(const NodePath& parentPath);
    void UpdatePaths(const NodePath& parentPath);
    void UpdateChildPaths();
    HRESULT FindDirect(std::string_view name, ComPtr<IMPAMetaProperty>& out);
    HRESULT SearchByName(std::string_view name, ComPtr<IMPAMetaProperty>& out);
    HRESULT FindPath(std::string_view path, ComPtr<IMPAMetaProperty>& out);
    void OrderedChildrenForSearch(std::vector<IMPAMetaProperty*>& out) const;
    // Follows all but the last ":"-part of path by first nodes, leaving cursors alone; a path that is
    // the name of a child here is taken whole.
    HRESULT WalkToLastPart(std::string_view& path, ComPtr<IMPAMetaProperty>& node);
    void EraseEntry(Children::iterator at, Entry& taken);
    // Whether more than one parent entry or chain link holds this node, so a walk may meet it twice.
    bool HeldMoreThanOnce() const {
        return parents_.size() + chainOwners_.size() > 1 || (parents_.size() == 1 && parents_[0].links > 1);
    }

    // Adding and merging (meta_property_add.cpp).
    HRESULT AddPropertyImpl(const char* name, uint32_t type, uint32_t flags, const uint8_t* data, uint32_t size,
                            bool replace, ComPtr<IMPAMetaProperty>* placed);
    HRESULT AddChildImpl(IMPAMetaProperty* child, bool replace, const char* name, uint32_t addFlags,
                         bool updatePaths, ComPtr<IMPAMetaProperty>* placed);
    HRESULT AddChildHere(IMPAMetaProperty* child, bool replace, const char* name, uint32_t addFlags,
                         bool updatePaths, ComPtr<IMPAMetaProperty>* placed);
    HRESULT PutFirstInChain(Entry& entry, IMPAMetaProperty* child);
    HRESULT MergeFromImpl(IMPAMetaProperty* source, bool replace, uint32_t addFlags);
    // Whether candidate is this node or owns it through children and next-sibling links.
    bool IsSelfOrOwner(IMPAMetaProperty* candidate) const;
    // One entry of parent more or less holds this node.
    void AddParentNode(IMPAMetaProperty* parent);
    void RemoveParentNode(IMPAMetaProperty* parent);
    ParentLink* FindParent(IMPAMetaProperty* parent);

    // Cloning (meta_property_clone.cpp).
    HRESULT CopyFieldsInto(IMPAMetaProperty* target) const;

    // IMPAFileProperties (file_properties.cpp).
    HRESULT GetStandardText(const char* group, const char* property, char* buffer, uint32_t* size);
    HRESULT GetStandardNumber(const char* group, const char* property, uint32_t* value);
    HRESULT SetStandardText(const char* group, const char* property, const char* value, uint32_t flags);
    HRESULT SetStandardNumber(const char* group, const char* property, uint32_t value, uint32_t flags);
    HRESULT StandardGroup(const char* group, ComPtr<IMPAMetaProperty>& out);

    std::string name_;
    NodePath path_;
    mutable std::string pathText_;
    mutable bool pathSpelled_ = true;
    uint32_t type_ = kTypeNone;
    uint32_t flags_ = 0;
    // Most values are numbers and short texts: they live in the node, larger ones on the heap.
    static constexpr uint32_t kInlineValueBytes = 32;
    uint8_t inlineValue_[kInlineValueBytes];
    std::unique_ptr<uint8_t[]> value_;
    uint32_t valueSize_ = 0;
    bool hasValue_ = false;
    uint32_t changed_ = kUnchanged;

    Children children_;
    // Name enumeration: the entry GetNextChildName gives next.
    Children::iterator nameCursor_ = children_.end();
    bool nameStarted_ = false;
    // Child enumeration: the entry being walked; fresh when none of its chain was given yet.
    Children::iterator childCursor_ = children_.end();
    bool childFresh_ = true;
    bool childStarted_ = false;

    IMPAMetaPropertyLinkedList* next_ = nullptr;  // owned: one reference
    CMPAMetaProperty* nextNode_ = nullptr;        // next_ as this class, or null
    ParentLinks parents_;  // not owned
    // Nodes whose next-sibling link holds this node (not owned): owners too, for the cycle check.
    std::vector<CMPAMetaProperty*> chainOwners_;
};

}  // namespace tagvera

#endif
