// CImportWMAFile: the package's component for Windows Media files (ASF, WMA, WMV). Every header
// attribute of stream 0 becomes a property through the attribute table; the stream formats give
// the statistics; the front cover stays in the file until asked for. Writing
// (wm_importer_write.cpp) sets, replaces and deletes attributes and writes the header again.
#ifndef TAGVERA_WM_WM_IMPORTER_H
#define TAGVERA_WM_WM_IMPORTER_H

#include <cstdint>
#include <string>

#include "package/importer_kit/component_creators.h"
#include "package/importer_kit/full_importer.h"
#include "tagvera/com_ptr.h"
#include "tagvera/importer.h"
#include "tagvera/metaprop.h"
#include "tagvera/mp3.h"
#include "tagvera/property_catalog.h"
#include "tagvera/structure_report.h"
#include "wm/wm_meta_editor.h"

namespace tagvera {

class CImportWMAFile : public CFullImporter<LightForm::None> {
public:
    CImportWMAFile() = default;
    ~CImportWMAFile() override;

    HRESULT OpenFile(const char* path, OpenForm form) override;

    // IMPAInterrogateFile
    HRESULT TV_STDCALL Interrogate(IMPAMetaProperty** tree) override;
    HRESULT TV_STDCALL SetOption(uintptr_t option, uintptr_t value) override;
    HRESULT TV_STDCALL SetOption2(uintptr_t option, uintptr_t value) override;
    HRESULT TV_STDCALL GetSupportedMimeTypes(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetSupportedExtensions(char* buffer, uint32_t* size) override;

    // IMPAHandleMetaProperties (wm_importer_write.cpp but for the on-demand picture)
    HRESULT TV_STDCALL Prepare(uint32_t what) override;
    HRESULT TV_STDCALL GetPropertyData(IMPAMetaProperty* property, uint8_t* buffer, uint32_t size) override;
    HRESULT TV_STDCALL SavePropertyData(IMPAMetaProperty* property, const char* path) override;
    HRESULT TV_STDCALL WriteMetaProperties(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                           uint32_t force) override;
    // Prepare strips nothing here (E_NOTIMPL): kMp3WriteRemoveEverything removes every attribute of stream 0. A dry
    // run plans nothing and answers E_NOTIMPL; the other options change nothing in this write.
    HRESULT TV_STDCALL WriteMetaProperties2(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                            uint32_t force, uint32_t options) override;

    // IMPAStructureReport (wm_structure_report.cpp)
    HRESULT TV_STDCALL GetStructureReport(const char* path, uint32_t form, IKMABuffer** report,
                                          IKMABuffer** reason) override;
    // IMPAPropertyCatalog (wm_property_catalog.cpp)
    HRESULT TV_STDCALL GetPropertyCatalog(char* buffer, uint32_t* size) override;

private:
    HRESULT Fill(IMPAMetaProperty* tree);
    void FillStreams(IMPAMetaProperty* tree, IMPAFileProperties* stats);
    // Opens the editor for the picture asked for and closes it again.
    template <class Use>
    HRESULT WithCoverArt(IMPAMetaProperty* property, Use&& use);
    // The walk of WriteMetaProperties over one group's nodes.
    void WriteGroup(IMPAMetaProperty* group, const std::string& groupName, bool force, std::string& report);

    ComPtr<IMPAMetaProperty> tree_;
    wm::CWMMetaEditor editor_;
    bool loaded_ = false;
    bool video_ = false;
    uint32_t bitrate_ = 0, channels_ = 0, duration_ = 0;
    std::string path_;
};

}  // namespace tagvera

#endif
