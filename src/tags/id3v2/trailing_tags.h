// The tags at the end of a file: ID3v1 (v1.1), a Lyrics3 block before it, an ID3v2 tag with a
// footer before those; and the frames their fields stand for.
#ifndef TAGVERA_TAGS_ID3V2_TRAILING_TAGS_H
#define TAGVERA_TAGS_ID3V2_TRAILING_TAGS_H

#include <span>
#include <vector>

#include "base/byte_source.h"
#include "tags/id3v2/tag.h"
#include "tags/id3v2/tag_reader.h"

namespace tagvera::id3v2 {

// Fills id3v1, lyrics3 and appended of tags; damaged blocks are listed in tags.skipped.
void ReadTrailingTags(ByteSource& source, FileTags& tags, const ReadLimits& limits);

// Text frames for the fields of ID3v1 and Lyrics3 (Lyrics3's longer title, artist and album
// win over ID3v1's): TIT2, TPE1, TALB, TYER, COMM, TRCK, TCON "(n)", USLT, TEXT.
std::vector<Frame> FramesFromTrailingTags(const FileTags& tags);
// "1.0" or "1.1" for the ID3v1 record, empty without one.
std::string Id3v1VersionText(const FileTags& tags);

}  // namespace tagvera::id3v2

#endif
