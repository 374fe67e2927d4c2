#include "kmedia/trailer.h"

#include <cstring>

#include "base/byte_reader.h"

namespace tagvera::kmedia {

std::optional<TrailerPlace> FindTrailer(ByteSource& file) {
    const uint64_t size = file.size();
    if (size < kTrailerTailSize) return std::nullopt;
    const auto tail = file.readExact(size - kTrailerTailSize, kTrailerTailSize);
    if (std::memcmp(tail.data() + kTrailerFooterSize, "TAG", 3) != 0) return std::nullopt;
    ByteReader in(tail.data(), kTrailerFooterSize);
    if (in.chars(4) != "KMJE" || in.u32be() != 1) return std::nullopt;
    const uint32_t n = in.u32be();
    if (uint64_t(n) + kTrailerTailSize >= size) return std::nullopt;
    TrailerPlace t;
    t.blockSize = n;
    t.blockOffset = size - kTrailerTailSize - n;
    if (t.blockOffset >= 8) {
        const auto head = file.readExact(t.blockOffset - 8, 4);
        t.hasHeader = std::memcmp(head.data(), "KMMD", 4) == 0;
    }
    return t;
}

}  // namespace tagvera::kmedia
