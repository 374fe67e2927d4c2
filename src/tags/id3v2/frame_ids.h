// Frame ids: which bytes can be one, and the v2.2 three-letter ids in their v2.3/v2.4 spelling.
#ifndef TAGVERA_TAGS_ID3V2_FRAME_IDS_H
#define TAGVERA_TAGS_ID3V2_FRAME_IDS_H

#include <string>
#include <string_view>

namespace tagvera::id3v2 {

// Upper-case letters and digits only.
bool IsValidFrameId(std::string_view id);
// "TT2" -> "TIT2"; empty for a v2.2 id without a later spelling.
std::string UpgradeV22Id(std::string_view id);
// Text information frames (T*** other than TXXX) and URL link frames (W*** other than WXXX).
bool IsTextFrameId(std::string_view id);
bool IsUrlFrameId(std::string_view id);
// Frames defined only by ID3v2.4, which a v2.3 reader may not know.
bool IsV24OnlyId(std::string_view id);

}  // namespace tagvera::id3v2

#endif
