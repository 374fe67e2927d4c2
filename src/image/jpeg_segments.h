// The segments of a JPEG file before its first scan, walked one way for the probe and the EXIF
// splice: fill bytes skipped, markers without a length passed over, every length checked against
// the file, and the count bounded (each segment costs at least four bytes; real files have a few
// dozen).
#ifndef TAGVERA_IMAGE_JPEG_SEGMENTS_H
#define TAGVERA_IMAGE_JPEG_SEGMENTS_H

#include <cstdint>

#include "base/byte_source.h"
#include "base/error.h"

namespace tagvera::image {

struct JpegSegment {
    uint8_t marker = 0;
    uint64_t offset = 0;  // of its 0xFF
    uint32_t bodyLength = 0;  // what follows the two length bytes
    uint64_t body() const { return offset + 4; }
    uint64_t end() const { return body() + bodyLength; }
};

// Where the walk stopped: a start of scan (0xDA) or an end of image (0xD9), at offset.
struct JpegStop {
    uint8_t marker = 0;
    uint64_t offset = 0;
};

// Calls visit(const JpegSegment&) for every segment with a length, in order, and returns the
// marker that ended them. Error for a file that is no JPEG or ends or breaks before either.
template <class Visit>
JpegStop WalkJpegSegments(ByteSource& source, Visit visit) {
    constexpr int kMostSegments = 4096;
    const uint64_t size = source.size();
    const auto soi = source.readExact(0, 2);
    if (soi[0] != 0xFF || soi[1] != 0xD8) throw Error(TV_E_FAIL, "not a JPEG file");
    uint64_t pos = 2;
    for (int segments = 0;; ++segments) {
        if (segments > kMostSegments) throw Error(TV_E_FAIL, "JPEG with too many segments");
        if (size - pos < 2) throw Error(TV_E_FAIL, "JPEG ends before its first scan");
        const auto mark = source.readExact(pos, 2);
        if (mark[0] != 0xFF) throw Error(TV_E_FAIL, "JPEG marker expected");
        const uint8_t marker = mark[1];
        if (marker == 0xFF) {  // fill byte
            ++pos;
            continue;
        }
        if (marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7)) {  // no length
            pos += 2;
            continue;
        }
        if (marker == 0xDA || marker == 0xD9) return {marker, pos};
        if (size - pos < 4) throw Error(TV_E_FAIL, "JPEG ends before its first scan");
        const auto lengthBytes = source.readExact(pos + 2, 2);
        const uint32_t length = uint32_t(lengthBytes[0]) << 8 | lengthBytes[1];
        if (length < 2 || length > size - pos - 2) throw Error(TV_E_FAIL, "JPEG segment length past the end of the file");
        const JpegSegment segment{marker, pos, length - 2};
        visit(segment);
        pos = segment.end();
    }
}

}  // namespace tagvera::image

#endif
