// CKMEdit: the editing object hosts and the importer hold. The engine underneath keeps the content
// strings, flags and file-info properties; the reader answers the stream questions; Save hands
// everything to a copier.
#ifndef TAGVERA_KMEDIA_EDIT_KM_EDIT_OBJECT_H
#define TAGVERA_KMEDIA_EDIT_KM_EDIT_OBJECT_H

#include <optional>
#include <string>
#include <vector>

#include "component/unknown.h"
#include "kmedia/edit/km_ff2_reader.h"
#include "kmedia/km_edit.h"
#include "tagvera/com_ptr.h"
#include "tagvera/kmedia_edit.h"

namespace tagvera::kmedia {

class CKMEdit : public CUnknownIMP, public IKMAKMEdit3, public IKMAKMEdit2, public IKMAKMFileHeader {
public:
    TV_IMPLEMENT_IUNKNOWN
    HRESULT InternalQueryInterface(const GUID& iid, void** out) override;

    HRESULT TV_STDCALL GetNumStreamHeaders(uint32_t* count) override;
    HRESULT TV_STDCALL CheckTimeText(const char* text, uint32_t* ms) override;
    HRESULT TV_STDCALL SetTitle(const char* text) override;
    HRESULT TV_STDCALL SetAuthor(const char* text) override;
    HRESULT TV_STDCALL SetCopyright(const char* text) override;
    HRESULT TV_STDCALL SetComment(const char* text) override;
    HRESULT TV_STDCALL SetFlag1(uint32_t on) override;
    HRESULT TV_STDCALL SetFlag8(uint32_t on) override;
    HRESULT TV_STDCALL SetFlag2(uint32_t on) override;
    HRESULT TV_STDCALL SetStartTimeText(const char* text) override;
    HRESULT TV_STDCALL SetStartTime(uint32_t ms) override;
    HRESULT TV_STDCALL SetEndTimeText(const char* text) override;
    HRESULT TV_STDCALL SetEndTime(uint32_t ms) override;
    HRESULT TV_STDCALL SetInputFile(const char* path, uint32_t readHeaders) override;
    HRESULT TV_STDCALL AddInputFile(const char* path) override;
    HRESULT TV_STDCALL SetOutputFile(const char* path) override;
    HRESULT TV_STDCALL GetTitle(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetAuthor(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetCopyright(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetComment(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetFlag1(uint32_t* on) override;
    HRESULT TV_STDCALL GetFlag8(uint32_t* on) override;
    HRESULT TV_STDCALL GetFlag2(uint32_t* on) override;
    HRESULT TV_STDCALL GetStartTime(uint32_t* ms) override;
    HRESULT TV_STDCALL GetEndTime(uint32_t* ms) override;
    HRESULT TV_STDCALL GetDuration(uint32_t* ms) override;
    HRESULT TV_STDCALL GetInputFile(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetOutputFile(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL SetOptions(IUnknown* options) override;
    HRESULT TV_STDCALL ClearOptions(IUnknown* options) override;
    HRESULT TV_STDCALL CreateBuffer(IKMABuffer** buffer) override;
    HRESULT TV_STDCALL Reserved34() override { return TV_E_NOTIMPL; }
    HRESULT TV_STDCALL Reserved35() override { return TV_E_NOTIMPL; }
    HRESULT TV_STDCALL Reserved36() override { return TV_E_NOTIMPL; }
    HRESULT TV_STDCALL Save() override;
    HRESULT TV_STDCALL AddProgressSink(IKMAProgressSink* sink) override;
    HRESULT TV_STDCALL RemoveProgressSink(IKMAProgressSink* sink) override;

    HRESULT TV_STDCALL HasAudio() override;
    HRESULT TV_STDCALL HasVideo() override;
    HRESULT TV_STDCALL HasEvents() override;
    HRESULT TV_STDCALL HasImageMap() override;
    HRESULT TV_STDCALL GetVideoSize(uint32_t* width, uint32_t* height) override;
    HRESULT TV_STDCALL GetVideoBitRate(uint32_t* bitRate) override;

    HRESULT TV_STDCALL SetFileVersion(uint32_t version) override;

private:
    HRESULT HasStream(std::string_view mime, std::string_view multirate);
    const MediaPropertiesObject* FirstVideo() const;
    HRESULT BuildCopier(IKMAKMFFCopy2* copier);

    std::string input_, output_;
    std::vector<std::string> moreInputs_;
    KmEditEngine engine_;
    uint32_t startMs_ = 0, endMs_ = 0;
    std::optional<uint32_t> fileVersion_;
    ComPtr<IUnknown> options_;
    std::vector<ComPtr<IKMAProgressSink>> sinks_;
    ComPtr<CKMFF2Reader> reader_;
};

// A new editing object with one reference.
HRESULT CreateKmEdit(IKMAKMEdit3** out);

}  // namespace tagvera::kmedia

#endif
