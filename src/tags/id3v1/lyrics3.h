// The Lyrics3 v2.00 block that some taggers put between the audio and the ID3v1 tag: its extent,
// so that it is not taken for audio, and its fields, whose ETT/EAR/EAL lift the 30-character limit
// of the ID3v1 title, artist and album.
#ifndef TAGVERA_TAGS_ID3V1_LYRICS3_H
#define TAGVERA_TAGS_ID3V1_LYRICS3_H

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/byte_source.h"

namespace tagvera {

// The 6-digit size and "LYRICS200" that end a block, right before the ID3v1 tag.
inline constexpr size_t kLyrics3v2TrailerSize = 15;

struct Lyrics3v2Tag {
    uint64_t offset = 0;  // of "LYRICSBEGIN"
    uint64_t size = 0;    // the whole block, through its 6-digit size and "LYRICS200"
    // Field id ("ETT", "LYR", ...) and its raw Latin-1 text, in file order.
    std::vector<std::pair<std::string, std::string>> fields;

    // The first field with that id, or null.
    const std::string* Find(std::string_view id) const;
};

// Looks for a block that ends where the ID3v1 tag begins (end = file size - 128). With readFields
// false only the extent is taken (15 bytes read). False when there is none or it is malformed.
bool ReadLyrics3v2Tag(ByteSource& file, uint64_t end, Lyrics3v2Tag* out, bool readFields = true);

}  // namespace tagvera

#endif
