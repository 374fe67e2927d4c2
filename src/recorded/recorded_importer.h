// CImportCFSFile: the package's component for the files the host records itself, its ".REC"
// container and FLV. Their metadata is a jukebox block in a trailer at the end of the file
// (recorded_trailer.h); FLV files take their statistics from the generic interrogator, ".REC"
// files carry an ID3v1 tag as well. Writes replace the trailer in place
// (recorded_importer_write.cpp).
#ifndef TAGVERA_RECORDED_RECORDED_IMPORTER_H
#define TAGVERA_RECORDED_RECORDED_IMPORTER_H

#include <string>

#include "component/context_user.h"
#include "component/unknown.h"
#include "package/importer_kit/component_creators.h"
#include "package/importer_kit/set_filename_shims.h"
#include "tags/jukebox/jukebox_parser.h"
#include "tagvera/com_ptr.h"
#include "tagvera/importer.h"
#include "tagvera/metaprop.h"
#include "tagvera/mp3.h"
#include "tagvera/property_catalog.h"

namespace tagvera {

class CImportCFSFile : public CUnknownIMP,
                       public CKCAContextUserMixin,
                       public SetFilenameOpens<IMPAInterrogateFile, OpenForm::Full>,
                       public SetFilenameOpens<IMPAInterrogateLite, OpenForm::Light>,
                       public SetFilenameOpens<IMPAHandleMetaProperties, OpenForm::Full>,
                       public IMPAPropertyCatalog,
                       public IMPAWriteReport {
public:
    CImportCFSFile() = default;
    ~CImportCFSFile() override;

    TV_IMPLEMENT_IUNKNOWN
    HRESULT InternalQueryInterface(const GUID& iid, void** out) override;

    HRESULT OpenFile(const char* path, OpenForm form) override;

    // IMPAInterrogateFile
    HRESULT TV_STDCALL Interrogate(IMPAMetaProperty** tree) override;
    HRESULT TV_STDCALL SetOption(uintptr_t, uintptr_t) override { return TV_S_OK; }
    HRESULT TV_STDCALL SetOption2(uintptr_t, uintptr_t) override { return TV_S_OK; }
    HRESULT TV_STDCALL GetSupportedMimeTypes(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetSupportedExtensions(char* buffer, uint32_t* size) override;
    // IMPAInterrogateLite: the same tree as Interrogate.
    HRESULT TV_STDCALL InterrogateLite(IMPAMetaProperty** tree) override { return Interrogate(tree); }

    // IMPAHandleMetaProperties (recorded_importer_write.cpp for Prepare and the write); Prepare
    // removes the metadata.
    HRESULT TV_STDCALL Prepare(uint32_t what) override;
    HRESULT TV_STDCALL GetPropertyData(IMPAMetaProperty* property, uint8_t* buffer, uint32_t size) override;
    HRESULT TV_STDCALL SavePropertyData(IMPAMetaProperty* property, const char* path) override;
    HRESULT TV_STDCALL WriteMetaProperties(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                           uint32_t force) override;

    // IMPAPropertyCatalog
    HRESULT TV_STDCALL GetPropertyCatalog(char* buffer, uint32_t* size) override;
    // IMPAWriteReport
    HRESULT TV_STDCALL GetWriteReport(char* buffer, uint32_t* size) override;

private:
    void Forget();
    HRESULT ReadMetadata();
    HRESULT AddFlvStatistics();

    std::string path_;
    bool flv_ = false;
    bool tagsLoaded_ = false;
    bool loaded_ = false;
    ComPtr<IMPAMetaProperty> tree_;
    ComPtr<IMPAKJMDParser> parser_;
    std::string writeReport_;
};

}  // namespace tagvera

#endif
