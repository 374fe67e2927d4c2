// CImportKMJFile: the package's component for KorvaMedia files. It reads a file's header objects
// once when the file is set (never its packets) and fills the host's tree from four sources: the
// jukebox block (the trailer at the end of the file, else the "KJMDTag" copy in the file-info
// stream), the ID3v1 tag, the stream headers and the content description "CONT". It writes the
// tree back into the trailer, the ID3v1 tag and the file-info copy (kmj_importer_write.cpp).
#ifndef TAGVERA_KMEDIA_KMJ_IMPORTER_H
#define TAGVERA_KMEDIA_KMJ_IMPORTER_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/head_tail_source.h"
#include "kmedia/km_edit.h"
#include "package/importer_kit/component_creators.h"
#include "package/importer_kit/full_importer.h"
#include "platform/file.h"
#include "tags/jukebox/jukebox_parser.h"
#include "tagvera/com_ptr.h"
#include "tagvera/importer.h"
#include "tagvera/metaprop.h"
#include "tagvera/mp3.h"
#include "tagvera/property_catalog.h"
#include "tagvera/structure_report.h"

namespace tagvera {

// The light form makes no jukebox parser: the block is never read.
class CImportKMJFile : public CFullImporter<LightForm::Offered> {
public:
    CImportKMJFile() = default;
    ~CImportKMJFile() override;

    HRESULT OpenFile(const char* path, OpenForm form) override;

    // IMPAInterrogateFile
    HRESULT TV_STDCALL Interrogate(IMPAMetaProperty** tree) override;
    HRESULT TV_STDCALL SetOption(uintptr_t option, uintptr_t value) override;
    HRESULT TV_STDCALL SetOption2(uintptr_t option, uintptr_t value) override;
    HRESULT TV_STDCALL GetSupportedMimeTypes(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetSupportedExtensions(char* buffer, uint32_t* size) override;

    // IMPAInterrogateLite
    HRESULT TV_STDCALL InterrogateLite(IMPAMetaProperty** tree) override;

    // IMPAHandleMetaProperties (kmj_jukebox_source.cpp for the on-demand data,
    // kmj_importer_write.cpp for the writes)
    HRESULT TV_STDCALL Prepare(uint32_t what) override;
    HRESULT TV_STDCALL GetPropertyData(IMPAMetaProperty* property, uint8_t* buffer, uint32_t size) override;
    HRESULT TV_STDCALL SavePropertyData(IMPAMetaProperty* property, const char* path) override;
    HRESULT TV_STDCALL WriteMetaProperties(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                           uint32_t force) override;
    // The options of include/tagvera/mp3.h that a KorvaMedia file has use for: a dry run, a
    // deferred sync, the ID3v1 record left as it is. Without the jukebox trailer there is
    // nothing to write: kMp3WriteNoJukebox fails.
    HRESULT TV_STDCALL WriteMetaProperties2(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                            uint32_t force, uint32_t options) override;

    // IMPAStructureReport (kmj_structure_report.cpp)
    HRESULT TV_STDCALL GetStructureReport(const char* path, uint32_t form, IKMABuffer** report,
                                          IKMABuffer** reason) override;

    // IMPAPropertyCatalog
    HRESULT TV_STDCALL GetPropertyCatalog(char* buffer, uint32_t* size) override;

private:
    void Forget();
    HRESULT Fill(IMPAMetaProperty** out, OpenForm form);
    // Reads the jukebox block into the parser and the tree, once per opened file.
    HRESULT LoadJukebox();
    HRESULT LoadJukeboxImpl();
    // The block from the file-info copy ("KJMDTag" and its sections); empty when there is none.
    std::vector<uint8_t> FileInfoBlock() const;
    HRESULT MergeId3v1();
    HRESULT SetStatistics(IMPAFileProperties* stats, bool* complete);
    HRESULT MergeContent(IMPAFileProperties* stats);
    const kmedia::KmHeaders& Headers() const { return *edit_->Headers(); }

    std::string path_;
    std::string extension_;  // with its dot; empty when the name has none
    std::optional<platform::File> file_;
    std::optional<HeadTailSource> tail_;  // over file_; goes before it
    // Opened on the file with its headers read; what every source but the tail comes from.
    std::optional<kmedia::KmEditEngine> edit_;
    ComPtr<IMPAMetaProperty> tree_;
    ComPtr<IMPAKJMDParser> jukebox_;
    bool jukeboxLoaded_ = false;
    bool jukeboxPresent_ = false;
};

}  // namespace tagvera

#endif
