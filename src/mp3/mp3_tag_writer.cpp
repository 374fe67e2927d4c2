// Writing an edited tree into an MP3 file's tags, and removing them. The steps and their order
// matter to hosts: the ID3v2 frames first, then the jukebox frame (which may leave the cover
// picture to APIC), one update of the ID3v2 tag, and the ID3v1 record last, only when all
// before it succeeded.
#include "mp3/mp3_tag_writer.h"

#include <optional>
#include <string>

#include "base/error.h"
#include "metaprop/node_access.h"
#include "tags/id3v1/id3v1_map.h"
#include "tags/id3v1/id3v1_tag.h"
#include "tags/id3v2/file_write.h"
#include "mp3/mp3_importer.h"
#include "platform/file.h"
#include "platform/preferences.h"
#include "platform/safe_write.h"
#include "tagvera/com_ptr.h"
#include "tagvera/values.h"
#include "tagvera/vocabulary.h"

namespace tagvera {

namespace {

namespace prefs = platform::prefs;

struct EditPreferences {
    bool jukebox = prefs::GetNumber(prefs::kTagEditKorvaOne) != 0;
    bool id3v2 = prefs::GetNumber(prefs::kTagEditID3V2) != 0;
    bool id3v1 = prefs::GetNumber(prefs::kTagEditID3V1) != 0;
};

constexpr char kCoverArtPath[] = "Album:Cover Art";

// The tree to build the jukebox block from: the caller's, less the cover picture when APIC gets
// it. Building only reads its tree, so a copy is made only to leave the picture out.
HRESULT TreeForJukebox(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource, bool id3v2On,
                       ComPtr<IMPAMetaProperty>& out) {
    out = ComPtr<IMPAMetaProperty>::Share(tree);
    if (!id3v2On) return TV_S_OK;
    ComPtr<IMPAMetaProperty> cover;
    if (Failed(tree->FindByPath(kCoverArtPath, cover.put())) || !cover) return TV_S_OK;
    if (ChangedOf(cover.get()) != kChanged && !dataSource) return TV_S_OK;
    ComPtr<IMPAMetaProperty> clone;
    if (const HRESULT hr = tree->Clone(clone.put()); Failed(hr) || !clone) return Failed(hr) ? hr : TV_E_OUTOFMEMORY;
    cover.reset();
    if (Failed(clone->FindByPath(kCoverArtPath, cover.put())) || !cover) return TV_E_FAIL;
    // The picture then lives in the APIC frame alone, not twice in the file.
    cover->SetChanged(kDeleted);
    out = std::move(clone);
    return TV_S_OK;
}

// The jukebox frame as the container WriteProperties turns into a GEOB "KorvaJukebox:Metadata".
// A block that cannot be built leaves the container empty: the update still writes the ID3v2
// changes.
HRESULT BuildJukeboxContainer(CImportMP3File& importer, IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                              uint32_t force, bool id3v2On, ComPtr<IMPAMetaProperty>& container) {
    ComPtr<IMPAMetaProperty> source;
    if (Failed(importer.CreateTree(container))) return TV_E_POINTER;
    if (Failed(TreeForJukebox(tree, dataSource, id3v2On, source))) return TV_E_POINTER;

    IMPAKJMDParser* jukebox = importer.jukeboxParser();
    ComPtr<IKMABuffer> block;
    if (!jukebox || Failed(jukebox->Build(source.get(), dataSource, force)) || Failed(jukebox->GetBlock(block.put())) ||
        !block)
        return TV_S_OK;
    uint8_t* bytes = nullptr;
    uint32_t size = 0;
    if (Failed(block->Get(&bytes, &size)) || !bytes || size == 0) return TV_S_OK;

    ComPtr<IMPAMetaProperty> group;
    if (const HRESULT hr = container->AddGroup(kJukeboxGroup, 0, true, group.put()); Failed(hr) || !group)
        return Failed(hr) ? hr : TV_E_FAIL;
    const char* name = kJukeboxFramePath + sizeof(kJukeboxGroup);  // "Metadata"
    return group->AddProperty(name, kTypeBinary, 0, bytes, size, true, nullptr);
}

std::string Id3v2ReportLines(const id3v2::Id3v2WriteOutcome& o) {
    if (!o.written) return {};
    std::string s = "id3v2: ";
    if (o.stripped) s += "tags removed, file rewritten, ";
    else s += o.inPlace ? "in place, " : "file rewritten, ";
    s += std::to_string(o.bytesWritten) + " bytes written";
    if (!o.stripped) s += ", " + std::to_string(o.padding) + " bytes of padding";
    s += "\n";
    for (const auto& lost : o.lost) s += "lost: " + lost + "\n";
    return s;
}

// The ID3v1 record the tree asks for, or nothing when there is nothing to write: a file without
// a record does not get an empty one, an unchanged one is not written again. Worked out before
// the ID3v2 update so that both go into the file in one write; a file that cannot be read here
// throws, and nothing is written.
std::optional<Id3v1Tag> UpdatedId3v1Record(CImportMP3File& importer, IMPAMetaProperty* tree, uint32_t force) {
    Id3v1Tag record;
    const bool hadTag = Succeeded(ReadId3v1Tag(importer.file(), &record));
    if (!hadTag) record = BlankId3v1Tag();
    const Id3v1Tag before = record;
    if (Failed(UpdateId3v1FromTree(&record, tree, force != 0))) return std::nullopt;
    if (hadTag ? record.bytes == before.bytes : record.bytes == BlankId3v1Tag().bytes) return std::nullopt;
    return record;
}

}  // namespace

HRESULT WriteMp3Tags(CImportMP3File& importer, IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                     uint32_t force, uint32_t options) {
    if (!tree) return TV_S_OK;
    importer.SetWriteReport({});
    const EditPreferences edit;
    if (const HRESULT hr = importer.LoadTags(); Failed(hr)) return hr;
    const std::string path = importer.path();
    IMPAID3v2Parser* parser = importer.id3v2Parser();
    if (!parser) return TV_E_NOTLOADED;

    const std::optional<Id3v1Tag> record = edit.id3v1 ? UpdatedId3v1Record(importer, tree, force) : std::nullopt;
    id3v2::LastId3v2WriteOutcome() = {};
    bool ran = false;
    HRESULT hr = TV_S_OK;
    if (edit.id3v2) {
        ran = true;
        hr = parser->WriteProperties(tree, dataSource, force != 0, true, false);
    }
    if (Succeeded(hr) && edit.jukebox) {
        ran = true;
        ComPtr<IMPAMetaProperty> container;
        hr = BuildJukeboxContainer(importer, tree, dataSource, force, edit.id3v2, container);
        if (Succeeded(hr)) hr = parser->WriteProperties(container.get(), dataSource, true, true, true);
    }
    if (ran && Succeeded(hr)) {
        hr = parser->SetTagOption(true);
        // The record rides along with the tag: one write, one sync, and on failure neither.
        std::optional<id3v2::PendingId3v1Record> pending;
        if (record && Succeeded(hr)) pending.emplace(record->bytes);
        if (Succeeded(hr)) hr = parser->Update(0, options);
    }
    const id3v2::Id3v2WriteOutcome& outcome = id3v2::LastId3v2WriteOutcome();
    std::string report = Succeeded(hr) ? Id3v2ReportLines(outcome) : std::string();

    // The next read starts again from the file, which may be a new one after a rewrite.
    importer.ReleaseTags();
    importer.CloseFile();

    // Without an ID3v2 write the record goes alone, and its failures are not reported (a file
    // may be writable for its ID3v2 tag and still refuse this, as the host's own writer allowed).
    if (record && Succeeded(hr)) {
        const auto durability =
            (options & kMp3WriteDeferSync) ? platform::Durability::Deferred : platform::Durability::Synced;
        if (outcome.id3v1Written || Succeeded(WriteId3v1Tag(path, *record, durability))) report += "id3v1: written\n";
    }
    importer.SetWriteReport(std::move(report));
    return hr;
}

HRESULT RemoveMp3Tags(CImportMP3File& importer) {
    importer.SetWriteReport({});
    const std::string path = importer.path();
    if (path.empty()) return TV_E_NOTLOADED;
    importer.ReleaseTags();
    importer.CloseFile();

    ComPtr<IMPAID3v2Parser> parser;
    if (Failed(CreateID3v2Parser(importer.parserContext(), parser.put())) || !parser) return TV_E_OUTOFMEMORY;
    uint32_t tagSize = 0;
    id3v2::LastId3v2WriteOutcome() = {};
    HRESULT hr = parser->LinkFile(path.c_str(), &tagSize, kLinkId3v2Only);
    if (Succeeded(hr)) hr = parser->Strip();
    parser.reset();
    std::string report = Succeeded(hr) ? Id3v2ReportLines(id3v2::LastId3v2WriteOutcome()) : std::string();

    // The record keeps its 128 bytes, blank, so that the file's length only changes by the strip.
    try {
        Id3v1Tag record;
        bool hadTag = false;
        {
            platform::File file(path, platform::OpenMode::Read);
            hadTag = Succeeded(ReadId3v1Tag(file, &record));
        }
        if (hadTag && record.bytes != BlankId3v1Tag().bytes && Succeeded(WriteId3v1Tag(path, BlankId3v1Tag())))
            report += "id3v1: blanked\n";
    } catch (const Error&) {
    }
    if (Succeeded(hr)) {
        // Statistics and the tag size are those of the file as it is now.
        const HRESULT reopened = importer.OpenFull(path.c_str());
        if (Failed(reopened)) hr = reopened;
    }
    importer.SetWriteReport(report + importer.writeReport());
    return hr;
}

}  // namespace tagvera
