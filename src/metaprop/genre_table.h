// The 148 genre names that ID3v1 numbers, and that ID3v2, MP4, KorvaMedia and recorded files share.
#ifndef TAGVERA_METAPROP_GENRE_TABLE_H
#define TAGVERA_METAPROP_GENRE_TABLE_H

#include <cstdint>
#include <string>
#include <string_view>

namespace tagvera {

inline constexpr int kGenreCount = 148;
// The genre byte of a tag that names no genre.
inline constexpr uint8_t kNoGenre = 255;

// The names in index order, followed by a null pointer.
extern const char* const kGenreNames[kGenreCount + 1];

// Indices 0..147 give the table's name; anything else gives "".
const char* GenreNameFromIndex(int index);
// Whole-name match ignoring ASCII case, first in index order; -1 when no entry matches.
int FindGenreIndex(std::string_view name);
// The tag-byte form of FindGenreIndex: 255 when no entry matches.
uint8_t GenreIndexFromName(std::string_view name);

// A genre as tags write it: text starting with a digit ("17", "17Rock") or with "(" and a digit
// ("(17)", "(17)Rock") names the genre of that number; anything else is already a name.
std::string GenreFromTagText(std::string_view text);

}  // namespace tagvera

#endif
