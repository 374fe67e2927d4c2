// CImportKMJFile's catalog: the jukebox trailer (any property), the ID3v1 tag, and the content
// description, which only strip changes.
#include "kmedia/content_properties.h"
#include "kmedia/kmj_importer.h"
#include "package/importer_kit/list_copy.h"
#include "tags/id3v1/id3v1_map.h"

namespace tagvera {

HRESULT CImportKMJFile::GetPropertyCatalog(char* buffer, uint32_t* size) {
    return Guard([&] {
        const std::vector<CatalogEntry> parts[] = {{AnyPropertyEntry("jukebox trailer and file-info copy")}, Id3v1Catalog(),
                                                   kmedia::ContentCatalog()};
        return CopyListOut(CatalogText(parts), buffer, size);
    });
}

}  // namespace tagvera
