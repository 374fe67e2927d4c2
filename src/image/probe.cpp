#include "image/probe.h"

#include <algorithm>
#include <cstring>

#include "base/error.h"

namespace tagvera::image {

ImageFacts ProbeImage(ByteSource& source) {
    uint8_t magic[4] = {};
    const size_t got = source.readAt(0, magic);
    if (got >= 2 && magic[0] == 0xFF && magic[1] == 0xD8) return ProbeJpeg(source);
    if (got >= 4 && magic[0] == 0x89 && std::memcmp(magic + 1, "PNG", 3) == 0) return ProbePng(source);
    if (got >= 3 && std::memcmp(magic, "GIF", 3) == 0) return ProbeGif(source);
    if (got >= 2 && magic[0] == 'B' && magic[1] == 'M') return ProbeBmp(source);
    if (got >= 4 && (std::memcmp(magic, "II*\0", 4) == 0 || std::memcmp(magic, "MM\0*", 4) == 0)) return ProbeTiff(source);
    throw Error(TV_E_FAIL, "not a JPEG, PNG, GIF, BMP or TIFF image");
}

}  // namespace tagvera::image
