#include "kmedia/trailer.h"

#include <cstring>

#include "base/byte_reader.h"
#include "base/error.h"
#include "kmedia/be_writer.h"

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
    if (t.blockOffset >= kTrailerHeaderSize) {
        const auto head = file.readExact(t.blockOffset - kTrailerHeaderSize, 4);
        t.hasHeader = std::memcmp(head.data(), "KMMD", 4) == 0;
    }
    return t;
}

namespace {

// An ID3v1 tag at the end counts only where it cannot be the last bytes of the media.
bool TagAfterMedia(uint64_t size, uint64_t mediaEnd) { return size >= kId3v1Size && size - kId3v1Size >= mediaEnd; }

}  // namespace

uint64_t MetadataAreaStart(ByteSource& file, uint64_t mediaEnd) {
    const uint64_t size = file.size();
    if (const auto trailer = FindTrailer(file)) {
        const uint64_t start = trailer->hasHeader ? trailer->blockOffset - kTrailerHeaderSize : trailer->blockOffset;
        if (start >= mediaEnd) return start;
    }
    if (TagAfterMedia(size, mediaEnd) && EndsWithId3v1Tag(file)) return size - kId3v1Size;
    return size;
}

std::optional<Id3v1Tag> MetadataAreaId3v1(ByteSource& file, uint64_t mediaEnd) {
    Id3v1Tag tag;
    if (!TagAfterMedia(file.size(), mediaEnd) || Failed(ReadId3v1Tag(file, &tag))) return std::nullopt;
    return tag;
}

std::vector<uint8_t> RenderTrailer(std::span<const uint8_t> block, const Id3v1Tag& tag) {
    const uint64_t total = uint64_t(kTrailerHeaderSize) + block.size() + kTrailerTailSize;
    if (total > UINT32_MAX) throw Error(TV_E_FAIL, "a jukebox block of 4 GB does not fit a trailer");
    std::vector<uint8_t> out;
    out.reserve(static_cast<size_t>(total));
    BeWriter w(out);
    w.chars("KMMD");
    w.u32(static_cast<uint32_t>(total));
    w.bytes(block);
    w.chars("KMJE");
    w.u32(1);
    w.u32(static_cast<uint32_t>(block.size()));
    w.bytes(tag.bytes);
    return out;
}

}  // namespace tagvera::kmedia
