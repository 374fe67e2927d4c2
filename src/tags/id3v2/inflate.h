// zlib inflate of compressed frames, never producing more than a given bound.
#ifndef TAGVERA_TAGS_ID3V2_INFLATE_H
#define TAGVERA_TAGS_ID3V2_INFLATE_H

#include <cstdint>
#include <span>
#include <vector>

namespace tagvera::id3v2 {

// Throws Error when the data is not a complete zlib stream or inflates past maxSize.
std::vector<uint8_t> InflateBounded(std::span<const uint8_t> compressed, size_t maxSize);
// zlib stream of bytes (for the tests and writers that build compressed frames).
std::vector<uint8_t> Deflate(std::span<const uint8_t> bytes);

}  // namespace tagvera::id3v2

#endif
