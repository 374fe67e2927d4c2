// CImportM4File: the package's component for MP4 files (m4a, m4p, m4v, mp4). Setting a file reads
// its top-level box headers and its movie box once (never the media data); interrogation maps the
// item list and the movie's figures to a tree, the cover picture is handed out on demand, and a
// write takes the file's lock, reads the movie again and stores the tree's changes
// (m4_importer_write.cpp).
#ifndef TAGVERA_MP4_M4_IMPORTER_H
#define TAGVERA_MP4_M4_IMPORTER_H

#include <optional>
#include <string>

#include "mp4/mp4_editor.h"
#include "package/importer_kit/component_creators.h"
#include "package/importer_kit/full_importer.h"
#include "tagvera/importer.h"
#include "tagvera/metaprop.h"
#include "tagvera/mp3.h"
#include "tagvera/property_catalog.h"
#include "tagvera/structure_report.h"

namespace tagvera {

class CImportM4File : public CFullImporter<LightForm::None> {
public:
    CImportM4File() = default;
    ~CImportM4File() override;

    HRESULT OpenFile(const char* path, OpenForm form) override;

    // IMPAInterrogateFile
    HRESULT TV_STDCALL Interrogate(IMPAMetaProperty** tree) override;
    HRESULT TV_STDCALL SetOption(uintptr_t option, uintptr_t value) override;
    HRESULT TV_STDCALL SetOption2(uintptr_t option, uintptr_t value) override;
    HRESULT TV_STDCALL GetSupportedMimeTypes(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetSupportedExtensions(char* buffer, uint32_t* size) override;

    // IMPAHandleMetaProperties (m4_importer_write.cpp for Prepare and the write)
    HRESULT TV_STDCALL Prepare(uint32_t what) override;
    HRESULT TV_STDCALL GetPropertyData(IMPAMetaProperty* property, uint8_t* buffer, uint32_t size) override;
    HRESULT TV_STDCALL SavePropertyData(IMPAMetaProperty* property, const char* path) override;
    HRESULT TV_STDCALL WriteMetaProperties(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                           uint32_t force) override;
    // Prepare strips nothing here (E_NOTIMPL): kMp3WriteRemoveEverything removes every item. A dry
    // run plans nothing and answers E_NOTIMPL; the other options change nothing in this write.
    HRESULT TV_STDCALL WriteMetaProperties2(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                            uint32_t force, uint32_t options) override;

    // IMPAStructureReport (m4_structure_report.cpp)
    HRESULT TV_STDCALL GetStructureReport(const char* path, uint32_t form, IKMABuffer** report,
                                          IKMABuffer** reason) override;

    // IMPAPropertyCatalog (m4_property_catalog.cpp)
    HRESULT TV_STDCALL GetPropertyCatalog(char* buffer, uint32_t* size) override;

private:
    HRESULT Fill(IMPAMetaProperty* tree, IMPAFileProperties* stats);
    // Loads the file anew into editor_; false (editor_ unset) when it cannot be read.
    bool Load();
    // Applies the tree's changes to the editor and writes the file; the report says what happened.
    HRESULT Store(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource, bool force, bool strip);

    std::string path_;
    uint64_t fileSize_ = 0;
    std::optional<mp4::CMp4Editor> editor_;
};

}  // namespace tagvera

#endif
