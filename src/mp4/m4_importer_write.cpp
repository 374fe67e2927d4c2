// CImportM4File: the tree's changes stored as items, and stripping. Under the file's write lock the
// movie box is read again, so a writer that went first keeps its edit; the new movie box then
// replaces the old one in place or the file is rewritten through the safe-write helper.
#include <cstring>
#include <string>

#include "base/error.h"
#include "metaprop/node_access.h"
#include "metaprop/property_access.h"
#include "metaprop/reference_bytes.h"
#include "mp4/item_table.h"
#include "mp4/m4_importer.h"
#include "mp4/movie_write.h"
#include "package/importer_kit/write_report.h"
#include "platform/file_lock.h"
#include "platform/safe_write.h"
#include "tagvera/com_ptr.h"
#include "tagvera/vocabulary.h"

namespace tagvera {
namespace {

using mp4::CMp4Editor;

struct WritePair {
    const char* group;
    const char* name;
    int item;
};

// In the order the items are written; "Artist:Name" only when "Track:Artist" wrote nothing.
constexpr WritePair kWrites[] = {
    {"Track", "Name", mp4::kItemTitle},        {"Track", "Comments", mp4::kItemComment},
    {"Track", "Year", mp4::kItemYear},         {"Track", "Genre", mp4::kItemGenre},
    {"Track", "CD Track #", mp4::kItemTrack},  {"Track", "Artist", mp4::kItemArtist},
    {"Track", "Custom 1", mp4::kItemUrl1},     {"Track", "Custom 2", mp4::kItemUrl2},
    {"Track", "GN ExtData", mp4::kItemExtData}, {"Track", "GN File ID", mp4::kItemFileId},
    {"Artist", "Name", mp4::kItemArtist},      {"Album", "Name", mp4::kItemAlbum},
    {"Album", "Cover Art", mp4::kItemCover},
};

// Stores one node in its item; true when the editor took it. A line for the report goes to report.
bool WriteNode(CMp4Editor& editor, IMPAMetaProperty* node, int item, IMPAHandleMetaProperties* source, bool force,
               std::string& line) {
    const uint32_t changed = ChangedOf(node);
    if (changed == kDeleted) {
        line = "removed: ";
        return editor.RemoveItem(item);
    }
    if (changed != kChanged && !force) return false;
    line = "set: ";
    const uint32_t type = TypeOf(node);
    const auto value = ValueOf(node);
    switch (type) {
    case kTypeText: return editor.SetItemText(item, ValueText(value));
    case kTypeNumber: {
        if (value.size() != 4) return false;
        uint32_t number = 0;
        std::memcpy(&number, value.data(), 4);
        return editor.SetItemInteger(item, int32_t(number));
    }
    case kTypeBinary: return editor.SetItemIntegerBytes(item, value);
    case kTypeReference:
    case kTypeFileReference:
    case kTypeDataReference: {
        // A picture that cannot be read fails the write: storing the rest would say "written"
        // for an edit that did not happen.
        const auto bytes = ReferenceBytes(node, type, source);
        if (!bytes) throw Error(TV_E_FAIL, "cannot read the picture for " + PathOf(node));
        return !bytes->empty() && editor.SetItemImage(item, *bytes);
    }
    default: return false;
    }
}

std::string ApplyTree(CMp4Editor& editor, IMPAMetaProperty* tree, IMPAHandleMetaProperties* source, bool force) {
    std::string report;
    bool trackArtist = false;
    for (const WritePair& pair : kWrites) {
        if (pair.item == mp4::kItemArtist && std::strcmp(pair.group, "Artist") == 0 && trackArtist) continue;
        ComPtr<IMPAMetaProperty> group, node;
        if (Failed(tree->FindFirstChild(pair.group, group.put())) || !group) continue;
        if (Failed(group->FindFirstChild(pair.name, node.put())) || !node) continue;
        std::string line;
        const bool done = WriteNode(editor, node.get(), pair.item, source, force, line);
        if (done && pair.item == mp4::kItemArtist) trackArtist = true;
        if (done) report += line + pair.group + ":" + pair.name + "\n";
    }
    return report;
}

bool HasItems(const CMp4Editor& editor) {
    const mp4::Atom* ilst =
        editor.movie().find({mp4::FourCC("udta"), mp4::FourCC("meta"), mp4::FourCC("ilst")});
    return ilst && !ilst->children.empty();
}

void WriteMovie(platform::FileWriteLock& lock, const mp4::MovieWrite& plan, uint64_t fileSize) {
    if (plan.kind == mp4::MovieWrite::Kind::InPlace) {
        platform::InPlaceEdit edit(lock);
        const platform::Patch patch{plan.offset, plan.bytes};
        edit.apply(std::span(&patch, 1), platform::Durability::Synced, platform::EditEnd{plan.newLength});
        return;
    }
    platform::FileLayout layout;
    layout.copy(0, plan.offset).bytes(plan.bytes);
    const uint64_t after = plan.offset + plan.oldSize;
    if (after < fileSize) layout.copy(after, fileSize - after);
    platform::RewriteFile(lock, layout);
}

}  // namespace

HRESULT CImportM4File::Store(IMPAMetaProperty* tree, IMPAHandleMetaProperties* source, bool force, bool strip) {
    writeReport_.clear();
    if (path_.empty()) return TV_E_NOTLOADED;
    const HRESULT written = GuardWrite(writeReport_, [&]() -> HRESULT {
        platform::FileWriteLock lock(path_);
        CMp4Editor editor;
        editor.LoadMetadata(lock.file());
        std::string report;
        if (strip) {
            if (!HasItems(editor)) return TV_S_INCOMPLETE;
            editor.RemoveAllItems();
            report = "removed: every item\n";
        } else {
            report = ApplyTree(editor, tree, source, force);
        }
        const mp4::MovieWrite plan = mp4::PlanSave(editor);
        if (plan.kind == mp4::MovieWrite::Kind::Nothing) return TV_S_INCOMPLETE;
        WriteMovie(lock, plan, lock.file().size());
        writeReport_ = report + plan.how + "\n";
        return TV_S_OK;
    });
    if (written != TV_S_OK) return written;
    Load();  // the next interrogation describes the file as written
    return TV_S_INCOMPLETE;
}

HRESULT CImportM4File::WriteMetaProperties(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                          uint32_t force) {
    if (!tree) return TV_E_POINTER;
    return Store(tree, dataSource, force != 0, false);
}

// A host strips an MP4 file by deleting what it wants gone from the tree; tagvera's own callers
// may ask for every item to go (kMp3WriteRemoveEverything).
HRESULT CImportM4File::Prepare(uint32_t) { return TV_E_NOTIMPL; }

HRESULT CImportM4File::WriteMetaProperties2(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                           uint32_t force, uint32_t options) {
    if (options & kMp3WriteDryRun) return TV_E_NOTIMPL;
    // Every item, known or not.
    if (options & kMp3WriteRemoveEverything) return Store(nullptr, nullptr, false, true);
    return WriteMetaProperties(tree, dataSource, force);
}

}  // namespace tagvera
