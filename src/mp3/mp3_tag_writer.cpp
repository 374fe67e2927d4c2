#include "mp3/mp3_tag_writer.h"

#include <span>
#include <utility>

#include "base/error.h"
#include "metaprop/node_access.h"
#include "package/importer_kit/property_tree.h"
#include "platform/file.h"
#include "platform/safe_write.h"
#include "tags/id3v1/id3v1_map.h"
#include "tags/id3v2/file_write.h"
#include "tags/id3v2/frame_changes.h"
#include "tagvera/com_ptr.h"
#include "tagvera/mp3.h"
#include "tagvera/values.h"
#include "tagvera/vocabulary.h"

namespace tagvera {

namespace {

constexpr char kCoverArtPath[] = "Album:Cover Art";

// The tree to build the jukebox block from: the caller's, less the cover picture when APIC gets
// it, which it does only when the picture is written (changed, or every property forced): an
// unchanged picture stays where the file holds it. Building only reads its tree, so a copy is
// made only to leave the picture out.
HRESULT TreeForJukebox(IMPAMetaProperty* tree, uint32_t force, bool id3v2On, ComPtr<IMPAMetaProperty>& out) {
    out = ComPtr<IMPAMetaProperty>::Share(tree);
    if (!id3v2On) return TV_S_OK;
    ComPtr<IMPAMetaProperty> cover;
    if (Failed(tree->FindByPath(kCoverArtPath, cover.put())) || !cover) return TV_S_OK;
    if (ChangedOf(cover.get()) != kChanged && !force) return TV_S_OK;
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
// A block that cannot be built leaves the container empty: the write still takes the ID3v2
// changes.
HRESULT BuildJukeboxContainer(const Mp3EditRequest& edit, const Mp3LoadedTags& tags, bool id3v2On,
                              ComPtr<IMPAMetaProperty>& container) {
    // Hosts expect E_POINTER when either tree cannot be made, whatever the factory said.
    ComPtr<IMPAMetaProperty> source;
    if (Failed(NewPropertyTree(tags.factory, container))) return TV_E_POINTER;
    if (Failed(TreeForJukebox(edit.tree, edit.force, id3v2On, source))) return TV_E_POINTER;

    ComPtr<IKMABuffer> block;
    if (!tags.jukebox || Failed(tags.jukebox->Build(source.get(), edit.dataSource, edit.force)) ||
        Failed(tags.jukebox->GetBlock(block.put())) || !block)
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

// The ID3v1 record the tree asks for, or nothing when there is nothing to write: a file without
// a record does not get an empty one, an unchanged one is not written again.
std::optional<Id3v1Tag> UpdatedId3v1Record(ByteSource& file, IMPAMetaProperty* tree, uint32_t force) {
    Id3v1Tag record;
    const bool hadTag = Succeeded(ReadId3v1Tag(file, &record));
    if (!hadTag) record = BlankId3v1Tag();
    const Id3v1Tag before = record;
    if (Failed(UpdateId3v1FromTree(&record, tree, force != 0))) return std::nullopt;
    if (hadTag ? record.bytes == before.bytes : record.bytes == BlankId3v1Tag().bytes) return std::nullopt;
    return record;
}

std::string LossLines(const char* label, const std::vector<std::string>& losses) {
    std::string s;
    for (const auto& lost : losses) s += label + lost + "\n";
    return s;
}

// Nothing written: the report says what the write would have lost.
Mp3WriteOutcome Refused(const std::vector<std::string>& losses) {
    return {TV_E_FAIL, LossLines("would lose: ", losses)};
}

std::string Id3v2ReportLines(const id3v2::Id3v2WriteOutcome& o) {
    if (!o.written) return {};
    std::string s = "id3v2: ";
    if (o.stripped) s += "tags removed, file rewritten, ";
    else s += o.inPlace ? "in place, " : "file rewritten, ";
    s += std::to_string(o.bytesWritten) + " bytes written";
    if (!o.stripped) s += ", " + std::to_string(o.padding) + " bytes of padding";
    s += "\n";
    s += LossLines("lost: ", o.lost);
    return s;
}

platform::Durability DurabilityOf(uint32_t options) {
    return (options & kMp3WriteDeferSync) ? platform::Durability::Deferred : platform::Durability::Synced;
}

// The frames before and after the mapping, and the tag's version, as report lines.
void DescribeFrames(const std::vector<id3v2::Frame>& before, uint8_t sourceMajor, IMPAID3v2Parser* id3v2,
                    std::vector<std::string>& changes) {
    std::vector<id3v2::Frame> after;
    uint8_t major = 0;
    if (Failed(id3v2->GetFrames(&after, &major))) return;
    const std::vector<std::string> lines = id3v2::FrameChanges(before, after);
    if (lines.empty()) return;
    if (sourceMajor == 0) changes.push_back("id3v2: a v2.3 tag is added at the start of the file");
    else if (sourceMajor != 3)
        changes.push_back("id3v2: the v2." + std::to_string(sourceMajor) + " tag is written as v2.3" +
                          (sourceMajor == 4 ? " (a date goes into TYER, TDAT and TIME)" : ""));
    for (const auto& line : lines) changes.push_back("id3v2: " + line);
}

}  // namespace

Mp3EditPreferences ApplyWriteOptions(Mp3EditPreferences prefs, uint32_t options) {
    if (options & kMp3WriteNoId3v1) prefs.id3v1 = false;
    if (options & kMp3WriteNoId3v2) prefs.id3v2 = false;
    if (options & kMp3WriteNoJukebox) prefs.jukebox = false;
    return prefs;
}

std::string DescribeMp3Plan(const Mp3WritePlan& plan) {
    std::string report;
    for (const auto& line : plan.changes) report += line + "\n";
    return report + LossLines("would lose: ", plan.losses);
}

Mp3WritePlan PlanMp3Write(const Mp3EditRequest& edit, const Mp3EditPreferences& prefs, const Mp3LoadedTags& tags) {
    Mp3WritePlan plan;
    // Worked out before the ID3v2 tag so that both go into the file in one write.
    if (prefs.id3v1) plan.id3v1Record = UpdatedId3v1Record(*tags.file, edit.tree, edit.force);
    std::vector<id3v2::Frame> before;
    uint8_t sourceMajor = 0;
    if (edit.describe && (prefs.id3v2 || prefs.jukebox)) tags.id3v2->GetFrames(&before, &sourceMajor);
    bool mapped = false;
    HRESULT hr = TV_S_OK;
    if (prefs.id3v2) {
        mapped = true;
        hr = tags.id3v2->WriteProperties(edit.tree, edit.dataSource, edit.force != 0, true, false);
    }
    if (Succeeded(hr) && prefs.jukebox) {
        mapped = true;
        // The frame is built anew from the tree, which holds nothing of a block that did not read.
        if (tags.jukeboxUnreadable) plan.losses.push_back("KorvaJukebox:Metadata: a jukebox block that could not be read");
        ComPtr<IMPAMetaProperty> container;
        hr = BuildJukeboxContainer(edit, tags, prefs.id3v2, container);
        if (Succeeded(hr)) hr = tags.id3v2->WriteProperties(container.get(), edit.dataSource, true, true, true);
    }
    if (mapped && Succeeded(hr)) {
        if (edit.describe) DescribeFrames(before, sourceMajor, tags.id3v2, plan.changes);
        id3v2::RenderedTag tag;
        hr = tags.id3v2->RenderTag(&tag);
        if (Succeeded(hr)) plan.id3v2Tag = std::move(tag);
    }
    if (edit.describe && plan.id3v1Record) plan.changes.push_back(EndsWithId3v1Tag(*tags.file) ? "id3v1: changed" : "id3v1: created");
    plan.mapped = hr;
    return plan;
}

Mp3WriteOutcome WriteMp3Plan(platform::FileWriteLock& lock, Mp3WritePlan plan, uint32_t options) {
    Mp3WriteOutcome out;
    out.result = plan.mapped;
    if (Failed(out.result)) return out;
    const bool keepEverything = (options & kMp3WriteKeepEverything) != 0;
    if (keepEverything && !plan.losses.empty()) return Refused(plan.losses);
    bool recordWritten = false;
    if (plan.id3v2Tag) {
        id3v2::Id3v2WriteOptions write;
        write.inPlaceOnly = (options & kMp3WriteInPlaceOnly) != 0;
        write.deferSync = (options & kMp3WriteDeferSync) != 0;
        write.keepEverything = keepEverything;
        // The record rides along with the tag: one write, one sync, and on failure neither.
        if (plan.id3v1Record) write.id3v1Record = plan.id3v1Record->bytes;
        id3v2::Id3v2WriteOutcome written;
        out.result = Guard([&] {
            try {
                written = id3v2::WriteId3v2Tag(lock, std::move(*plan.id3v2Tag), write);
            } catch (const id3v2::TagTooLarge& e) {
                // Nothing was written; the report says which limit the user ran into.
                out.report = std::string("id3v2: ") + e.what() + "\n";
                throw;
            }
            return TV_S_OK;
        });
        if (Failed(out.result)) return out;
        if (written.refused) return Refused(written.lost);
        out.report = Id3v2ReportLines(written) + LossLines("lost: ", plan.losses);
        recordWritten = written.id3v1Written;
    }
    // Without an ID3v2 write the record goes alone, and its failures are not reported (a file
    // may be writable for its ID3v2 tag and still refuse this, as the host's own writer allowed).
    if (plan.id3v1Record && !recordWritten) {
        recordWritten = Succeeded(Guard([&]() -> HRESULT {
            uint64_t offset = 0;
            if (const HRESULT hr = Id3v1WriteOffset(lock.file(), &offset); Failed(hr)) return hr;
            const platform::Patch patch{offset, plan.id3v1Record->bytes};
            platform::InPlaceEdit(lock).apply(std::span(&patch, 1), DurabilityOf(options));
            return TV_S_OK;
        }));
    }
    if (recordWritten) out.report += "id3v1: written\n";
    return out;
}

Mp3RemoveOutcome RemoveMp3Tags(const std::string& path) {
    Mp3RemoveOutcome out;
    id3v2::Id3v2WriteOutcome removed;
    // The record keeps its 128 bytes, blank, so that the file's length only changes by the strip;
    // both go into one write, so a failure leaves every tag as it was.
    out.result = Guard([&] {
        removed = id3v2::StripId3v2Tags(path, BlankId3v1Tag().bytes);
        return TV_S_OK;
    });
    if (Failed(out.result)) return out;
    if (removed.stripped) out.report = Id3v2ReportLines(removed);
    if (removed.id3v1Written) out.report += "id3v1: blanked\n";
    return out;
}

}  // namespace tagvera
