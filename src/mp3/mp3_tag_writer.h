// The write side of the MP3 importer: storing an edited property tree into the file's jukebox
// frame, ID3v2 tag and ID3v1 tag (as the "TagEdit..." preferences allow), and removing the tags.
// CImportMP3File's write slots call these; they reach the importer's parsers and tag reading
// through its "For the tag writer" operations.
#ifndef TAGVERA_MP3_MP3_TAG_WRITER_H
#define TAGVERA_MP3_MP3_TAG_WRITER_H

#include <cstdint>

#include "tagvera/importer.h"
#include "tagvera/metaprop.h"

namespace tagvera {

class CImportMP3File;

// WriteMetaProperties2: the tree's changed (or, with force, all) properties into the tags;
// dataSource delivers the bytes of on-demand reference properties and may be null; options go to
// the ID3v2 tag update. Ends with the importer's trees and parsers released.
HRESULT WriteMp3Tags(CImportMP3File& importer, IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                     uint32_t force, uint32_t options);

// Prepare: strips the ID3v2 tag, blanks the ID3v1 tag and opens the file again.
HRESULT RemoveMp3Tags(CImportMP3File& importer);

}  // namespace tagvera

#endif
