// CImportWMAFile's catalog: the attribute table's properties, any other property as an attribute
// of this system's own, and the statistics read from the file and stream properties.
#include "base/error.h"
#include "metaprop/property_catalog.h"
#include "package/importer_kit/list_copy.h"
#include "tagvera/vocabulary.h"
#include "wm/wm_attribute_table.h"
#include "wm/wm_importer.h"

namespace tagvera {
namespace {

const char* TypeWord(uint32_t type) {
    switch (type) {
        case kTypeNumber: return "number";
        case kTypeUrl: return "url";
        case kTypeText: return "text";
        default: return "data";
    }
}

std::vector<CatalogEntry> AttributeCatalog() {
    std::vector<CatalogEntry> entries;
    for (const auto& row : wm::AttributeRows()) {
        const bool writable = (row.flags & kFlagReadOnly) == 0;
        const char* type = std::string_view(row.property) == "Year" ? "year" : TypeWord(row.propertyType);
        entries.push_back({std::string(row.group) + ":" + row.property, type, writable,
                           std::string("ASF attribute ") + row.attribute});
    }
    entries.push_back({"Album:Cover Art", "picture", true, "ASF attribute WM/Picture (front cover)"});
    entries.push_back(AnyPropertyEntry("ASF attribute KORVA/GROUP:NAME"));
    return entries;
}

std::vector<CatalogEntry> StatisticsCatalog() {
    std::vector<CatalogEntry> entries;
    for (const char* name : {"Channels", "SampleRate", "AudioCodecTag", "Width", "Height", "VideoBitrate", "VideoFrameRate"})
        entries.push_back({std::string("Statistics:") + name, "number", false, "ASF stream properties"});
    entries.push_back({"Statistics:VideoCodecFourCC", "text", false, "ASF stream properties"});
    for (const char* name : {"Extension", "FileFormat", "AudioCodecFourCC", "FileExtension", "MimeType", "Filename"})
        entries.push_back({std::string("Statistics:") + name, "text", false, "the file"});
    return entries;
}

}  // namespace

HRESULT CImportWMAFile::GetPropertyCatalog(char* buffer, uint32_t* size) {
    return Guard([&] {
        const std::vector<CatalogEntry> parts[] = {AttributeCatalog(), StatisticsCatalog()};
        return CopyListOut(CatalogText(parts), buffer, size);
    });
}

}  // namespace tagvera
