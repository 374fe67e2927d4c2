// JPEG: the segments before the first scan. The frame header gives size and components; the
// resolution comes from the JFIF density when it has a unit, else from the EXIF block.
#include <cstring>

#include "base/error.h"
#include "image/jpeg_segments.h"
#include "image/probe.h"
#include "image/probe_checks.h"
#include "image/tiff_ifd.h"

namespace tagvera::image {
namespace {

bool IsFrameHeader(uint8_t marker) {
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

uint32_t BitsOfComponents(uint8_t components) {
    switch (components) {
    case 1: return 8;   // grey, shown through a palette
    case 3: return 24;  // YCbCr or RGB
    case 4: return 32;  // CMYK or YCCK
    default: throw Error(TV_E_FAIL, "JPEG frame with an unsupported number of components");
    }
}

}  // namespace

ImageFacts ProbeJpeg(ByteSource& source) {
    ImageFacts facts;
    facts.format = ImageFormat::Jpeg;
    std::optional<Dpi> jfif;
    std::optional<Dpi> exif;
    bool frame = false;
    const JpegStop stop = WalkJpegSegments(source, [&](const JpegSegment& s) {
        if (IsFrameHeader(s.marker) && !frame) {
            if (s.bodyLength < 6) throw Error(TV_E_FAIL, "JPEG frame header truncated");
            const auto sof = source.readExact(s.body(), 6);
            facts.height = CheckedDimension(uint32_t(sof[1]) << 8 | sof[2], "JPEG height");
            facts.width = CheckedDimension(uint32_t(sof[3]) << 8 | sof[4], "JPEG width");
            facts.bitsPerPixel = BitsOfComponents(sof[5]);
            frame = true;
        } else if (s.marker == 0xE0 && s.bodyLength >= 12 && !jfif) {
            const auto app = source.readExact(s.body(), 12);
            if (std::memcmp(app.data(), "JFIF\0", 5) == 0 && (app[7] == 1 || app[7] == 2)) {
                const double scale = app[7] == 2 ? kCentimetresPerInch : 1.0;
                const double x = uint32_t(app[8]) << 8 | app[9];
                const double y = uint32_t(app[10]) << 8 | app[11];
                if (x > 0 && y > 0) jfif = Dpi{x * scale, y * scale};
            }
        } else if (s.marker == 0xE1 && s.bodyLength > 6 && !exif) {
            const auto id = source.readExact(s.body(), 6);
            if (std::memcmp(id.data(), "Exif\0\0", 6) == 0) {
                try {
                    exif = TiffDpi(TiffIfd0(source, s.body() + 6, s.bodyLength - 6));
                } catch (const Error&) {
                    // A damaged EXIF block leaves the picture readable, at the default resolution.
                }
            }
        }
    });
    if (stop.marker == 0xD9) throw Error(TV_E_FAIL, "JPEG ends before its first scan");
    if (!frame) throw Error(TV_E_FAIL, "JPEG scan before any frame header");
    facts.metadata = {{0, stop.offset}};
    facts.metadataEnd = {0xFF, 0xD9};
    if (const auto dpi = jfif ? jfif : exif) {
        facts.xDpi = dpi->x;
        facts.yDpi = dpi->y;
    }
    return facts;
}

}  // namespace tagvera::image
