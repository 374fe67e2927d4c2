// CImageMetadataPlugin's catalog: the EXIF table's properties, written in JPEG, PNG and TIFF
// files, and the figures read from the picture's headers.
#include <cstdio>

#include "base/error.h"
#include "image/exif_table.h"
#include "image/image_importer.h"
#include "metaprop/property_catalog.h"
#include "package/importer_kit/list_copy.h"

namespace tagvera {
namespace {

std::vector<CatalogEntry> ExifCatalog() {
    std::vector<CatalogEntry> entries;
    for (const auto& row : image::kExifRows) {
        const char* type = row.type == image::kExifAscii ? "text"
                           : row.type == image::kExifShort || row.type == image::kExifLong ? "number"
                                                                                          : "data";
        char where[48];
        std::snprintf(where, sizeof where, "EXIF tag 0x%04X (JPEG, PNG, TIFF)", unsigned(row.tag));
        entries.push_back({std::string(row.group) + ":" + row.property, type, true, where});
    }
    return entries;
}

std::vector<CatalogEntry> HeaderCatalog() {
    std::vector<CatalogEntry> entries;
    for (const char* name : {"Width", "Height", "HorizontalResolution", "VerticalResolution", "BitDepth"})
        entries.push_back({std::string("Statistics:") + name, "number", false, "image header"});
    entries.push_back({"Statistics:FileSize", "number", false, "the file"});
    entries.push_back({"Statistics:Filename", "text", false, "the file"});
    entries.push_back({"Statistics:Extension", "text", false, "the file"});
    entries.push_back({"Statistics:Image", "number", false, "always 1"});
    return entries;
}

}  // namespace

HRESULT CImageMetadataPlugin::GetPropertyCatalog(char* buffer, uint32_t* size) {
    return Guard([&] {
        const std::vector<CatalogEntry> parts[] = {ExifCatalog(), HeaderCatalog()};
        return CopyListOut(CatalogText(parts), buffer, size);
    });
}

}  // namespace tagvera
