// The jukebox trailer at the end of a KorvaMedia file: "KMMD" and a count, the block, the footer
// "KMJE" with version 1 and the block's size, then a 128-byte ID3v1 tag.
#ifndef TAGVERA_KMEDIA_TRAILER_H
#define TAGVERA_KMEDIA_TRAILER_H

#include <cstdint>
#include <optional>

#include "base/byte_source.h"

namespace tagvera::kmedia {

inline constexpr uint32_t kTrailerFooterSize = 12;
inline constexpr uint32_t kTrailerTailSize = kTrailerFooterSize + 128;

struct TrailerPlace {
    uint64_t blockOffset = 0;
    uint32_t blockSize = 0;
    bool hasHeader = false;  // "KMMD" stands before the block
};

// Reads the last 140 bytes (and the 8 before the block); nothing when there is no trailer.
std::optional<TrailerPlace> FindTrailer(ByteSource& file);

}  // namespace tagvera::kmedia

#endif
