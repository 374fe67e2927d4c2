// PNG: the header chunk gives size and pixel layout, pHYs the resolution when its unit is the
// metre. Every chunk but the pixel data belongs to the metadata an EXIF reader is given.
#include <cstring>

#include "base/error.h"
#include "image/probe.h"
#include "image/probe_checks.h"

namespace tagvera::image {
namespace {

constexpr uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

uint32_t Be32(const uint8_t* p) { return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3]; }

bool IsPixelData(const uint8_t* type) { return std::memcmp(type, "IDAT", 4) == 0 || std::memcmp(type, "fdAT", 4) == 0; }

// Bits per pixel of the format the picture is shown in: palettes of 2 bits widen to 4, a
// transparent colour in a grey or RGB picture makes it one with alpha.
uint32_t BitsPerPixel(uint8_t depth, uint8_t colourType, bool transparency) {
    const bool wide = depth == 16;
    switch (colourType) {
    case 0:
        if (depth != 1 && depth != 2 && depth != 4 && depth != 8 && depth != 16) break;
        if (transparency) return wide ? 64 : 32;
        return depth == 2 ? 4 : depth;
    case 2:
        if (depth != 8 && depth != 16) break;
        if (transparency) return wide ? 64 : 32;
        return wide ? 48 : 24;
    case 3:
        if (depth != 1 && depth != 2 && depth != 4 && depth != 8) break;
        return depth == 2 ? 4 : depth;
    case 4:
    case 6:
        if (depth != 8 && depth != 16) break;
        return wide ? 64 : 32;
    default:
        break;
    }
    throw Error(TV_E_FAIL, "PNG with an invalid bit depth or colour type");
}

}  // namespace

ImageFacts ProbePng(ByteSource& source) {
    const uint64_t size = source.size();
    const auto signature = source.readExact(0, 8);
    if (std::memcmp(signature.data(), kSignature, 8) != 0) throw Error(TV_E_FAIL, "not a PNG file");
    ImageFacts facts;
    facts.format = ImageFormat::Png;
    facts.metadata.push_back({0, 8});
    uint8_t depth = 0;
    uint8_t colourType = 0;
    bool header = false;
    bool transparency = false;
    uint64_t pos = 8;
    while (true) {
        if (size - pos < 12) throw Error(TV_E_FAIL, "PNG ends without its end chunk");
        const auto head = source.readExact(pos, 8);
        const uint32_t length = Be32(head.data());
        const uint8_t* type = head.data() + 4;
        if (length > 0x7FFFFFFFu || length > size - pos - 12) throw Error(TV_E_FAIL, "PNG chunk length past the end of the file");
        if (!header) {
            if (std::memcmp(type, "IHDR", 4) != 0 || length != 13) throw Error(TV_E_FAIL, "PNG does not begin with its header chunk");
            const auto ihdr = source.readExact(pos + 8, 13);
            facts.width = CheckedDimension(Be32(&ihdr[0]), "PNG width");
            facts.height = CheckedDimension(Be32(&ihdr[4]), "PNG height");
            depth = ihdr[8];
            colourType = ihdr[9];
            header = true;
        } else if (std::memcmp(type, "pHYs", 4) == 0 && length == 9) {
            const auto phys = source.readExact(pos + 8, 9);
            const uint32_t x = Be32(&phys[0]);
            const uint32_t y = Be32(&phys[4]);
            if (phys[8] == 1 && x > 0 && y > 0) {
                facts.xDpi = x * kMetresPerInch;
                facts.yDpi = y * kMetresPerInch;
            }
        } else if (std::memcmp(type, "tRNS", 4) == 0) {
            transparency = true;
        }
        if (!IsPixelData(type)) {
            ByteRange& last = facts.metadata.back();
            if (last.offset + last.length == pos) last.length += length + 12;
            else facts.metadata.push_back({pos, uint64_t(length) + 12});
        }
        pos += uint64_t(length) + 12;
        if (std::memcmp(type, "IEND", 4) == 0) break;
    }
    facts.bitsPerPixel = BitsPerPixel(depth, colourType, transparency && colourType != 3);
    return facts;
}

}  // namespace tagvera::image
