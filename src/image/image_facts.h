// What the header probe learns of a still image: the figures a host shows and where the
// metadata sits, so that EXIF can be read without the pixel data.
#ifndef TAGVERA_IMAGE_IMAGE_FACTS_H
#define TAGVERA_IMAGE_IMAGE_FACTS_H

#include <cstdint>
#include <vector>

namespace tagvera::image {

enum class ImageFormat { Jpeg, Png, Gif, Bmp, Tiff };

// The resolution a host shows for a format that stores none.
inline constexpr double kDefaultDpi = 96.0;

struct ByteRange {
    uint64_t offset = 0;
    uint64_t length = 0;
};

struct ImageFacts {
    ImageFormat format = ImageFormat::Jpeg;
    uint32_t width = 0;
    uint32_t height = 0;
    double xDpi = kDefaultDpi;
    double yDpi = kDefaultDpi;
    uint32_t bitsPerPixel = 0;
    // The file without its pixel data, as ranges plus bytes that close it (a JPEG's end marker):
    // enough for an EXIF reader. Empty where the format holds no EXIF.
    std::vector<ByteRange> metadata;
    std::vector<uint8_t> metadataEnd;
    // Non-zero where the metadata points into the file by offset (TIFF): the ranges then stay at
    // their offsets in a buffer of this size, the pixel data between them left zero.
    uint64_t metadataLayoutSize = 0;
};

inline const char* FormatName(ImageFormat format) {
    switch (format) {
    case ImageFormat::Jpeg: return "JPEG";
    case ImageFormat::Png: return "PNG";
    case ImageFormat::Gif: return "GIF";
    case ImageFormat::Bmp: return "BMP";
    case ImageFormat::Tiff: return "TIFF";
    }
    return "image";
}

}  // namespace tagvera::image

#endif
