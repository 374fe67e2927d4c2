// The preference "TagReadPriority": which tag sources an MP3 file is read from, and in which order
// ("K1,V2,V1" by default: jukebox frame, ID3v2, ID3v1). The first source that holds a property wins.
#ifndef TAGVERA_MP3_MP3_TAG_PRIORITY_H
#define TAGVERA_MP3_MP3_TAG_PRIORITY_H

#include <string>
#include <string_view>
#include <vector>

namespace tagvera {

enum class TagSource { Jukebox, Id3v2, Id3v1 };

inline constexpr std::string_view kDefaultTagReadPriority = "K1,V2,V1";
// Registry strings of this value are read into a buffer of this many characters.
inline constexpr size_t kTagReadPriorityMaxLength = 255;

// The sources named by the first three comma-separated items, in order. Items are compared exactly
// ("K1", "V2", "V1"); anything else is passed over without taking the place of a later item.
std::vector<TagSource> ParseTagReadPriority(std::string_view text);

// The preference as the user set it (cut to kTagReadPriorityMaxLength), or the default.
std::string TagReadPriorityText();
std::vector<TagSource> TagReadPriority();

// Whether on-demand data is asked of the jukebox frame before the ID3v2 tag: the first of the
// sources that is either one decides; when neither is named, the jukebox frame goes first.
bool JukeboxBeforeId3v2(const std::vector<TagSource>& order);

}  // namespace tagvera

#endif
