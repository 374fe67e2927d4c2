// The one thing the adapter asks of the ID3 tag library: hand it a rendered v2.3 tag, let it
// render the tag again, and read back what came out. Two implementations give the same answer:
// id3lib 3.8.3 itself, where it is found, and our rules of what it does, where it is not (Windows).
#ifndef TAGVERA_TAGS_ID3V2_ID3LIB_ROUND_TRIP_H
#define TAGVERA_TAGS_ID3V2_ID3LIB_ROUND_TRIP_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "tags/id3v2/tag.h"

namespace tagvera::id3v2 {

struct LibraryRoundTrip {
    std::vector<Frame> frames;  // what the library rendered, in its order, as v2.3 frames
    size_t held = 0;            // frames it holds, with those it keeps but never renders
    // Our rules only: bytes they do not cover, where their answer is theirs alone: what id3lib
    // 3.8.3 reads as a frame header from inside a damaged frame (where it may crash), an odd byte
    // in a two-byte people list (where it never returns), and text in UTF-16BE or UTF-8, which a
    // v2.3 tag cannot have. Frames our layer normalised never have any of these.
    bool uncovered = false;
};

// Through id3lib; throws Error for anything the library throws. Built only where id3lib is found.
LibraryRoundTrip Id3libRoundTrip(std::span<const uint8_t> tag);
// Through our rules of what id3lib 3.8.3 does (id3lib_rules.cpp). Never throws for any bytes.
LibraryRoundTrip Id3libRulesRoundTrip(std::span<const uint8_t> tag);

using LibraryRoundTripFn = LibraryRoundTrip (*)(std::span<const uint8_t> tag);

// The one this build uses.
inline LibraryRoundTrip LibraryRoundTripOf(std::span<const uint8_t> tag) {
#if defined(TAGVERA_ID3LIB_RULES)
    return Id3libRulesRoundTrip(tag);
#else
    return Id3libRoundTrip(tag);
#endif
}

}  // namespace tagvera::id3v2

#endif
