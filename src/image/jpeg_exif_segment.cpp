#include "image/jpeg_exif_segment.h"

#include <cstring>
#include <optional>

#include "base/byte_source.h"
#include "image/jpeg_segments.h"

namespace tagvera::image {
namespace {

struct ExifPlace {
    std::optional<JpegSegment> exif;
    size_t insertAt = 2;  // after the start marker, or after a JFIF segment that comes first
};

ExifPlace FindExif(std::span<const uint8_t> jpeg) {
    MemorySource source(jpeg);
    ExifPlace place;
    WalkJpegSegments(source, [&](const JpegSegment& s) {
        if (s.marker == 0xE1 && s.bodyLength >= 6 && !place.exif && std::memcmp(&jpeg[s.body()], "Exif\0\0", 6) == 0)
            place.exif = s;
        if (s.marker == 0xE0 && s.offset == 2) place.insertAt = static_cast<size_t>(s.end());
    });
    return place;
}

}  // namespace

std::vector<uint8_t> WithExifSegmentOf(std::span<const uint8_t> target, std::span<const uint8_t> donor) {
    const ExifPlace into = FindExif(target);
    const ExifPlace from = FindExif(donor);
    const size_t cut = into.exif ? static_cast<size_t>(into.exif->offset) : into.insertAt;
    const size_t resume = into.exif ? static_cast<size_t>(into.exif->end()) : cut;
    std::vector<uint8_t> out(target.begin(), target.begin() + cut);
    if (from.exif)
        out.insert(out.end(), donor.begin() + static_cast<ptrdiff_t>(from.exif->offset),
                   donor.begin() + static_cast<ptrdiff_t>(from.exif->end()));
    out.insert(out.end(), target.begin() + resume, target.end());
    return out;
}

bool HasExifSegment(std::span<const uint8_t> jpeg) { return FindExif(jpeg).exif.has_value(); }

}  // namespace tagvera::image
