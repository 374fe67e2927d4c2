// JPEG: the segments before the first scan. The frame header gives size and components; the
// resolution comes from the JFIF density when it has a unit, else from the EXIF block.
#include <cstring>

#include "base/error.h"
#include "image/probe.h"
#include "image/probe_checks.h"
#include "image/tiff_ifd.h"

namespace tagvera::image {
namespace {

// Every segment costs at least four bytes; real files have a few dozen before the scan.
constexpr int kMostSegments = 4096;

bool IsFrameHeader(uint8_t marker) {
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

bool HasNoLength(uint8_t marker) { return marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7); }

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
    const uint64_t size = source.size();
    const auto soi = source.readExact(0, 2);
    if (soi[0] != 0xFF || soi[1] != 0xD8) throw Error(TV_E_FAIL, "not a JPEG file");
    ImageFacts facts;
    facts.format = ImageFormat::Jpeg;
    std::optional<Dpi> jfif;
    std::optional<Dpi> exif;
    bool frame = false;
    uint64_t pos = 2;
    for (int segments = 0;; ++segments) {
        if (segments > kMostSegments) throw Error(TV_E_FAIL, "JPEG with too many segments");
        const auto mark = source.readExact(pos, 2, TV_E_FAIL);
        if (mark[0] != 0xFF) throw Error(TV_E_FAIL, "JPEG marker expected");
        const uint8_t marker = mark[1];
        if (marker == 0xFF) {  // fill byte
            ++pos;
            continue;
        }
        if (HasNoLength(marker)) {
            pos += 2;
            continue;
        }
        if (marker == 0xD9) throw Error(TV_E_FAIL, "JPEG ends before its first scan");
        if (marker == 0xDA) {
            if (!frame) throw Error(TV_E_FAIL, "JPEG scan before any frame header");
            facts.metadata = {{0, pos}};
            facts.metadataEnd = {0xFF, 0xD9};
            break;
        }
        const auto lengthBytes = source.readExact(pos + 2, 2);
        const uint32_t length = uint32_t(lengthBytes[0]) << 8 | lengthBytes[1];
        if (length < 2 || length > size - pos - 2) throw Error(TV_E_FAIL, "JPEG segment length past the end of the file");
        const uint64_t body = pos + 4;
        const uint32_t bodyLength = length - 2;
        if (IsFrameHeader(marker) && !frame) {
            if (bodyLength < 6) throw Error(TV_E_FAIL, "JPEG frame header truncated");
            const auto sof = source.readExact(body, 6);
            facts.height = CheckedDimension(uint32_t(sof[1]) << 8 | sof[2], "JPEG height");
            facts.width = CheckedDimension(uint32_t(sof[3]) << 8 | sof[4], "JPEG width");
            facts.bitsPerPixel = BitsOfComponents(sof[5]);
            frame = true;
        } else if (marker == 0xE0 && bodyLength >= 12 && !jfif) {
            const auto app = source.readExact(body, 12);
            if (std::memcmp(app.data(), "JFIF\0", 5) == 0 && (app[7] == 1 || app[7] == 2)) {
                const double scale = app[7] == 2 ? kCentimetresPerInch : 1.0;
                const double x = uint32_t(app[8]) << 8 | app[9];
                const double y = uint32_t(app[10]) << 8 | app[11];
                if (x > 0 && y > 0) jfif = Dpi{x * scale, y * scale};
            }
        } else if (marker == 0xE1 && bodyLength > 6 && !exif) {
            const auto id = source.readExact(body, 6);
            if (std::memcmp(id.data(), "Exif\0\0", 6) == 0) {
                try {
                    exif = TiffDpi(TiffIfd0(source, body + 6, bodyLength - 6));
                } catch (const Error&) {
                    // A damaged EXIF block leaves the picture readable, at the default resolution.
                }
            }
        }
        pos = body + bodyLength;
    }
    if (const auto dpi = jfif ? jfif : exif) {
        facts.xDpi = dpi->x;
        facts.yDpi = dpi->y;
    }
    return facts;
}

}  // namespace tagvera::image
