// The Lyrics3 blocks that some taggers put between the audio and the ID3v1 tag: their extent, so
// that they are not taken for audio, and their fields. Version 2.00 holds fields, whose ETT/EAR/EAL
// lift the 30-character limit of the ID3v1 title, artist and album; version 1.00 only lyrics.
#ifndef TAGVERA_TAGS_ID3V1_LYRICS3_H
#define TAGVERA_TAGS_ID3V1_LYRICS3_H

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/byte_source.h"

namespace tagvera {

// The 6-digit size and "LYRICS200" that end a v2.00 block, right before the ID3v1 tag.
inline constexpr size_t kLyrics3v2TrailerSize = 15;

struct Lyrics3Tag {
    int version = 2;      // 1 or 2
    uint64_t offset = 0;  // of "LYRICSBEGIN"
    uint64_t size = 0;    // the whole block, through "LYRICS200" (v2) or "LYRICSEND" (v1)
    // Field id ("ETT", "LYR", ...) and its raw Latin-1 text, in file order; a v1 block's lyrics
    // are its one field "LYR".
    std::vector<std::pair<std::string, std::string>> fields;

    // The first field with that id, or null.
    const std::string* Find(std::string_view id) const;
};

// Both readers look for a block that ends at end (where the ID3v1 tag begins: file size - 128).
// False when there is none, and when the block there is malformed: its end marker is found but not
// what it ends (a size that is no number or reaches past the file, no "LYRICSBEGIN", a broken
// field, bytes that cannot be read). Then *problem, when given, says what is wrong; it stays empty
// when there is no block at all. A failing read throws Error.

// Version 2.00. With readFields false only the extent is taken (26 bytes read).
bool ReadLyrics3v2Tag(ByteSource& file, uint64_t end, Lyrics3Tag* out, bool readFields = true,
                      std::string* problem = nullptr);
// Version 1.00: found by "LYRICSEND", its start by the last "LYRICSBEGIN" in the 5,120 bytes
// before that.
bool ReadLyrics3v1Tag(ByteSource& file, uint64_t end, Lyrics3Tag* out, std::string* problem = nullptr);

}  // namespace tagvera

#endif
