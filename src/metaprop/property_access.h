// Small reads of a property tree that the MP3 importer and the jukebox parser share, through
// IMPAMetaProperty alone so that they work on a host's tree as well as on the library's own.
#ifndef TAGVERA_METAPROP_PROPERTY_ACCESS_H
#define TAGVERA_METAPROP_PROPERTY_ACCESS_H

#include <cstdint>
#include <string>
#include <vector>

#include "tagvera/com_ptr.h"
#include "tagvera/metaprop.h"

namespace tagvera {

// The largest on-demand value taken in: an ID3v2 frame cannot be larger (28-bit sizes), and a
// hostile "DataSize" must not make us allocate gigabytes.
inline constexpr uint32_t kMaxReferenceBytes = 256u << 20;

// Every child of node, in enumeration order (names in byte order, each name's chain in order).
std::vector<ComPtr<IMPAMetaProperty>> ChildrenOf(IMPAMetaProperty* node);

// The number held by node's child name: a 4-byte number, or decimal text. False when absent.
bool ChildNumber(IMPAMetaProperty* node, const char* name, uint32_t* value);

// The text held by node's child name (a text value up to its NUL); "" when absent or not text.
std::string ChildText(IMPAMetaProperty* node, const char* name);

// Where the property sits ("Album:Cover Art"): its path, or its name when it has no path.
std::string PathOf(IMPAMetaProperty* property);

}  // namespace tagvera

#endif
