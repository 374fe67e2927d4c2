// One v2.3 view of whatever the file held: the form the property mapping reads and the tag
// library is given. v2.2 and v2.4 frames are rewritten into v2.3 ids and layouts, text in
// Latin-1 or UTF-16 with BOM, dates and people lists in their v2.3 frames.
#ifndef TAGVERA_TAGS_ID3V2_NORMALIZE_H
#define TAGVERA_TAGS_ID3V2_NORMALIZE_H

#include <string>
#include <vector>

#include "tags/id3v2/fields.h"
#include "tags/id3v2/tag.h"

namespace tagvera::id3v2 {

struct NormalizeOptions {
    bool followingTags = true;   // frames of later tags in a row fill what the first lacks
    bool appendedTag = true;     // so do frames of an ID3v2 tag at the end
    bool trailingFields = false; // and the fields of Lyrics3 and ID3v1
};

struct NormalizedFrames {
    std::vector<Frame> frames;
    // fields[i] is what DecodeFields(frames[i]) gives, known from normalising it: readers of the
    // frames need not decode them again (data points into frames[i].payload).
    std::vector<Fields> fields;
    std::vector<std::string> dropped;  // frames that have no v2.3 form, with the reason
};

NormalizedFrames NormalizeToV23(const FileTags& tags, const NormalizeOptions& options = {});

// One frame in its canonical v2.3 form (fields re-encoded); throws Error when its fields do
// not decode. Frames with no field layout we know are kept byte for byte.
Frame NormalizeFrame(const Frame& frame);

// What makes two frames "the same frame" for merging: id plus description, language, picture
// type or owner where the frame has one.
std::string FrameKey(const Frame& frame);

}  // namespace tagvera::id3v2

#endif
