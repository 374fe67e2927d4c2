// The metadata a recorded file carries at its end: a jukebox block followed by a 12-byte trailer
// ("KMJE", version 1, the block's length, big-endian), wrapped for FLV files in a tag of type 0xFA
// and its previous-tag size so that the file stays an FLV stream, and followed in ".REC" files by
// an ID3v1 tag.
#ifndef TAGVERA_RECORDED_RECORDED_TRAILER_H
#define TAGVERA_RECORDED_RECORDED_TRAILER_H

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/byte_source.h"

namespace tagvera::recorded {

inline constexpr uint32_t kTrailerSize = 12;
inline constexpr uint32_t kFlvTagHeaderSize = 11;
inline constexpr uint8_t kFlvMetadataTagType = 0xFA;

struct TrailerPlace {
    uint64_t blockOffset = 0;  // where the block starts
    uint32_t blockLength = 0;
    uint32_t headerSize = 0;  // the FLV tag header before the block, 0 for ".REC"
    // Where the metadata begins: the block, or the FLV tag header before it.
    uint64_t start() const { return blockOffset - headerSize; }
};

// Where the trailer says the block is; nothing when the file ends in no trailer, or in one whose
// magic, version or length do not fit the file. Throws Error only when a read fails.
std::optional<TrailerPlace> FindTrailer(ByteSource& file, bool flv);

// The block with its trailer, and for FLV its tag header before and its previous-tag size after.
std::vector<uint8_t> RenderTrailer(std::span<const uint8_t> block, bool flv);

// Where new metadata goes and where the media ends: the old metadata's start, else before an
// ID3v1 tag at the end, else the end.
uint64_t MetadataOffset(ByteSource& file, bool flv);

}  // namespace tagvera::recorded

#endif
