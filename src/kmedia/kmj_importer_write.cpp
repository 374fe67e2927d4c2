// CImportKMJFile: writing an edited tree back (the trailer, the ID3v1 tag and the file-info copy,
// in place) and removing every kind of metadata (a whole-file rewrite through the edit engine).
// Every write ends by opening the file again, so that the importer describes the file on disk.
#include <algorithm>
#include <optional>
#include <span>
#include <string>

#include "base/error.h"
#include "kmedia/content_properties.h"
#include "kmedia/kmj_importer.h"
#include "kmedia/metadata_write.h"
#include "metaprop/node_access.h"
#include "platform/file_lock.h"
#include "tags/id3v1/id3v1_map.h"

namespace tagvera {
namespace {

constexpr char kTagName[] = "KJMDTag";

// The file-info properties that hold the jukebox block: "KJMDSections", "KJMDTag" and the
// sections "KJMDTag2", "KJMDTag3" ... as long as they follow on.
void RemoveJukeboxCopy(std::vector<kmedia::NameValueProperty>& info) {
    const auto remove = [&](const std::string& name) {
        const auto at = std::find_if(info.begin(), info.end(), [&](const auto& p) { return p.name == name; });
        if (at == info.end()) return false;
        info.erase(at);
        return true;
    };
    remove("KJMDSections");
    remove(kTagName);
    for (int n = 2; remove(kTagName + std::to_string(n)); ++n) {
    }
}

// What a reader will still find after the write: the content description is rewritten only by
// strip, so a removed property it holds comes back.
std::string KeptByContent(const kmedia::KmHeaders& headers, IMPAMetaProperty* tree) {
    std::string kept;
    if (!headers.content || !headers.content->header.KnownVersion()) return kept;
    for (const auto& [property, text] : kmedia::ContentProperties(*headers.content)) {
        ComPtr<IMPAMetaProperty> node;
        if (Succeeded(tree->FindByPath(property.c_str(), node.put())) && node && ChangedOf(node.get()) == kDeleted)
            kept += "kept: " + property + ": the content description holds it (strip removes it)\n";
    }
    return kept;
}

// The report's lines for an edit made, or planned when dryRun.
std::string WrittenReport(const kmedia::KmMetadataEdit& edit, bool dryRun, bool keepId3v1) {
    std::string report;
    const std::string trailer = std::to_string(edit.trailerBytes) + " bytes";
    if (dryRun)
        report = "jukebox: a trailer of " + trailer + " would replace the " + std::to_string(edit.replacedBytes) +
                 " bytes after the media\n";
    else
        report = "jukebox: trailer written, " + trailer + "\n";
    if (edit.copyRefreshed) report += dryRun ? "jukebox: the file-info copy would be refreshed in place\n"
                                             : "jukebox: file-info copy refreshed in place\n";
    // The trailer ends in an ID3v1 record, so a file without one gets one either way.
    const char* id3v1 = edit.id3v1Created ? (keepId3v1 ? "a blank record added (the trailer ends in one)" : "created")
                        : keepId3v1       ? "left as it is"
                                          : "written";
    report += std::string("id3v1: ") + (dryRun && !keepId3v1 ? "would be " : "") + id3v1 + "\n";
    return report;
}

}  // namespace

HRESULT CImportKMJFile::WriteMetaProperties(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                            uint32_t force) {
    return WriteMetaProperties2(tree, dataSource, force, 0);
}

HRESULT CImportKMJFile::WriteMetaProperties2(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                             uint32_t force, uint32_t options) {
    if (!tree) return TV_S_OK;
    return Guard([&]() -> HRESULT {
        writeReport_.clear();
        if (path_.empty() || !jukebox_) return TV_E_NOTLOADED;
        // The tags of a KorvaMedia file are its trailer, which holds the ID3v1 record too.
        if (options & kMp3WriteNoJukebox) {
            writeReport_ = "not written: a KorvaMedia file keeps its tags in the jukebox trailer\n";
            return TV_E_FAIL;
        }
        const bool dryRun = (options & kMp3WriteDryRun) != 0;
        const bool keepId3v1 = (options & kMp3WriteNoId3v1) != 0;
        const std::string path = path_;
        // Held from the read of the block the tree's changes apply to until the new one is in
        // the file: a writer that went first has its change in what is read here.
        std::optional<platform::FileWriteLock> lock;
        if (!dryRun) lock.emplace(path);
        if (const HRESULT hr = OpenFile(path.c_str(), OpenForm::Full); Failed(hr)) return hr;
        if (const HRESULT hr = LoadJukebox(); Failed(hr)) {
            writeReport_ = "not written: the jukebox block in the file does not read (strip removes it)\n";
            return hr;
        }
        if (const HRESULT hr = jukebox_->Build(tree, dataSource, force); Failed(hr)) {
            writeReport_ = "not written: the new jukebox block cannot be built (a picture that cannot be read?)\n";
            return hr;
        }
        ComPtr<IKMABuffer> block;
        if (const HRESULT hr = jukebox_->GetBlock(block.put()); Failed(hr) || !block) return Failed(hr) ? hr : TV_E_FAIL;
        uint8_t* data = nullptr;
        uint32_t size = 0;
        if (const HRESULT hr = block->Get(&data, &size); Failed(hr) || !data) return Failed(hr) ? hr : TV_E_FAIL;
        const std::span<const uint8_t> bytes(data, size);
        const std::string kept = KeptByContent(Headers(), tree);
        const auto updateTag = [&](Id3v1Tag& tag) {
            if (keepId3v1) return;
            if (const HRESULT hr = UpdateId3v1FromTree(&tag, tree, force != 0); Failed(hr))
                throw Error(hr, "the ID3v1 tag cannot be brought up to date");
        };
        kmedia::KmMetadataEdit edit;
        std::string report;
        const HRESULT result = Guard([&] {
            try {
                if (dryRun) {
                    edit = kmedia::PlanKmMetadataWrite(*file_, bytes, updateTag);
                } else {
                    // The handles of this importer go first: the edit may shorten the file under them.
                    Forget();
                    const auto durability = options & kMp3WriteDeferSync ? platform::Durability::Deferred
                                                                         : platform::Durability::Synced;
                    edit = kmedia::WriteKmMetadata(*lock, bytes, updateTag, durability);
                }
            } catch (const Error& e) {
                report = "not written: " + std::string(e.what()) + "\n";
                throw;
            }
            return TV_S_OK;
        });
        if (Succeeded(result)) report = WrittenReport(edit, dryRun, keepId3v1) + kept;
        // A file that no longer opens leaves the importer unloaded; the result stays the write's.
        if (!dryRun) OpenFile(path.c_str(), OpenForm::Full);
        writeReport_ = report;
        return result;
    });
}

HRESULT CImportKMJFile::Prepare(uint32_t) {
    return Guard([&]() -> HRESULT {
        writeReport_.clear();
        if (path_.empty() || !edit_) return TV_E_NOTLOADED;
        if (jukebox_) {
            if (const HRESULT hr = LoadJukebox(); Failed(hr)) return hr;
        }
        const std::string path = path_;
        RemoveJukeboxCopy(edit_->FileInfo());
        edit_->SetTitle({});
        edit_->SetAuthor({});
        edit_->SetCopyright({});
        edit_->SetComment({});
        // The engine writes the new file beside this one and renames it over it (RewriteFile):
        // the source stays in place, whole, when the save fails.
        if (const HRESULT hr = edit_->SetOutputFile(path); Failed(hr)) return hr;
        tail_.reset();
        file_.reset();
        // The new file holds the objects alone: no trailer, no ID3v1 tag is left to remove.
        const HRESULT result = edit_->Save();
        const std::string report = Succeeded(result) ? "file rewritten without its metadata\n" : "";
        OpenFile(path.c_str(), OpenForm::Full);
        writeReport_ = report;
        return result;
    });
}

}  // namespace tagvera
