// How the MP3 importer reads a file: its two ends once, for every reader (the ID3v2 tag, the
// audio scan, the ID3v1 merge), and the audio after the tag once. A constant-bit-rate file costs
// its tags, the 64 KB analysis window and the last few bytes.
#ifndef TAGVERA_MP3_MP3_READ_PLAN_H
#define TAGVERA_MP3_MP3_READ_PLAN_H

#include <cstddef>

#include "tags/id3v1/lyrics3.h"
#include "tags/id3v1/id3v1_tag.h"

namespace tagvera {

// The head holds a typical tag and the start of the audio after it.
inline constexpr size_t kMp3HeadProbe = 16 * 1024;
// The tail holds an ID3v1 tag with the Lyrics3 trailer in front of it (and an ID3v2 footer,
// which lies inside those bytes).
inline constexpr size_t kMp3TailProbe = kId3v1Size + kLyrics3v2TrailerSize;

}  // namespace tagvera

#endif
