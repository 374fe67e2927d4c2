// The lines an importer answers IMPAPropertyCatalog with, built from what each tag block it
// writes says of itself: every format lists the same kind of entry, so the command can merge them.
#ifndef TAGVERA_METAPROP_PROPERTY_CATALOG_H
#define TAGVERA_METAPROP_PROPERTY_CATALOG_H

#include <span>
#include <string>
#include <vector>

namespace tagvera {

struct CatalogEntry {
    std::string path;   // "Track:Name", or "*" for any
    const char* type;   // "text", "number", "year", "track", "url", "picture", "data"
    bool writable;
    std::string where;  // "ID3v2 TIT2"
};

// A block that holds whatever property a host gives it.
inline CatalogEntry AnyPropertyEntry(const char* where) { return {"*", "data", true, where}; }

// "GROUP:NAME\tTYPE\tACCESS\tWHERE\n" per entry, in order.
std::string CatalogText(std::span<const std::vector<CatalogEntry>> parts);

}  // namespace tagvera

#endif
