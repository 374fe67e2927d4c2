// What a write does to a tag's frames, for a dry run to say before anything is written: each
// frame added, removed or changed, matched by its id and what tells frames of one id apart (a
// comment's language and description, a picture's type, a private frame's owner).
#ifndef TAGVERA_TAGS_ID3V2_FRAME_CHANGES_H
#define TAGVERA_TAGS_ID3V2_FRAME_CHANGES_H

#include <string>
#include <vector>

#include "tags/id3v2/tag.h"

namespace tagvera::id3v2 {

// Lines such as "TIT2 \"Old\" -> \"New\"", "COMM [deu] [] \"Text\" removed", "GEOB ... added", in
// the order of after, removals last.
std::vector<std::string> FrameChanges(const std::vector<Frame>& before, const std::vector<Frame>& after);

}  // namespace tagvera::id3v2

#endif
