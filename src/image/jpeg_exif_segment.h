// A JPEG's EXIF segment moved from one encoding of a picture to another. GDI+ writes EXIF only by
// encoding the whole picture again, which would cost a JPEG its pixels: the segment it writes is
// put into the original file instead, whose compressed data stays byte for byte.
#ifndef TAGVERA_IMAGE_JPEG_EXIF_SEGMENT_H
#define TAGVERA_IMAGE_JPEG_EXIF_SEGMENT_H

#include <cstdint>
#include <span>
#include <vector>

namespace tagvera::image {

// target with donor's EXIF segment (APP1 "Exif\0\0"): in place of target's own, after a leading
// JFIF segment where target has none, and target's removed where donor has none. A JPEG whose
// segments do not read up to the first scan throws Error with TV_E_FAIL.
std::vector<uint8_t> WithExifSegmentOf(std::span<const uint8_t> target, std::span<const uint8_t> donor);
bool HasExifSegment(std::span<const uint8_t> jpeg);

}  // namespace tagvera::image

#endif
