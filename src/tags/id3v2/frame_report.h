// The frames of a file for people: the text `tagvera frames` prints, through the MP3 importer's
// structure report. The form for tools is FramesJson (json_report.h).
#ifndef TAGVERA_TAGS_ID3V2_FRAME_REPORT_H
#define TAGVERA_TAGS_ID3V2_FRAME_REPORT_H

#include <string>
#include <string_view>

#include "tags/id3v2/tag.h"

namespace tagvera::id3v2 {

// A line per tag ("ID3v2.3 at 0, 4096 bytes (1500 padding), 12 frames"; "Lyrics3 v2 and ID3v1.1 at
// the end"), each followed by a line per frame ("  TIT2  \"Title\""), then one per reading problem
// ("warning: ..."). A file without tags is "NAME: no ID3 tags".
std::string FramesText(const FileTags& tags, std::string_view name);

// What one frame's fields say, on one line ("\"Title\"", "[eng] [] \"Comment\"").
std::string FrameSummary(const Frame& frame);

}  // namespace tagvera::id3v2

#endif
