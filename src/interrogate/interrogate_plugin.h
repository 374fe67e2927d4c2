// KMAInterrogatePlugin: the package's component for every type it has no parser of its own for.
// SetFilename has the media platform open the file with a file-format plug-in for its extension
// and keeps the file header and stream headers the plug-in delivers; Interrogate turns them into
// statistics. The MP4 and recorded-file importers take statistics from it too.
#ifndef TAGVERA_INTERROGATE_INTERROGATE_PLUGIN_H
#define TAGVERA_INTERROGATE_INTERROGATE_PLUGIN_H

#include <string>
#include <vector>

#include "component/context_user.h"
#include "component/unknown.h"
#include "interrogate/format_proxy.h"
#include "package/importer_kit/component_creators.h"
#include "package/importer_kit/set_filename_shims.h"
#include "tagvera/com_ptr.h"
#include "tagvera/importer.h"
#include "tagvera/media_platform.h"
#include "tagvera/metaprop.h"

namespace tagvera {

class KMAInterrogatePlugin : public CUnknownIMP,
                             public CKCAContextUserMixin,
                             public SetFilenameOpens<IMPAInterrogateFile, OpenForm::Full>,
                             public SetFilenameOpens<IMPAInterrogateLite, OpenForm::Light>,
                             public IKMAFileSystemManagerResponse,
                             private interrogate::FormatNotifications {
public:
    KMAInterrogatePlugin() = default;
    ~KMAInterrogatePlugin() override;

    TV_IMPLEMENT_IUNKNOWN
    HRESULT InternalQueryInterface(const GUID& iid, void** out) override;

    HRESULT OpenFile(const char* path, OpenForm form) override;

    // IMPAInterrogateFile
    HRESULT TV_STDCALL Interrogate(IMPAMetaProperty** tree) override;
    HRESULT TV_STDCALL SetOption(uintptr_t, uintptr_t) override { return TV_S_OK; }
    HRESULT TV_STDCALL SetOption2(uintptr_t, uintptr_t) override { return TV_S_OK; }
    HRESULT TV_STDCALL GetSupportedMimeTypes(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetSupportedExtensions(char* buffer, uint32_t* size) override;
    // IMPAInterrogateLite: only the lists.
    HRESULT TV_STDCALL InterrogateLite(IMPAMetaProperty**) override { return TV_E_NOTIMPL; }

    // IKMAFileSystemManagerResponse
    HRESULT TV_STDCALL InitDone(HRESULT) override { return TV_S_OK; }
    HRESULT TV_STDCALL FileObjectReady(HRESULT status, IUnknown* fileObject) override;

private:
    void OnInitDone() override { initDone_ = true; }
    void OnFileHeader(HRESULT status, IKMAValues* header) override;
    void OnStreamHeader(HRESULT status, IKMAValues* header) override;

    void Forget();
    HRESULT Open(const char* path);
    // One plug-in's attempt: S_OK with the file header, S_FALSE when the plug-in gave none.
    HRESULT TryPlugin(IKMAMediaPlatform* platform, IKMAPluginHandler* handler, uint32_t index, IKMAFileFormat** opened);
    HRESULT ReadStreamHeaders(IKMAMediaPlatform* platform, IKMAFileFormat* format);
    void EndAttempt(IKMAFileFormat* format);
    HRESULT Fill(IMPAMetaProperty** out);

    std::string path_;
    ComPtr<IUnknown> fileObject_;
    interrogate::FmtProxy* proxy_ = nullptr;  // owned, one reference
    ComPtr<IKMAValues> fileHeader_;
    std::vector<ComPtr<IKMAValues>> streamHeaders_;
    bool initDone_ = false;
    bool headerArrived_ = false;
    HRESULT headerStatus_ = TV_E_NOTLOADED;
    uint64_t endTime_ = 0;
};

}  // namespace tagvera

#endif
