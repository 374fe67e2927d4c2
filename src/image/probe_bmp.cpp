// BMP: the file header and the bitmap information header (the 12-byte OS/2 form or any of the
// 40-byte and longer Windows forms). Resolution in pixels per metre, none when zero.
#include <algorithm>
#include <cstdlib>

#include "base/byte_reader.h"
#include "base/error.h"
#include "image/probe.h"
#include "image/probe_checks.h"

namespace tagvera::image {

ImageFacts ProbeBmp(ByteSource& source) {
    if (source.size() < 26) throw Error(TV_E_FAIL, "BMP header truncated");
    const auto head = source.readExact(0, std::min<uint64_t>(source.size(), 14 + 40));
    ByteReader r(head, TV_E_FAIL);
    if (r.u8() != 'B' || r.u8() != 'M') throw Error(TV_E_FAIL, "not a BMP file");
    r.skip(12);
    const uint32_t infoSize = r.u32le();
    ImageFacts facts;
    facts.format = ImageFormat::Bmp;
    uint16_t bits = 0;
    if (infoSize == 12) {
        facts.width = CheckedDimension(r.u16le(), "BMP width");
        facts.height = CheckedDimension(r.u16le(), "BMP height");
        r.skip(2);
        bits = r.u16le();
    } else if (infoSize >= 40 && infoSize <= 0xFFFF) {
        r.require(36, "BMP information header truncated");
        const int32_t width = int32_t(r.u32le());
        const int32_t height = int32_t(r.u32le());
        if (width <= 0) throw Error(TV_E_FAIL, "BMP width is zero or negative");
        facts.width = CheckedDimension(uint32_t(width), "BMP width");
        facts.height = CheckedDimension(std::llabs(int64_t(height)), "BMP height");  // negative: top-down
        r.skip(2);
        bits = r.u16le();
        r.skip(8);  // compression, image size
        const int32_t x = int32_t(r.u32le());
        const int32_t y = int32_t(r.u32le());
        if (x > 0 && y > 0) {
            facts.xDpi = x * kMetresPerInch;
            facts.yDpi = y * kMetresPerInch;
        }
    } else {
        throw Error(TV_E_FAIL, "BMP with an unknown information header");
    }
    if (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24 && bits != 32)
        throw Error(TV_E_FAIL, "BMP with an unsupported bit count");
    facts.bitsPerPixel = bits;
    return facts;
}

}  // namespace tagvera::image
