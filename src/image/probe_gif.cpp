// GIF: the logical screen is the picture's size; every GIF is shown through an 8-bit palette and
// stores no resolution.
#include <cstring>

#include "base/error.h"
#include "image/probe.h"
#include "image/probe_checks.h"

namespace tagvera::image {

ImageFacts ProbeGif(ByteSource& source) {
    if (source.size() < 13) throw Error(TV_E_FAIL, "GIF header truncated");
    const auto head = source.readExact(0, 13);
    if (std::memcmp(head.data(), "GIF87a", 6) != 0 && std::memcmp(head.data(), "GIF89a", 6) != 0)
        throw Error(TV_E_FAIL, "not a GIF file");
    ImageFacts facts;
    facts.format = ImageFormat::Gif;
    facts.width = CheckedDimension(uint32_t(head[7]) << 8 | head[6], "GIF width");
    facts.height = CheckedDimension(uint32_t(head[9]) << 8 | head[8], "GIF height");
    facts.bitsPerPixel = 8;
    return facts;
}

}  // namespace tagvera::image
