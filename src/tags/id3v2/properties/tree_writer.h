// Writing a property tree into ID3v2 frames: the walk over the tree, which frame each changed
// property goes to, creating and removing frames. Works on the frames in v2.3 form, so that the
// ID3 tag library is loaded once with the result.
#ifndef TAGVERA_TAGS_ID3V2_PROPERTIES_TREE_WRITER_H
#define TAGVERA_TAGS_ID3V2_PROPERTIES_TREE_WRITER_H

#include <vector>

#include "tags/id3v2/id3lib_adapter.h"
#include "tags/id3v2/tag.h"
#include "tagvera/importer.h"
#include "tagvera/metaprop.h"

namespace tagvera::id3v2 {

struct TreeWriteOptions {
    bool force = false;            // write properties whose change state is not "changed"
    bool createAll = false;        // create missing frames for every mapped property
    bool includeUnmapped = false;  // write properties without a map row by their type
};

// Writes tree's changed properties into frames: changed ones fill (or create) their frame,
// deleted ones remove it; new frames go after the existing ones. The first failure stops the
// walk and is returned, with frames holding what was written up to then. changed, when given,
// is set when any frame changed.
HRESULT WriteTreeToFrames(std::vector<id3v2::Frame>& frames, IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                          const TreeWriteOptions& options, bool* changed = nullptr);

// The same on the tag the ID3 tag library holds: its frames are taken out, written, and loaded
// back once, and the tag is marked changed when a frame changed.
HRESULT WriteTreeToTag(Id3libTag& tag, IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                       const TreeWriteOptions& options);

}  // namespace tagvera::id3v2

#endif
