// CImportMP3File: the package's component for MP3 files. It gives the host the file's audio
// statistics and one property tree merged from up to three tag sources, the jukebox metadata frame
// ("K1"), the ID3v2 tag ("V2") and the ID3v1 tag ("V1"), in the order the preference
// "TagReadPriority" gives (the first source that holds a property wins). The write side lives in
// mp3_tag_writer.h and reaches the importer through the operations under "For the tag writer".
#ifndef TAGVERA_MP3_MP3_IMPORTER_H
#define TAGVERA_MP3_MP3_IMPORTER_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "base/head_tail_source.h"
#include "component/context_user.h"
#include "component/unknown.h"
#include "tags/id3v2/properties/id3v2_parser.h"
#include "tags/jukebox/jukebox_parser.h"
#include "mp3/mpeg/scan.h"
#include "platform/file.h"
#include "tagvera/com_ptr.h"
#include "tagvera/importer.h"
#include "tagvera/metaprop.h"
#include "tagvera/mp3.h"
#include "tagvera/structure_report.h"

namespace tagvera {

// Each interface has its own SetFilename slot, and the light interface's opens the file without
// its ID3v2 tag. C++ would give all three one body, so each interface gets a shim that routes
// its slot to the form it stands for.
struct Mp3InterrogateFileShim : IMPAInterrogateFile {
    HRESULT TV_STDCALL SetFilename(const char* path) final { return OpenFull(path); }
    virtual HRESULT OpenFull(const char* path) = 0;
};
struct Mp3HandleMetaPropertiesShim : IMPAHandleMetaProperties2 {
    HRESULT TV_STDCALL SetFilename(const char* path) final { return OpenFull(path); }
    virtual HRESULT OpenFull(const char* path) = 0;
};
struct Mp3InterrogateLiteShim : IMPAInterrogateLite {
    HRESULT TV_STDCALL SetFilename(const char* path) final { return OpenLight(path); }
    virtual HRESULT OpenLight(const char* path) = 0;
};

class CImportMP3File : public CUnknownIMP,
                       public CKCAContextUserMixin,
                       public Mp3InterrogateFileShim,
                       public Mp3HandleMetaPropertiesShim,
                       public Mp3InterrogateLiteShim,
                       public IMPAWriteReport,
                       public IMPAStructureReport {
public:
    static constexpr const char* kMimeTypes = "audio/mp3;audio/x-mp3;";
    static constexpr const char* kExtensions = "mp3;mpga;";
    static constexpr const char* kMimeType = "audio/mp3";

    CImportMP3File() = default;
    ~CImportMP3File() override;

    TV_IMPLEMENT_IUNKNOWN
    HRESULT InternalQueryInterface(const GUID& iid, void** out) override;

    // SetFilename of IMPAInterrogateFile and IMPAHandleMetaProperties2, and of IMPAInterrogateLite.
    HRESULT OpenFull(const char* path) override;
    HRESULT OpenLight(const char* path) override;

    // IMPAInterrogateFile
    HRESULT TV_STDCALL Interrogate(IMPAMetaProperty** tree) override;
    HRESULT TV_STDCALL SetOption(uintptr_t option, uintptr_t value) override;
    HRESULT TV_STDCALL SetOption2(uintptr_t option, uintptr_t value) override;
    // All three interfaces.
    HRESULT TV_STDCALL GetSupportedMimeTypes(char* buffer, uint32_t* size) override;
    HRESULT TV_STDCALL GetSupportedExtensions(char* buffer, uint32_t* size) override;

    // IMPAInterrogateLite
    HRESULT TV_STDCALL InterrogateLite(IMPAMetaProperty** tree) override;

    // IMPAWriteReport
    HRESULT TV_STDCALL GetWriteReport(char* buffer, uint32_t* size) override;

    // IMPAStructureReport (mp3_structure_report.cpp): the ID3 tags of any file, frame by frame.
    HRESULT TV_STDCALL GetStructureReport(const char* path, uint32_t form, IKMABuffer** report,
                                          IKMABuffer** reason) override;

    // IMPAHandleMetaProperties2
    HRESULT TV_STDCALL Prepare(uint32_t what) override;
    HRESULT TV_STDCALL GetPropertyData(IMPAMetaProperty* property, uint8_t* buffer, uint32_t size) override;
    HRESULT TV_STDCALL SavePropertyData(IMPAMetaProperty* property, const char* path) override;
    HRESULT TV_STDCALL WriteMetaProperties(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                           uint32_t force) override;
    HRESULT TV_STDCALL WriteMetaProperties2(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                            uint32_t force, uint32_t options) override;

    // ---- For the tag writer ----
    // The path of the file opened, "" when none is.
    const std::string& path() const { return path_; }
    // Reads the tags once per opened file (TV_E_NOTLOADED without a file).
    HRESULT LoadTags();
    bool tagsLoaded() const { return tagsLoaded_; }
    // Valid once the tags are loaded.
    IMPAID3v2Parser* id3v2Parser() const { return id3v2_.get(); }
    IMPAKJMDParser* jukeboxParser() const { return jukebox_.get(); }
    // Forgets the trees and both parsers and clears tags loaded; the path and statistics stay.
    void ReleaseTags();
    // Closes the importer's own handle on the file (it is reopened on demand) and takes the
    // file's size again, for a writer that has just changed it.
    void CloseFile();
    // The importer's own handle on the file, opened again when closed.
    platform::File& file() { return OpenedFile(); }
    // An empty tree from the host's class factory.
    HRESULT CreateTree(ComPtr<IMPAMetaProperty>& out) const;
    // The host context's class factory as a context for the parsers (null without a host).
    IUnknown* parserContext() const;
    // What GetWriteReport answers.
    const std::string& writeReport() const { return writeReport_; }
    void SetWriteReport(std::string report) { writeReport_ = std::move(report); }

private:
    HRESULT Open(const char* path, bool full);
    void Forget();
    platform::File& OpenedFile();
    // The opened file with its two ends read once for every reader (mp3_read_plan.h).
    ByteSource& ProbedFile();
    HRESULT LoadTagsImpl();
    HRESULT LinkId3v2(uint32_t* tagSize);
    HRESULT ReadJukeboxFrame(IMPAMetaProperty* v2Tree, IMPAMetaProperty* k1Tree);
    HRESULT SetStatistics(IMPAMetaProperty* tree) const;
    HRESULT HandOut(IMPAMetaProperty* tree, IMPAMetaProperty** out) const;
    // Asks the jukebox frame and the ID3v2 tag, in the order of the preference.
    template <class FromJukebox, class FromId3v2>
    HRESULT PropertyData(IMPAMetaProperty* property, FromJukebox&& jukebox, FromId3v2&& id3v2);

    std::string path_;
    std::optional<platform::File> file_;
    std::optional<HeadTailSource> probes_;  // over file_; goes when file_ closes
    uint64_t fileSize_ = 0;
    uint32_t id3v2TagSize_ = 0;
    Mp3AudioInfo audio_;

    ComPtr<IMPAMetaProperty> result_;
    ComPtr<IMPAID3v2Parser> id3v2_;
    ComPtr<IMPAKJMDParser> jukebox_;
    bool tagsLoaded_ = false;
    // kMp3OptionXingRepair: opening a writable file may correct its Xing header.
    bool xingRepair_ = true;
    std::string writeReport_;
};

// The component-table creator.
HRESULT CreateImportMP3File(IKCAPackage_* package, IUnknown* outer, IUnknown** out);

}  // namespace tagvera

#endif
