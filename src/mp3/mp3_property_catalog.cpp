// CImportMP3File's catalog: the ID3v2 frame map, the ID3v1 record, and the jukebox frame, which
// holds any property.
#include "mp3/mp3_importer.h"
#include "package/importer_kit/list_copy.h"
#include "tags/id3v1/id3v1_map.h"
#include "tags/id3v2/properties/frame_map.h"

namespace tagvera {

HRESULT CImportMP3File::GetPropertyCatalog(char* buffer, uint32_t* size) {
    return Guard([&] {
        const std::vector<CatalogEntry> parts[] = {id3v2::Id3v2Catalog(), Id3v1Catalog(),
                                                   {AnyPropertyEntry("jukebox block (ID3v2 GEOB KorvaJukebox:Metadata)")}};
        return CopyListOut(CatalogText(parts), buffer, size);
    });
}

}  // namespace tagvera
