#include "image/picture_reader.h"

#include <algorithm>

#include "base/byte_reader.h"
#include "base/error.h"
#include "image/probe.h"
#include "platform/zeroed_memory.h"

namespace tagvera::image {
namespace {

// The headers and metadata of a picture: a file whose metadata alone is larger is not read for
// EXIF (its size, resolution and depth still are).
constexpr uint64_t kMostMetadataBytes = 256u << 20;

// The metadata ranges of the file, one after the other or at their own offsets (the pixel data
// between them left as zero pages that are never touched).
std::vector<uint8_t> Concatenated(ByteSource& file, const ImageFacts& facts, uint64_t total) {
    std::vector<uint8_t> bytes;
    bytes.reserve(size_t(total));
    for (const auto& range : facts.metadata) {
        const auto part = file.readExact(range.offset, size_t(range.length));
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    bytes.insert(bytes.end(), facts.metadataEnd.begin(), facts.metadataEnd.end());
    return bytes;
}

std::vector<ExifItem> ReadExif(ByteSource& file, const ImageFacts& facts) {
    uint64_t total = facts.metadataEnd.size();
    for (const auto& range : facts.metadata) total = CheckedSum(total, range.length, TV_E_FAIL, "metadata size");
    const uint64_t size = std::max(total, facts.metadataLayoutSize);
    if (size > kMostMetadataBytes) throw Error(TV_E_FAIL, "metadata too large");
    if (facts.metadataLayoutSize == 0) return ReadExifItems(Concatenated(file, facts, total));
    const platform::ZeroedMemory laidOut{size_t(size)};
    const std::span<uint8_t> bytes = laidOut.bytes();
    for (const auto& range : facts.metadata)
        if (file.readAt(range.offset, bytes.subspan(size_t(range.offset), size_t(range.length))) != range.length)
            throw Error(TV_E_FAIL, "metadata cut short");
    return ReadExifItems(bytes);
}

}  // namespace

Picture ReadPicture(ByteSource& file) {
    Picture picture;
    picture.facts = ProbeImage(file);
    if (picture.facts.metadata.empty()) return picture;
    try {
        picture.exif = ReadExif(file, picture.facts);
    } catch (const Error&) {
        // A damaged EXIF block leaves the figures, which the probe has already checked.
    }
    return picture;
}

}  // namespace tagvera::image
