// CImportMP3File: the package's component for MP3 files. It gives the host the file's audio
// statistics and one property tree merged from up to three tag sources, the jukebox metadata frame
// ("K1"), the ID3v2 tag ("V2") and the ID3v1 tag ("V1"), in the order the preference
// "TagReadPriority" gives (the first source that holds a property wins), read once per opened
// file so that on-demand data follows the order of the tree. Writing is driven from here too: the
// preferences read once per write, the tree mapped through the loaded tags and the plan written
// by mp3_tag_writer.h, which gets plain values and gives an outcome back.
#ifndef TAGVERA_MP3_MP3_IMPORTER_H
#define TAGVERA_MP3_MP3_IMPORTER_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/head_tail_source.h"
#include "mp3/mp3_preferences.h"
#include "mp3/mpeg/scan.h"
#include "package/importer_kit/component_creators.h"
#include "package/importer_kit/full_importer.h"
#include "platform/file.h"
#include "tags/id3v2/properties/id3v2_parser.h"
#include "tags/jukebox/jukebox_parser.h"
#include "tagvera/com_ptr.h"
#include "tagvera/importer.h"
#include "tagvera/metaprop.h"
#include "tagvera/mp3.h"
#include "tagvera/property_catalog.h"
#include "tagvera/structure_report.h"

namespace tagvera {

// The light form opens the file without its ID3v2 tag.
class CImportMP3File : public CFullImporter<LightForm::Offered> {
public:
    // The statistics' "MimeType".
    static constexpr const char* kMimeType = "audio/mp3";

    CImportMP3File() = default;
    ~CImportMP3File() override;

    // SetFilename of every interface.
    HRESULT OpenFile(const char* path, OpenForm form) override;

    // IMPAInterrogateFile
    HRESULT TV_STDCALL Interrogate(IMPAMetaProperty** tree) override;
    HRESULT TV_STDCALL SetOption(uintptr_t option, uintptr_t value) override;
    HRESULT TV_STDCALL SetOption2(uintptr_t option, uintptr_t value) override;
    // All three interfaces.
    HRESULT TV_STDCALL GetSupportedMimeTypes(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetSupportedExtensions(char* buffer, uint32_t* size) override;

    // IMPAInterrogateLite
    HRESULT TV_STDCALL InterrogateLite(IMPAMetaProperty** tree) override;

    // IMPAStructureReport (mp3_structure_report.cpp)
    HRESULT TV_STDCALL GetStructureReport(const char* path, uint32_t form, IKMABuffer** report,
                                          IKMABuffer** reason) override;

    // IMPAPropertyCatalog
    HRESULT TV_STDCALL GetPropertyCatalog(char* buffer, uint32_t* size) override;

    // IMPAHandleMetaProperties2
    HRESULT TV_STDCALL Prepare(uint32_t what) override;
    HRESULT TV_STDCALL GetPropertyData(IMPAMetaProperty* property, uint8_t* buffer, uint32_t size) override;
    HRESULT TV_STDCALL SavePropertyData(IMPAMetaProperty* property, const char* path) override;
    HRESULT TV_STDCALL WriteMetaProperties(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                           uint32_t force) override;
    HRESULT TV_STDCALL WriteMetaProperties2(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                            uint32_t force, uint32_t options) override;

private:
    // Reads the tags once per opened file (TV_E_NOTLOADED without a file).
    HRESULT LoadTags();
    HRESULT LoadTagsImpl();
    // Forgets the trees and both parsers; the path and statistics stay.
    void ReleaseTags();
    // Closes the importer's own handle on the file, for a writer about to change it; the next
    // reader opens it again and takes its size then.
    void CloseFile();
    void Forget();
    platform::File& OpenedFile();
    // The opened file with its two ends read once for every reader (mp3_read_plan.h).
    ByteSource& ProbedFile();
    HRESULT LinkId3v2(const char* path, uint32_t* tagSize);
    // Takes the jukebox frame out of the ID3v2 tree; k1Tree gets its block when that reads.
    HRESULT ReadJukeboxFrame(IMPAMetaProperty* v2Tree, ComPtr<IMPAMetaProperty>& k1Tree);
    // A file without an ID3v1 tag adds nothing.
    HRESULT MergeId3v1(IMPAMetaProperty* tree);
    HRESULT SetStatistics(IMPAMetaProperty* tree);
    HRESULT HandOut(IMPAMetaProperty* tree, IMPAMetaProperty** out) const;
    // Asks the jukebox frame and the ID3v2 tag, in the order of the preference.
    template <class FromJukebox, class FromId3v2>
    HRESULT PropertyData(IMPAMetaProperty* property, FromJukebox&& jukebox, FromId3v2&& id3v2);

    std::string path_;
    std::optional<platform::File> file_;
    std::optional<HeadTailSource> probes_;  // over file_; goes when file_ closes
    Mp3AudioInfo audio_;
    std::vector<TagSource> readPriority_;  // read when the file was opened

    ComPtr<IMPAMetaProperty> result_;
    ComPtr<IMPAID3v2Parser> id3v2_;
    ComPtr<IMPAKJMDParser> jukebox_;
    bool tagsLoaded_ = false;
    bool jukeboxUnreadable_ = false;  // the loaded tags had a jukebox frame whose block did not read
    // kMp3OptionXingRepair: opening a writable file may correct its Xing header.
    bool xingRepair_ = true;
};

}  // namespace tagvera

#endif
