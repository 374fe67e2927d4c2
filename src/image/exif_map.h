// EXIF items <-> "Statistics" properties: the only place that knows which item is which property.
#ifndef TAGVERA_IMAGE_EXIF_MAP_H
#define TAGVERA_IMAGE_EXIF_MAP_H

#include <span>
#include <vector>

#include "image/exif_io.h"
#include "tagvera/metaprop.h"

namespace tagvera::image {

// Adds the items of the table to tree: binary items as binary values, ASCII as text, a SHORT
// only when it is one value (2 bytes), a LONG only when it is one (4 bytes); others are skipped.
HRESULT AddExifProperties(IMPAMetaProperty* tree, std::span<const ExifItem> items);

// The table's properties that the tree changes or deletes, as edits in the table's item types.
std::vector<ExifEdit> CollectExifEdits(IMPAMetaProperty* tree);

}  // namespace tagvera::image

#endif
