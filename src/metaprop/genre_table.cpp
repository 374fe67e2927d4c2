#include "metaprop/genre_table.h"

#include "platform/text.h"

namespace tagvera {

// Spellings as the ID3v1 world has always had them ("Psychadelic", "Bebob", "A Capella").
const char* const kGenreNames[kGenreCount + 1] = {
    "Blues", "Classic Rock", "Country", "Dance", "Disco", "Funk", "Grunge", "Hip-Hop", "Jazz", "Metal",
    "New Age", "Oldies", "Other", "Pop", "R&B", "Rap", "Reggae", "Rock", "Techno", "Industrial",
    "Alternative", "Ska", "Death Metal", "Pranks", "Soundtrack", "Euro-Techno", "Ambient", "Trip-Hop",
    "Vocal", "Jazz Funk", "Fusion", "Trance", "Classical", "Instrumental", "Acid", "House", "Game",
    "Sound Clip", "Gospel", "Noise", "Alternative Rock", "Bass", "Soul", "Punk", "Space", "Meditative",
    "Instrumental Pop", "Instrumental Rock", "Ethnic", "Gothic", "Darkwave", "Techno-Industrial",
    "Electronic", "Pop-Folk", "Eurodance", "Dream", "Southern Rock", "Comedy", "Cult", "Gangsta", "Top 40",
    "Christian Rap", "Pop/Funk", "Jungle", "Native American", "Cabaret", "New Wave", "Psychadelic", "Rave",
    "Showtunes", "Trailer", "Lo-Fi", "Tribal", "Acid Punk", "Acid Jazz", "Polka", "Retro", "Musical",
    "Rock & Roll", "Hard Rock", "Folk", "Folk/Rock", "National Folk", "Swing", "Fast Fusion", "Bebob",
    "Latin", "Revival", "Celtic", "Bluegrass", "Avantgarde", "Gothic Rock", "Progressive Rock",
    "Psychedelic Rock", "Symphonic Rock", "Slow Rock", "Big Band", "Chorus", "Easy Listening", "Acoustic",
    "Humour", "Speech", "Chanson", "Opera", "Chamber Music", "Sonata", "Symphony", "Booty Bass", "Primus",
    "Porn Groove", "Satire", "Slow Jam", "Club", "Tango", "Samba", "Folklore", "Ballad", "Power Ballad",
    "Rhythmic Soul", "Freestyle", "Duet", "Punk Rock", "Drum Solo", "A Capella", "Euro-House", "Dance Hall",
    "Goa", "Drum & Bass", "Club-House", "Hardcore", "Terror", "Indie", "BritPop", "Negerpunk", "Polsk Punk",
    "Beat", "Christian Gangsta Rap", "Heavy Metal", "Black Metal", "Crossover", "Contemporary Christian",
    "Christian Rock", "Merengue", "Salsa", "Thrash Metal", "Anime", "JPop", "Synthpop",
    nullptr,
};

const char* GenreNameFromIndex(int index) {
    return index >= 0 && index < kGenreCount ? kGenreNames[index] : "";
}

int FindGenreIndex(std::string_view name) {
    for (int i = 0; i < kGenreCount; ++i)
        if (text::EqualsNoCase(name, kGenreNames[i])) return i;
    return -1;
}

uint8_t GenreIndexFromName(std::string_view name) {
    const int index = FindGenreIndex(name);
    return index < 0 ? kNoGenre : static_cast<uint8_t>(index);
}

std::string GenreFromTagText(std::string_view text) {
    size_t pos = 0;
    if (!text.empty() && text[0] == '(') pos = 1;
    if (pos >= text.size() || text[pos] < '0' || text[pos] > '9') return std::string(text);
    int value = 0;
    for (; pos < text.size() && text[pos] >= '0' && text[pos] <= '9'; ++pos) {
        value = value * 10 + (text[pos] - '0');
        if (value >= kGenreCount) return "";  // also stops long digit runs from overflowing
    }
    return GenreNameFromIndex(value);
}

}  // namespace tagvera
