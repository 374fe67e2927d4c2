// CImageMetadataPlugin: the package's component for still images (JPEG, PNG, GIF, BMP, TIFF).
// Setting a file only names it; the first interrogation or write reads its figures and EXIF
// (picture_reader: on Linux from the headers, never the pixels; on Windows through GDI+), and the
// result stays until another file is set or the file is written. Writes go to the EXIF of JPEG,
// PNG and TIFF files (image_importer_write.cpp; GDI+ writes no PNG).
#ifndef TAGVERA_IMAGE_IMAGE_IMPORTER_H
#define TAGVERA_IMAGE_IMAGE_IMPORTER_H

#include <optional>
#include <string>
#include <vector>

#include "component/context_user.h"
#include "component/unknown.h"
#include "image/exif_io.h"
#include "image/image_facts.h"
#include "package/importer_kit/component_creators.h"
#include "package/importer_kit/set_filename_shims.h"
#include "tagvera/importer.h"
#include "tagvera/metaprop.h"
#include "tagvera/mp3.h"
#include "tagvera/property_catalog.h"

namespace tagvera {

class CImageMetadataPlugin : public CUnknownIMP,
                             public CKCAContextUserMixin,
                             public SetFilenameOpens<IMPAInterrogateFile, OpenForm::Full>,
                             public SetFilenameOpens<IMPAInterrogateLite, OpenForm::Light>,
                             public SetFilenameOpens<IMPAHandleMetaProperties, OpenForm::Full>,
                             public IMPAPropertyCatalog,
                             public IMPAWriteReport {
public:
    CImageMetadataPlugin() = default;
    ~CImageMetadataPlugin() override;

    TV_IMPLEMENT_IUNKNOWN
    HRESULT InternalQueryInterface(const GUID& iid, void** out) override;

    HRESULT OpenFile(const char* path, OpenForm form) override;

    // IMPAInterrogateFile
    HRESULT TV_STDCALL Interrogate(IMPAMetaProperty** tree) override;
    HRESULT TV_STDCALL SetOption(uintptr_t option, uintptr_t value) override;
    HRESULT TV_STDCALL SetOption2(uintptr_t option, uintptr_t value) override;
    // The lists are the component table's alone: every interface answers E_NOTIMPL here.
    HRESULT TV_STDCALL GetSupportedMimeTypes(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetSupportedExtensions(char* buffer, uint32_t* size) override;

    // IMPAInterrogateLite: the same tree as Interrogate.
    HRESULT TV_STDCALL InterrogateLite(IMPAMetaProperty** tree) override;

    // IMPAHandleMetaProperties (image_importer_write.cpp for the write)
    HRESULT TV_STDCALL Prepare(uint32_t what) override;
    HRESULT TV_STDCALL GetPropertyData(IMPAMetaProperty* property, uint8_t* buffer, uint32_t size) override;
    HRESULT TV_STDCALL SavePropertyData(IMPAMetaProperty* property, const char* path) override;
    HRESULT TV_STDCALL WriteMetaProperties(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                           uint32_t force) override;

    // IMPAPropertyCatalog (image_property_catalog.cpp)
    HRESULT TV_STDCALL GetPropertyCatalog(char* buffer, uint32_t* size) override;

    // IMPAWriteReport
    HRESULT TV_STDCALL GetWriteReport(char* buffer, uint32_t* size) override;

private:
    struct Loaded {
        image::ImageFacts facts;
        uint64_t fileSize = 0;
        std::vector<image::ExifItem> exif;
    };
    // Reads the file once; a file that is no image it can read gives E_FAIL, and why in problem_.
    HRESULT Load();
    Loaded LoadFile() const;
    HRESULT Fill(IMPAMetaProperty** out);

    std::string path_;
    std::optional<Loaded> loaded_;
    std::string problem_;
    std::string writeReport_;
};

}  // namespace tagvera

#endif
