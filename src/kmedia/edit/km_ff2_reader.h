// CKMFF2Reader: the header reader behind CKMEdit and the copiers, over the header walk. It keeps the
// walk's objects while open; the packets are never read here.
#ifndef TAGVERA_KMEDIA_EDIT_KM_FF2_READER_H
#define TAGVERA_KMEDIA_EDIT_KM_FF2_READER_H

#include <optional>
#include <vector>

#include "component/unknown.h"
#include "kmedia/header_walk.h"
#include "tagvera/kmedia_edit.h"

namespace tagvera::kmedia {

class CKMFF2Reader : public CUnknownIMP, public IKMAKMFF4Reader, public IKMAKMMetaInformation {
public:
    TV_IMPLEMENT_IUNKNOWN
    HRESULT InternalQueryInterface(const GUID& iid, void** out) override;

    HRESULT TV_STDCALL GetNumStreamHeaders(uint32_t* count) override;
    HRESULT TV_STDCALL GetStreamHeader(uint32_t index, IKMABuffer** mdpr, uint32_t* bitRate) override;
    HRESULT TV_STDCALL GetDuration(uint32_t* ms) override;
    HRESULT TV_STDCALL GetProperties(IKMABuffer** prop) override;
    HRESULT TV_STDCALL GetContent(IKMABuffer** cont) override;
    HRESULT TV_STDCALL GetFlags(uint16_t* flags) override;
    HRESULT TV_STDCALL Open(const char* path) override;
    HRESULT TV_STDCALL Close() override;
    HRESULT TV_STDCALL GetFileKind(uint32_t* kind) override;

    HRESULT TV_STDCALL GetFileInfoValues(IKMAValues** values) override;

    // For the copiers and CKMEdit, which live beside it: what the walk found, or null.
    const KmHeaders* Headers() const { return headers_ ? &*headers_ : nullptr; }
    const std::vector<const MediaPropertiesObject*>& StreamHeaders() const { return streams_; }
    const MediaPropertiesObject* FileInfo() const { return fileInfo_; }
    // The logical streams (but the file-info one) that stream header i belongs to.
    const std::vector<const MediaPropertiesObject*>& LogicalStreamsOf(size_t i) const { return attached_.at(i); }

private:
    // Each logical stream joins the stream headers whose numbers its record lists; one whose record
    // does not read joins none.
    void AttachLogicalStreams();

    std::optional<KmHeaders> headers_;
    std::vector<const MediaPropertiesObject*> streams_;  // into headers_
    const MediaPropertiesObject* fileInfo_ = nullptr;
    std::vector<const MediaPropertiesObject*> logical_;  // every logical stream but fileInfo_
    std::vector<std::vector<const MediaPropertiesObject*>> attached_;  // by stream header
};

// A new reader with one reference.
HRESULT NewKmReader(CKMFF2Reader** out);

}  // namespace tagvera::kmedia

#endif
