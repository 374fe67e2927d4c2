// A picture held by GDI+ (Windows only), loaded from a copy of its bytes in memory, never from
// its file: GDI+ keeps a file it loaded open as long as the image lives, which would stand in the
// way of replacing that file. Every GDI+ failure throws Error with TV_E_FAIL and the call's name.
#ifndef TAGVERA_IMAGE_GDIPLUS_PICTURE_H
#define TAGVERA_IMAGE_GDIPLUS_PICTURE_H

#include <windows.h>
#include <objidl.h>
#include <gdiplus.h>

#include <memory>
#include <vector>

#include "base/byte_source.h"
#include "image/exif_io.h"
#include "image/image_facts.h"

namespace tagvera::image {

// One GDI+ start-up, shut down when it goes.
class GdiplusSession {
public:
    GdiplusSession();
    ~GdiplusSession();
    GdiplusSession(const GdiplusSession&) = delete;
    GdiplusSession& operator=(const GdiplusSession&) = delete;

private:
    ULONG_PTR token_ = 0;
};

class GdiplusPicture {
public:
    explicit GdiplusPicture(ByteSource& source);
    ~GdiplusPicture();
    GdiplusPicture(const GdiplusPicture&) = delete;
    GdiplusPicture& operator=(const GdiplusPicture&) = delete;

    // Format, size, resolution and bits per pixel; a figure GDI+ does not give is 0.
    ImageFacts facts() const;
    // Every property item of the picture, values as GDI+ hands them (little-endian).
    std::vector<ExifItem> items() const;
    void setItem(uint16_t tag, uint16_t type, std::vector<uint8_t> value);
    void removeItem(uint16_t tag);
    // The picture as the encoder of its own format writes it, items included.
    std::vector<uint8_t> saved() const;
    // The decoded pixels, rows one after the other, in the picture's own pixel format.
    std::vector<uint8_t> pixels() const;

private:
    struct ReleaseStream {
        void operator()(IStream* stream) const { stream->Release(); }
    };
    struct DisposeImage {
        void operator()(Gdiplus::GpImage* image) const { Gdiplus::DllExports::GdipDisposeImage(image); }
    };
    // Declared in the order they are made: the image goes first, GDI+ last.
    GdiplusSession session_;
    std::unique_ptr<IStream, ReleaseStream> stream_;
    std::unique_ptr<Gdiplus::GpImage, DisposeImage> image_;
};

}  // namespace tagvera::image

#endif
