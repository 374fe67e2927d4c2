// The preferences that steer the MP3 importer, each read once into a value: the order of the tag
// sources when a file is opened, the tags a write may change when writing starts.
#ifndef TAGVERA_MP3_MP3_PREFERENCES_H
#define TAGVERA_MP3_MP3_PREFERENCES_H

#include <cstddef>
#include <string_view>
#include <vector>

namespace tagvera {

// "TagReadPriority": which tag sources an MP3 file is read from, and in which order ("K1,V2,V1"
// by default: jukebox frame, ID3v2, ID3v1). The first source that holds a property wins.
enum class TagSource { Jukebox, Id3v2, Id3v1 };

// Registry strings of this value are read into a buffer of this many characters.
inline constexpr size_t kTagReadPriorityMaxLength = 255;

// The sources named by the first three comma-separated items, in order. Items are compared exactly
// ("K1", "V2", "V1"); anything else is passed over without taking the place of a later item.
std::vector<TagSource> ParseTagReadPriority(std::string_view text);

// The preference as the user set it (cut to kTagReadPriorityMaxLength), or the default.
std::vector<TagSource> ReadTagReadPriority();

// Whether on-demand data is asked of the jukebox frame before the ID3v2 tag: the first of the
// sources that is either one decides; when neither is named, the jukebox frame goes first.
bool JukeboxBeforeId3v2(const std::vector<TagSource>& order);

// "TagEditKorvaOne", "TagEditID3V2", "TagEditID3V1": the tags a write may change (all by default).
struct Mp3EditPreferences {
    bool jukebox = true;
    bool id3v2 = true;
    bool id3v1 = true;
};
Mp3EditPreferences ReadMp3EditPreferences();

}  // namespace tagvera

#endif
