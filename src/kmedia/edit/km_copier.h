// What both copiers are given before they run: inputs, output, time range, content, flags, options,
// file-info values, progress sinks and the file-version override. CKMFFCopy checks the request and
// hands it on; CKMFF3Copy writes the file.
#ifndef TAGVERA_KMEDIA_EDIT_KM_COPIER_H
#define TAGVERA_KMEDIA_EDIT_KM_COPIER_H

#include <optional>
#include <string>
#include <vector>

#include "component/unknown.h"
#include "kmedia/content.h"
#include "tagvera/com_ptr.h"
#include "tagvera/kmedia_edit.h"

namespace tagvera::kmedia {

struct KmCopyRequest {
    std::vector<std::string> inputs;
    std::string output;
    uint32_t startMs = 0, endMs = 0;  // 0: not set
    std::optional<ContentObject> content;
    std::optional<uint16_t> flags;
    ComPtr<IUnknown> options;
    ComPtr<IKMAValues> fileInfo;
    std::vector<ComPtr<IKMAProgressSink>> sinks;
    std::optional<uint32_t> fileVersion;
};

class CKMCopier : public CUnknownIMP, public IKMAKMFFCopy2, public IKMAKMFileHeader {
public:
    TV_IMPLEMENT_IUNKNOWN
    HRESULT InternalQueryInterface(const GUID& iid, void** out) override;

    HRESULT TV_STDCALL AddInputFile(const char* path) override;
    HRESULT TV_STDCALL SetOutputFile(const char* path) override;
    HRESULT TV_STDCALL SetStartTime(uint32_t ms) override;
    HRESULT TV_STDCALL SetEndTime(uint32_t ms) override;
    HRESULT TV_STDCALL SetContent(const char* title, const char* author, const char* copyright,
                                  const char* comment) override;
    HRESULT TV_STDCALL SetFlags(uint16_t flags) override;
    HRESULT TV_STDCALL SetOptions(IUnknown* options) override;
    HRESULT TV_STDCALL SetFurtherOption(IUnknown* option) override;
    HRESULT TV_STDCALL SetFileInfoValues(IKMAValues* values) override;
    HRESULT TV_STDCALL AddProgressSink(IKMAProgressSink* sink) override;
    HRESULT TV_STDCALL RemoveProgressSink(IKMAProgressSink* sink) override;
    HRESULT TV_STDCALL SetFileVersion(uint32_t version) override;

protected:
    KmCopyRequest request_;
};

// Hands every part of a request that is set to another copier, in the order that copier takes them.
HRESULT PassRequest(const KmCopyRequest& request, IKMAKMFFCopy2* to);
// Tells every sink how far the work has come; the first failure stops the work.
HRESULT ReportProgress(const KmCopyRequest& request, uint32_t percent);

}  // namespace tagvera::kmedia

#endif
