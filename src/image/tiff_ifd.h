// The first directory of a TIFF structure (a TIFF file, or the EXIF block of a JPEG): the few
// entries the probe needs, read from a bounded slice of a source without trusting any offset.
#ifndef TAGVERA_IMAGE_TIFF_IFD_H
#define TAGVERA_IMAGE_TIFF_IFD_H

#include <cstdint>
#include <optional>
#include <vector>

#include "base/byte_source.h"

namespace tagvera::image {

struct TiffEntry {
    uint16_t tag = 0;
    uint16_t type = 0;
    uint32_t count = 0;
    uint8_t field[4] = {};  // the value when it fits, else its offset
};

class TiffIfd0 {
public:
    // The structure occupies [base, base + length) of source; offsets in it count from base.
    TiffIfd0(ByteSource& source, uint64_t base, uint64_t length);

    const TiffEntry* find(uint16_t tag) const;
    // The first value of a SHORT or LONG entry.
    std::optional<uint32_t> number(uint16_t tag) const;
    // Up to max SHORT values (BitsPerSample has one per sample).
    std::vector<uint16_t> shorts(uint16_t tag, size_t max) const;
    // Up to max SHORT or LONG values (strip offsets); empty when absent or more.
    std::vector<uint32_t> numbers(uint16_t tag, size_t max) const;
    // A RATIONAL entry as a number; nullopt when absent or its denominator is zero.
    std::optional<double> rational(uint16_t tag) const;

private:
    uint16_t u16(const uint8_t* p) const;
    uint32_t u32(const uint8_t* p) const;
    std::vector<uint8_t> valueBytes(const TiffEntry& entry, size_t size) const;

    ByteSource& source_;
    uint64_t base_;
    uint64_t length_;
    bool bigEndian_ = false;
    std::vector<TiffEntry> entries_;
};

// XResolution and YResolution in dots per inch (ResolutionUnit 3 is centimetres; 1, no unit, is
// taken as it stands); nullopt when either is missing or unusable.
struct Dpi {
    double x = 0;
    double y = 0;
};
std::optional<Dpi> TiffDpi(const TiffIfd0& ifd);

}  // namespace tagvera::image

#endif
