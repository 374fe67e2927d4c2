// The frames of a file in the fixtures' JSON form: {"version", "frames": [...]}, one object per
// frame with the fields it has (text, desc, lang, url, mime, type, filename, owner, size, sha1).
#ifndef TAGVERA_TAGS_ID3V2_JSON_REPORT_H
#define TAGVERA_TAGS_ID3V2_JSON_REPORT_H

#include <string>

#include "base/byte_source.h"
#include "tags/id3v2/tag.h"

namespace tagvera::id3v2 {

// The first ID3v2 tag's frames; with no ID3v2 tag, the frames of ID3v1 and Lyrics3 with the
// ID3v1 version. Later tags in a row are listed under "second_tag", reading problems under
// "warnings". Pretty-printed with one-space indents, ending in a newline.
std::string FramesJson(const FileTags& tags);
// Reads the tags of source first; throws Error when they cannot be read.
std::string FramesJson(ByteSource& source);

// A JSON string literal for UTF-8 text.
std::string JsonQuote(std::string_view utf8);

}  // namespace tagvera::id3v2

#endif
