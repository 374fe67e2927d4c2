#include "image/jpeg_exif_segment.h"

#include <cstring>
#include <optional>

#include "base/error.h"

namespace tagvera::image {
namespace {

// As the probe: every segment costs at least four bytes; real files have a few dozen.
constexpr int kMostSegments = 4096;

struct Segment {
    size_t offset = 0;
    size_t size = 0;  // marker, length and body
};

struct ExifPlace {
    std::optional<Segment> exif;
    size_t insertAt = 2;  // after the start marker, or after a JFIF segment that comes first
};

bool HasNoLength(uint8_t marker) { return marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7); }

ExifPlace FindExif(std::span<const uint8_t> jpeg) {
    if (jpeg.size() < 2 || jpeg[0] != 0xFF || jpeg[1] != 0xD8) throw Error(TV_E_FAIL, "not a JPEG file");
    ExifPlace place;
    size_t pos = 2;
    for (int segments = 0;; ++segments) {
        if (segments > kMostSegments) throw Error(TV_E_FAIL, "JPEG with too many segments");
        if (jpeg.size() - pos < 2) throw Error(TV_E_FAIL, "JPEG ends before its first scan");
        if (jpeg[pos] != 0xFF) throw Error(TV_E_FAIL, "JPEG marker expected");
        const uint8_t marker = jpeg[pos + 1];
        if (marker == 0xFF) {  // fill byte
            ++pos;
            continue;
        }
        if (HasNoLength(marker)) {
            pos += 2;
            continue;
        }
        if (marker == 0xDA || marker == 0xD9) return place;
        if (jpeg.size() - pos < 4) throw Error(TV_E_FAIL, "JPEG ends before its first scan");
        const size_t length = size_t(jpeg[pos + 2]) << 8 | jpeg[pos + 3];
        if (length < 2 || length > jpeg.size() - pos - 2) throw Error(TV_E_FAIL, "JPEG segment length past the end of the file");
        if (marker == 0xE1 && length >= 8 && !place.exif && std::memcmp(&jpeg[pos + 4], "Exif\0\0", 6) == 0)
            place.exif = Segment{pos, length + 2};
        if (marker == 0xE0 && pos == 2) place.insertAt = pos + 2 + length;
        pos += 2 + length;
    }
}

}  // namespace

std::vector<uint8_t> WithExifSegmentOf(std::span<const uint8_t> target, std::span<const uint8_t> donor) {
    const ExifPlace into = FindExif(target);
    const ExifPlace from = FindExif(donor);
    const size_t cut = into.exif ? into.exif->offset : into.insertAt;
    const size_t resume = into.exif ? cut + into.exif->size : cut;
    std::vector<uint8_t> out(target.begin(), target.begin() + cut);
    if (from.exif) out.insert(out.end(), donor.begin() + from.exif->offset, donor.begin() + from.exif->offset + from.exif->size);
    out.insert(out.end(), target.begin() + resume, target.end());
    return out;
}

bool HasExifSegment(std::span<const uint8_t> jpeg) { return FindExif(jpeg).exif.has_value(); }

}  // namespace tagvera::image
