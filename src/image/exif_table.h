// The EXIF tags a host sees, each as a "Statistics" property, with the item type a write gives it.
#ifndef TAGVERA_IMAGE_EXIF_TABLE_H
#define TAGVERA_IMAGE_EXIF_TABLE_H

#include <array>
#include <cstdint>

namespace tagvera::image {

// EXIF item types.
enum ExifType : uint16_t {
    kExifByte = 1,
    kExifAscii = 2,
    kExifShort = 3,
    kExifLong = 4,
    kExifRational = 5,
    kExifUndefined = 7,
    kExifSLong = 9,
    kExifSRational = 10,
};

struct ExifRow {
    uint32_t tag;
    uint32_t type;
    const char* group;
    const char* property;
};

// Hosts list them in this order: not sorted by tag.
extern const std::array<ExifRow, 28> kExifRows;

// The row of a tag; null when the table has none.
const ExifRow* FindExifRow(uint32_t tag);

}  // namespace tagvera::image

#endif
