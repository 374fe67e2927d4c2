// The jukebox trailer at the end of a KorvaMedia file: "KMMD" and a count, the block, the footer
// "KMJE" with version 1 and the block's size, then a 128-byte ID3v1 tag.
#ifndef TAGVERA_KMEDIA_TRAILER_H
#define TAGVERA_KMEDIA_TRAILER_H

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/byte_source.h"
#include "tags/id3v1/id3v1_tag.h"

namespace tagvera::kmedia {

inline constexpr uint32_t kTrailerHeaderSize = 8;
inline constexpr uint32_t kTrailerFooterSize = 12;
inline constexpr uint32_t kTrailerTailSize = kTrailerFooterSize + 128;

struct TrailerPlace {
    uint64_t blockOffset = 0;
    uint32_t blockSize = 0;
    bool hasHeader = false;  // "KMMD" stands before the block
};

// Reads the last 140 bytes (and the 8 before the block); nothing when there is no trailer.
std::optional<TrailerPlace> FindTrailer(ByteSource& file);

// Where the metadata at the end of the file begins: at the trailer's "KMMD" (at its block when
// only the footer is there), else at the ID3v1 tag, else at the end. A place before mediaEnd (a
// footer whose count reaches back into the packets, "TAG" bytes of the last object) belongs to
// the media and is passed over, so that replacing the metadata never cuts into it.
uint64_t MetadataAreaStart(ByteSource& file, uint64_t mediaEnd);

// The ID3v1 tag of the metadata area, when it has one.
std::optional<Id3v1Tag> MetadataAreaId3v1(ByteSource& file, uint64_t mediaEnd);

// What follows the media after a write: "KMMD" and the count of bytes from it to the end of the
// file, the block, the footer, the tag.
std::vector<uint8_t> RenderTrailer(std::span<const uint8_t> block, const Id3v1Tag& tag);

}  // namespace tagvera::kmedia

#endif
