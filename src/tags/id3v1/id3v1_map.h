// ID3v1 <-> property tree: which record field is which property, in both directions.
#ifndef TAGVERA_TAGS_ID3V1_ID3V1_MAP_H
#define TAGVERA_TAGS_ID3V1_ID3V1_MAP_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/byte_source.h"
#include "metaprop/property_catalog.h"
#include "tags/id3v1/lyrics3.h"
#include "tags/id3v1/id3v1_tag.h"
#include "tagvera/metaprop.h"

namespace tagvera {

// Sets from the record every property the tree does not hold yet, so that a source merged
// earlier wins: Track "Name", Artist "Name", Album "Name", Track "Comments", Track "Genre" (not
// for genre 255, nor for a number the table does not name), Track "CD Track #" (ID3v1.1), and the
// number "Year" under "Track" when the year field is not 0. With a Lyrics3 v2 block, its
// ETT/EAR/EAL stand for the title, artist and album they extend.
HRESULT MergeId3v1Tag(const Id3v1Tag& tag, IMPAMetaProperty* tree, const Lyrics3Tag* lyrics3 = nullptr);
// Reads the file's tag (and a Lyrics3 v2 block before it) and merges it; E_FAIL without a tag.
HRESULT MergeId3v1Tag(ByteSource& file, IMPAMetaProperty* tree);

// Renders one property into a fixed-width record field, by the property's change state: deleted
// clears the field; changed (or any state with force) clears and refills it from a text value
// (Latin-1, cut to the width, no terminator when full) or a number (decimal); otherwise the field
// keeps its bytes.
HRESULT PropertyToTagText(IMPAMetaProperty* property, uint8_t* field, size_t capacity, bool force);

// Brings a record up to date with the tree for writing, in the order title, comment, year,
// genre, track, artist, album (so a track number survives a 30-byte comment written before it).
// Genre: deleted 255; changed a known name's index, else 255. Track: changed sets the ID3v1.1
// byte for 1 to 100 and clears it otherwise; deleted clears it.
HRESULT UpdateId3v1FromTree(Id3v1Tag* record, IMPAMetaProperty* tree, bool force);

// The properties the record holds, for an importer's catalog.
std::vector<CatalogEntry> Id3v1Catalog();

}  // namespace tagvera

#endif
