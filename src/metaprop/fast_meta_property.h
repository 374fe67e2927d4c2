// CFastMetaProperty: a property node that answers straight from a jukebox metadata block, so that a
// host reading one property of a large block pays for that property only. Reads of name, type,
// flags, value, path, child names and counts, FindFirstChild and FindByPath never build a tree;
// any other operation first builds a full CMPAMetaProperty from the record and forwards to it.
// Child names compare without regard to case here, unlike in the full node.
#ifndef TAGVERA_METAPROP_FAST_META_PROPERTY_H
#define TAGVERA_METAPROP_FAST_META_PROPERTY_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "component/unknown.h"
#include "metaprop/block_record.h"
#include "tagvera/com_ptr.h"
#include "tagvera/metaprop_serialize.h"

namespace tagvera {

class CFastMetaProperty final : public CUnknownIMP, public IMPAMetaPropertyBuffer {
public:
    CFastMetaProperty() = default;
    ~CFastMetaProperty() override = default;

    TV_IMPLEMENT_IUNKNOWN
    HRESULT InternalQueryInterface(const GUID& iid, void** out) override;

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

    // IMPAMetaPropertyBuffer
    HRESULT TV_STDCALL SetBuffer(uint8_t* block, uint32_t size, bool bigEndian) override;

    // Whether the full node has been built (for tests and benchmarks).
    bool built() const { return static_cast<bool>(full_); }

private:
    // Reads answered in place need a record, and go to the full node once there is one.
    template <class Read>
    HRESULT ReadInPlace(Read&& read);
    // Everything else needs the full node.
    template <class Op>
    HRESULT Forward(Op&& op);
    HRESULT EnsureFull();

    // A view of record, a child (or deeper) record of this view's block, whose parent's path is
    // parentPath.
    HRESULT MakeView(const block::Record& record, const std::string& parentPath, IMPAMetaProperty** out) const;
    // Follows ":"-separated names from this record; the path of the record found's parent is left
    // in parentPath.
    HRESULT FindRecord(std::string_view path, block::Record* found, std::string* parentPath) const;
    // FindByPath's search for a plain name below record (record's own path is recordPath).
    bool SearchByName(const block::Record& record, const std::string& recordPath, std::string_view name,
                      unsigned depth, block::Record* found, std::string* parentPath) const;

    std::shared_ptr<const uint8_t[]> block_;  // shared by every view of the block
    block::Record record_;
    bool hasRecord_ = false;
    std::string parentPath_;
    std::string path_;
    uint32_t nameCursor_ = 0;
    ComPtr<IMPAMetaProperty> full_;
};

// A new view without a block, with one reference; give it a block with SetBuffer.
HRESULT CreateFastMetaProperty(IMPAMetaPropertyBuffer** out);

}  // namespace tagvera

#endif
