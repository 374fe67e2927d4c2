// tagvera's own addition to the importers' interfaces: which properties an importer reads and
// writes, and what holds each in the file, so that people and tools can find the names.
#ifndef TAGVERA_PROPERTY_CATALOG_H
#define TAGVERA_PROPERTY_CATALOG_H

#include "tagvera/abi.h"

struct IMPAPropertyCatalog : IUnknown {
    // A line per property and place, "GROUP:NAME<TAB>TYPE<TAB>ACCESS<TAB>WHERE\n", where TYPE is
    // "text", "number", "year", "track" (n or n/total), "url", "picture" or "data"; ACCESS "rw" or
    // "r" (read, never written); WHERE what holds it ("ID3v2 TIT2", "ID3v1 title"). A GROUP:NAME of
    // "*" stands for any property: the jukebox block holds whatever a host puts into it. UTF-8, the
    // size protocol of GetSupportedMimeTypes.
    TV_METHOD(GetPropertyCatalog)(char* buffer, uint32_t* size) = 0;  // 3
};

namespace tagvera {
inline constexpr GUID IID_IMPAPropertyCatalog = TV_GUID(3A9F5C71, 6D2E, 4B8A, 9C, 14, 7E, 2B, 5D, 90, A1, 63);
}  // namespace tagvera

#endif
