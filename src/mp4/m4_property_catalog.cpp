// CImportM4File's catalog: the item table's properties, and the figures read from the movie.
#include "base/error.h"
#include "metaprop/property_catalog.h"
#include "mp4/atom_tree.h"
#include "mp4/item_table.h"
#include "mp4/m4_importer.h"
#include "package/importer_kit/list_copy.h"

namespace tagvera {
namespace {

const char* TypeOfItem(int id) {
    switch (id) {
    case mp4::kItemTrack: return "track";
    case mp4::kItemYear: return "year";
    case mp4::kItemCover: return "picture";
    case mp4::kItemWidth:
    case mp4::kItemHeight: return "number";
    default: return "text";
    }
}

std::vector<CatalogEntry> ItemCatalog() {
    std::vector<CatalogEntry> entries;
    for (const mp4::ItemRow& row : mp4::ItemTable()) {
        if (!row.property) continue;
        const bool writable = row.id != mp4::kItemWidth && row.id != mp4::kItemHeight && row.id != mp4::kItemCompatibility;
        entries.push_back({row.property, TypeOfItem(row.id), writable, "MP4 item " + mp4::FourCCText(row.atom)});
    }
    entries.push_back({"Track:Artist", "text", true, "MP4 item " + mp4::FourCCText(mp4::FourCC("\xA9" "ART"))});
    return entries;
}

std::vector<CatalogEntry> MovieCatalog() {
    return {{"Statistics:Length", "number", false, "movie header"},
            {"Statistics:Quality", "number", false, "sound track's descriptor"},
            {"Statistics:Channels", "number", false, "sound track's descriptor"},
            {"Statistics:HasVideo", "number", false, "track header"},
            {"Statistics:FileSize", "number", false, "the file"},
            {"Statistics:Filename", "text", false, "the file"},
            {"Statistics:Extension", "text", false, "the file"},
            {"Statistics:VideoMimeTypes", "text", false, "the media platform"},
            {"Statistics:AudioMimeTypes", "text", false, "the media platform"}};
}

}  // namespace

HRESULT CImportM4File::GetPropertyCatalog(char* buffer, uint32_t* size) {
    return Guard([&] {
        const std::vector<CatalogEntry> parts[] = {ItemCatalog(), MovieCatalog()};
        return CopyListOut(CatalogText(parts), buffer, size);
    });
}

}  // namespace tagvera
