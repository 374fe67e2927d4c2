// Which properties a file's content description ("CONT") stands for. A title of
// "album/name/genre" is how older rippers filled the one field they had.
#ifndef TAGVERA_KMEDIA_CONTENT_PROPERTIES_H
#define TAGVERA_KMEDIA_CONTENT_PROPERTIES_H

#include <string>
#include <utility>
#include <vector>

#include "kmedia/content.h"
#include "metaprop/property_catalog.h"

namespace tagvera::kmedia {

// (path, text) for every non-empty property, in the order they are merged.
std::vector<std::pair<std::string, std::string>> ContentProperties(const ContentObject& content);

// The same as catalog entries: read, never written (only a whole-file rewrite changes "CONT").
std::vector<CatalogEntry> ContentCatalog();

}  // namespace tagvera::kmedia

#endif
