#include "image/gdiplus_picture.h"

#include <cstring>
#include <cwchar>
#include <new>
#include <string>

#include "base/error.h"

namespace tagvera::image {
namespace {

namespace flat = Gdiplus::DllExports;

// GDI+ holds the whole file in memory; pictures beyond this are refused, not half loaded.
constexpr uint64_t kMostPictureBytes = 512u << 20;

void Check(Gdiplus::GpStatus status, const char* call) {
    // GDI+ answers OutOfMemory for files it cannot decode too, so every status is the file's failure.
    if (status != Gdiplus::Ok) throw Error(TV_E_FAIL, std::string(call) + " failed with GDI+ status " + std::to_string(int(status)));
}

// The raw-format identifiers share all but the last byte of their first field.
ImageFormat FormatOf(const GUID& raw) {
    const GUID base = {0xb96b3c00, 0x0728, 0x11d3, {0x9d, 0x7b, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e}};
    if ((raw.Data1 & ~0xFFul) == base.Data1 && raw.Data2 == base.Data2 && raw.Data3 == base.Data3 &&
        std::memcmp(raw.Data4, base.Data4, sizeof raw.Data4) == 0) {
        switch (raw.Data1 & 0xFF) {
        case 0xAB: return ImageFormat::Bmp;
        case 0xAE:
        case 0xB2: return ImageFormat::Jpeg;  // "EXIF" is GDI+'s name for a JPEG that carries it
        case 0xAF: return ImageFormat::Png;
        case 0xB0: return ImageFormat::Gif;
        case 0xB1: return ImageFormat::Tiff;
        default: break;
        }
    }
    throw Error(TV_E_FAIL, "not a JPEG, PNG, GIF, BMP or TIFF image");
}

const wchar_t* MimeTypeOf(ImageFormat format) {
    switch (format) {
    case ImageFormat::Jpeg: return L"image/jpeg";
    case ImageFormat::Png: return L"image/png";
    case ImageFormat::Gif: return L"image/gif";
    case ImageFormat::Bmp: return L"image/bmp";
    case ImageFormat::Tiff: return L"image/tiff";
    }
    return L"";
}

CLSID EncoderFor(ImageFormat format) {
    UINT count = 0;
    UINT bytes = 0;
    Check(flat::GdipGetImageEncodersSize(&count, &bytes), "GdipGetImageEncodersSize");
    // The list's strings follow its records in the same block.
    std::vector<Gdiplus::ImageCodecInfo> block(bytes / sizeof(Gdiplus::ImageCodecInfo) + 1);
    if (count > block.size()) throw Error(TV_E_FAIL, "GDI+ lists more encoders than its block holds");
    Check(flat::GdipGetImageEncoders(count, bytes, block.data()), "GdipGetImageEncoders");
    for (UINT i = 0; i < count; ++i)
        if (block[i].MimeType && std::wcscmp(block[i].MimeType, MimeTypeOf(format)) == 0) return block[i].Clsid;
    throw Error(TV_E_FAIL, std::string("GDI+ has no encoder for ") + FormatName(format));
}

struct FreeGlobal {
    void operator()(void* memory) const { ::GlobalFree(memory); }
};

// An HGLOBAL stream that owns a copy of the source's bytes.
IStream* StreamOver(ByteSource& source) {
    const uint64_t size = source.size();
    if (size == 0) throw Error(TV_E_FAIL, "empty file");
    if (size > kMostPictureBytes) throw Error(TV_E_FAIL, "the picture is too large to load");
    std::unique_ptr<void, FreeGlobal> memory(::GlobalAlloc(GMEM_MOVEABLE, SIZE_T(size)));
    if (!memory) throw std::bad_alloc();
    void* at = ::GlobalLock(memory.get());
    if (!at) throw std::bad_alloc();
    size_t got = 0;
    try {
        got = source.readAt(0, {static_cast<uint8_t*>(at), size_t(size)});
    } catch (...) {
        ::GlobalUnlock(memory.get());
        throw;
    }
    ::GlobalUnlock(memory.get());
    if (got != size) throw Error(TV_E_FAIL, "short read");
    IStream* stream = nullptr;
    if (FAILED(::CreateStreamOnHGlobal(memory.get(), TRUE, &stream)) || !stream) throw std::bad_alloc();
    memory.release();  // the stream frees it
    return stream;
}

std::vector<uint8_t> BytesOf(IStream* stream) {
    STATSTG stat = {};
    HGLOBAL memory = nullptr;
    if (FAILED(stream->Stat(&stat, STATFLAG_NONAME)) || FAILED(::GetHGlobalFromStream(stream, &memory)))
        throw Error(TV_E_FAIL, "the saved picture cannot be read back");
    const uint64_t size = stat.cbSize.QuadPart;
    if (size > ::GlobalSize(memory)) throw Error(TV_E_FAIL, "the saved picture cannot be read back");
    const auto* at = static_cast<const uint8_t*>(::GlobalLock(memory));
    if (!at && size) throw std::bad_alloc();
    std::vector<uint8_t> bytes(at, at + size_t(size));
    ::GlobalUnlock(memory);
    return bytes;
}

struct FreeGdiplus {
    void operator()(void* block) const { flat::GdipFree(block); }
};

}  // namespace

GdiplusSession::GdiplusSession() {
    const Gdiplus::GdiplusStartupInput input;  // version 1, no debug callback, background thread
    Check(Gdiplus::GdiplusStartup(&token_, &input, nullptr), "GdiplusStartup");
}

GdiplusSession::~GdiplusSession() { Gdiplus::GdiplusShutdown(token_); }

GdiplusPicture::GdiplusPicture(ByteSource& source) : stream_(StreamOver(source)) {
    Gdiplus::GpImage* image = nullptr;
    Check(flat::GdipLoadImageFromStream(stream_.get(), &image), "GdipLoadImageFromStream");
    image_.reset(image);
}

GdiplusPicture::~GdiplusPicture() = default;

ImageFacts GdiplusPicture::facts() const {
    Gdiplus::GpImage* image = image_.get();
    GUID raw = {};
    Check(flat::GdipGetImageRawFormat(image, &raw), "GdipGetImageRawFormat");
    ImageFacts facts;
    facts.format = FormatOf(raw);
    UINT width = 0;
    UINT height = 0;
    Gdiplus::REAL x = 0;
    Gdiplus::REAL y = 0;
    Gdiplus::PixelFormat pixels = 0;
    facts.width = flat::GdipGetImageWidth(image, &width) == Gdiplus::Ok ? width : 0;
    facts.height = flat::GdipGetImageHeight(image, &height) == Gdiplus::Ok ? height : 0;
    facts.xDpi = flat::GdipGetImageHorizontalResolution(image, &x) == Gdiplus::Ok ? x : 0;
    facts.yDpi = flat::GdipGetImageVerticalResolution(image, &y) == Gdiplus::Ok ? y : 0;
    // The pixel-format code carries the bits per pixel in its second byte.
    facts.bitsPerPixel = flat::GdipGetImagePixelFormat(image, &pixels) == Gdiplus::Ok ? (pixels >> 8) & 0xFF : 0;
    return facts;
}

std::vector<ExifItem> GdiplusPicture::items() const {
    UINT bytes = 0;
    UINT count = 0;
    const Gdiplus::GpStatus status = flat::GdipGetPropertySize(image_.get(), &bytes, &count);
    if (status == Gdiplus::PropertyNotFound || (status == Gdiplus::Ok && count == 0)) return {};
    Check(status, "GdipGetPropertySize");
    if (bytes / sizeof(Gdiplus::PropertyItem) < count) throw Error(TV_E_FAIL, "GDI+ gives a property block too small for its items");
    std::unique_ptr<void, FreeGdiplus> block(flat::GdipAlloc(bytes));
    if (!block) throw std::bad_alloc();
    auto* list = static_cast<Gdiplus::PropertyItem*>(block.get());
    Check(flat::GdipGetAllPropertyItems(image_.get(), bytes, count, list), "GdipGetAllPropertyItems");
    const uintptr_t begin = reinterpret_cast<uintptr_t>(block.get());
    std::vector<ExifItem> items;
    for (UINT i = 0; i < count; ++i) {
        const Gdiplus::PropertyItem& item = list[i];
        const uintptr_t at = reinterpret_cast<uintptr_t>(item.value);
        // Values live in the same block; one that points elsewhere is not trusted.
        if (item.id > 0xFFFF || !item.value || item.length == 0 || at < begin || at - begin > bytes ||
            item.length > bytes - (at - begin))
            continue;
        const auto* value = static_cast<const uint8_t*>(item.value);
        items.push_back({uint16_t(item.id), item.type, {value, value + item.length}});
    }
    return items;
}

void GdiplusPicture::setItem(uint16_t tag, uint16_t type, std::vector<uint8_t> value) {
    Gdiplus::PropertyItem item;
    item.id = tag;
    item.length = ULONG(value.size());
    item.type = type;
    item.value = value.data();
    Check(flat::GdipSetPropertyItem(image_.get(), &item), "GdipSetPropertyItem");
}

void GdiplusPicture::removeItem(uint16_t tag) {
    UINT size = 0;
    if (flat::GdipGetPropertyItemSize(image_.get(), tag, &size) == Gdiplus::PropertyNotFound) return;
    Check(flat::GdipRemovePropertyItem(image_.get(), tag), "GdipRemovePropertyItem");
}

std::vector<uint8_t> GdiplusPicture::saved() const {
    GUID raw = {};
    Check(flat::GdipGetImageRawFormat(image_.get(), &raw), "GdipGetImageRawFormat");
    const CLSID encoder = EncoderFor(FormatOf(raw));
    IStream* made = nullptr;
    if (FAILED(::CreateStreamOnHGlobal(nullptr, TRUE, &made)) || !made) throw std::bad_alloc();
    const std::unique_ptr<IStream, ReleaseStream> out(made);
    Check(flat::GdipSaveImageToStream(image_.get(), out.get(), &encoder, nullptr), "GdipSaveImageToStream");
    return BytesOf(out.get());
}

std::vector<uint8_t> GdiplusPicture::pixels() const {
    // Every picture GDI+ decodes from a file is a bitmap.
    auto* bitmap = reinterpret_cast<Gdiplus::GpBitmap*>(image_.get());
    const ImageFacts figures = facts();
    Gdiplus::PixelFormat format = 0;
    Check(flat::GdipGetImagePixelFormat(image_.get(), &format), "GdipGetImagePixelFormat");
    const uint64_t rowBytes = (uint64_t(figures.width) * ((format >> 8) & 0xFF) + 7) / 8;
    if (rowBytes * figures.height > kMostPictureBytes) throw Error(TV_E_FAIL, "the picture is too large to compare");
    const Gdiplus::GpRect all(0, 0, INT(figures.width), INT(figures.height));
    Gdiplus::BitmapData data = {};
    Check(flat::GdipBitmapLockBits(bitmap, &all, Gdiplus::ImageLockModeRead, format, &data), "GdipBitmapLockBits");
    if (!data.Scan0 || uint64_t(data.Stride < 0 ? -int64_t(data.Stride) : data.Stride) < rowBytes) {
        flat::GdipBitmapUnlockBits(bitmap, &data);
        throw Error(TV_E_FAIL, "GDI+ locked rows shorter than the picture's");
    }
    std::vector<uint8_t> rows;
    const auto* first = static_cast<const uint8_t*>(data.Scan0);
    for (UINT y = 0; y < data.Height; ++y) {
        const uint8_t* row = first + ptrdiff_t(y) * data.Stride;
        rows.insert(rows.end(), row, row + rowBytes);
    }
    flat::GdipBitmapUnlockBits(bitmap, &data);
    return rows;
}

}  // namespace tagvera::image
