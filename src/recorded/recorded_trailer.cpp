#include "recorded/recorded_trailer.h"

#include <cstring>

#include "tags/id3v1/id3v1_tag.h"

namespace tagvera::recorded {
namespace {

constexpr uint8_t kMagic[] = {'K', 'M', 'J', 'E'};
constexpr uint32_t kVersion = 1;

uint32_t U32be(std::span<const uint8_t> bytes, size_t at) {
    return uint32_t(bytes[at]) << 24 | uint32_t(bytes[at + 1]) << 16 | uint32_t(bytes[at + 2]) << 8 | bytes[at + 3];
}

void PutBe(std::vector<uint8_t>& out, uint32_t value, int bytes) {
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) out.push_back(uint8_t(value >> shift));
}

}  // namespace

std::optional<TrailerPlace> FindTrailer(ByteSource& file, bool flv) {
    const uint64_t size = file.size();
    uint64_t behind = 0;
    uint32_t headerSize = 0;
    if (size >= kId3v1Size && EndsWithId3v1Tag(file)) {
        behind = kId3v1Size;
    } else if (flv && size >= 4) {
        const uint32_t previousTag = U32be(file.readExact(size - 4, 4), 0);
        if (uint64_t(previousTag) + 4 >= size) return std::nullopt;
        if (file.readExact(size - 4 - previousTag, 1)[0] != kFlvMetadataTagType) return std::nullopt;
        behind = 4;
        headerSize = kFlvTagHeaderSize;
    } else {
        return std::nullopt;
    }
    if (size < behind + kTrailerSize) return std::nullopt;
    const auto trailer = file.readExact(size - behind - kTrailerSize, kTrailerSize);
    if (std::memcmp(trailer.data(), kMagic, sizeof kMagic) != 0 || U32be(trailer, 4) != kVersion) return std::nullopt;
    const uint32_t length = U32be(trailer, 8);
    // The block, its header and all behind it must leave something of the file before them.
    if (behind + kTrailerSize + uint64_t(length) + headerSize >= size) return std::nullopt;
    return TrailerPlace{size - behind - kTrailerSize - length, length, headerSize};
}

std::vector<uint8_t> RenderTrailer(std::span<const uint8_t> block, bool flv) {
    const uint32_t length = uint32_t(block.size());
    std::vector<uint8_t> out;
    out.reserve(block.size() + kTrailerSize + (flv ? kFlvTagHeaderSize + 4 : 0));
    if (flv) {
        out.push_back(kFlvMetadataTagType);
        PutBe(out, length + kTrailerSize, 3);  // data size
        PutBe(out, 0, 3);                      // timestamp
        PutBe(out, 0, 1);                      // extended timestamp
        PutBe(out, 0, 3);                      // stream id
    }
    out.insert(out.end(), block.begin(), block.end());
    out.insert(out.end(), std::begin(kMagic), std::end(kMagic));
    PutBe(out, kVersion, 4);
    PutBe(out, length, 4);
    if (flv) PutBe(out, kFlvTagHeaderSize + length + kTrailerSize, 4);
    return out;
}

uint64_t MetadataOffset(ByteSource& file, bool flv) {
    if (const auto place = FindTrailer(file, flv)) return place->start();
    const uint64_t size = file.size();
    return size >= kId3v1Size && EndsWithId3v1Tag(file) ? size - kId3v1Size : size;
}

}  // namespace tagvera::recorded
