// EXIF items of an image in memory, read and written through exiv2 (on Windows through GDI+,
// exif_io_windows.cpp). Whatever goes wrong comes out of here as Error with TV_E_FAIL and the
// reason, a value that does not fit its type as TV_E_INVALIDARG.
#ifndef TAGVERA_IMAGE_EXIF_IO_H
#define TAGVERA_IMAGE_EXIF_IO_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tagvera::image {

// One item of the main directory or the EXIF directory (thumbnail, GPS and interoperability
// items have tags of their own and are left out). The value is little-endian, as hosts get it.
struct ExifItem {
    uint16_t tag = 0;
    uint16_t type = 0;
    std::vector<uint8_t> value;
};

std::vector<ExifItem> ReadExifItems(std::span<const uint8_t> image);

// A change to one item: removal, or a new value of the given item type.
struct ExifEdit {
    uint16_t tag = 0;
    uint16_t type = 0;
    bool remove = false;
    // Exactly one of these says the new value: text (ASCII, or a number or fraction as written),
    // or raw little-endian bytes of the type.
    bool fromText = false;
    std::string text;
    std::vector<uint8_t> bytes;
};

// The image with the edits applied to its EXIF; every other byte exiv2 keeps (compressed image
// data, other metadata). GDI+ keeps a JPEG's compressed data but encodes a PNG or TIFF anew. The bytes are taken over: an edit that fits, exiv2 makes in the buffer
// it was given (TIFF), so a caller's copy would change under it.
std::vector<uint8_t> ApplyExifEdits(std::vector<uint8_t> image, std::span<const ExifEdit> edits);

}  // namespace tagvera::image

#endif
