// EXIF items through GDI+: read as its property items, written by setting them and saving the
// picture through the encoder of its format. A JPEG keeps its compressed data: only the EXIF
// segment of GDI+'s new encoding goes into the original bytes; a TIFF is encoded anew and must
// decode to the same pixels. A PNG is refused. Every write is read back before it is handed out.
#include "image/exif_io.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

#include "base/error.h"
#include "image/exif_table.h"
#include "image/gdiplus_picture.h"
#include "image/jpeg_exif_segment.h"
#include "image/probe.h"

namespace tagvera::image {
namespace {

std::string TagName(uint16_t tag) {
    char name[16];
    std::snprintf(name, sizeof name, "0x%04X", unsigned(tag));
    return std::string("EXIF tag ") + name;
}

template <class T>
bool Parse(std::string_view word, T& value) {
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    return error == std::errc() && end == word.data() + word.size();
}

template <class T>
void Append(std::vector<uint8_t>& out, T value) {
    for (size_t i = 0; i < sizeof value; ++i) out.push_back(uint8_t(uint64_t(value) >> (8 * i)));
}

// One word of a number item: a whole number, or a fraction "n/d" for the rational types.
bool AppendWord(std::vector<uint8_t>& out, uint16_t type, std::string_view word) {
    uint32_t u = 0;
    int32_t s = 0;
    const size_t slash = word.find('/');
    switch (type) {
    case kExifByte:
    case kExifUndefined:
        if (!Parse(word, u) || u > 0xFF) return false;
        out.push_back(uint8_t(u));
        return true;
    case kExifShort:
        if (!Parse(word, u) || u > 0xFFFF) return false;
        Append(out, uint16_t(u));
        return true;
    case kExifLong:
        if (!Parse(word, u)) return false;
        Append(out, u);
        return true;
    case kExifSLong:
        if (!Parse(word, s)) return false;
        Append(out, s);
        return true;
    case kExifRational:
    case kExifSRational:
        if (slash == std::string_view::npos) return false;
        for (const std::string_view part : {word.substr(0, slash), word.substr(slash + 1)}) {
            if (type == kExifRational ? !Parse(part, u) : !Parse(part, s)) return false;
            if (type == kExifRational) Append(out, u);
            else Append(out, s);
        }
        return true;
    default:
        return false;
    }
}

// The value bytes of an edit in its item type: ASCII with its terminator, numbers from words
// separated by spaces, as exiv2 reads them on Linux.
std::vector<uint8_t> EncodedValue(const ExifEdit& edit) {
    if (!edit.fromText) return edit.bytes;
    std::vector<uint8_t> out;
    if (edit.type == kExifAscii) {
        out.assign(edit.text.begin(), edit.text.end());
        if (out.empty() || out.back() != 0) out.push_back(0);
        return out;
    }
    const std::string_view text = edit.text;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find(' ', at), text.size());
        if (end > at && !AppendWord(out, edit.type, text.substr(at, end - at))) {
            out.clear();
            break;
        }
        at = end + 1;
    }
    if (out.empty())
        throw Error(TV_E_INVALIDARG, TagName(edit.tag) + ": \"" + edit.text + "\" is not a value of its type " +
                                         std::to_string(edit.type));
    return out;
}

const ExifItem* Find(const std::vector<ExifItem>& items, uint16_t tag) {
    for (const auto& item : items)
        if (item.tag == tag) return &item;
    return nullptr;
}

bool Edited(std::span<const ExifEdit> edits, uint16_t tag) {
    return std::any_of(edits.begin(), edits.end(), [&](const ExifEdit& edit) { return edit.tag == tag; });
}

// The saved picture read back: every edit in it, and every table item that was not edited as
// it was. A GDI+ may accept an item and drop it (Wine's), or lose items on the way.
void CheckKept(std::span<const ExifItem> before, std::span<const uint8_t> written, std::span<const ExifEdit> edits,
               std::span<const std::vector<uint8_t>> values) {
    const std::vector<ExifItem> after = ReadExifItems(written);
    for (size_t i = 0; i < edits.size(); ++i) {
        const ExifItem* item = Find(after, edits[i].tag);
        const bool kept = edits[i].remove ? !item : item && item->value == values[i];
        if (!kept) throw Error(TV_E_FAIL, "GDI+ did not keep the change to " + TagName(edits[i].tag) + " in the saved picture");
    }
    for (const ExifItem& item : before) {
        if (!FindExifRow(item.tag) || Edited(edits, item.tag)) continue;
        const ExifItem* now = Find(after, item.tag);
        if (!now || now->value != item.value) throw Error(TV_E_FAIL, "GDI+ lost " + TagName(item.tag) + " in the saved picture");
    }
}

// A format GDI+ encodes anew must keep its stored layout (GDI+ may decode 16-bit grey to 32-bit
// colour, and would save it so) and decode to the very same pixels.
void CheckSamePixels(const GdiplusPicture& picture, std::span<const uint8_t> original, std::span<const uint8_t> written) {
    MemorySource before(original);
    MemorySource after(written);
    const ImageFacts was = ProbeImage(before);
    const ImageFacts is = ProbeImage(after);
    if (is.format != was.format || is.width != was.width || is.height != was.height || is.bitsPerPixel != was.bitsPerPixel)
        throw Error(TV_E_FAIL, "GDI+ saved the picture in another layout");
    if (GdiplusPicture(after).pixels() != picture.pixels()) throw Error(TV_E_FAIL, "GDI+ saved different pixels");
}

}  // namespace

std::vector<ExifItem> ReadExifItems(std::span<const uint8_t> image) {
    MemorySource source(image);
    return GdiplusPicture(source).items();
}

std::vector<uint8_t> ApplyExifEdits(std::vector<uint8_t> image, std::span<const ExifEdit> edits) {
    std::vector<std::vector<uint8_t>> values;
    for (const ExifEdit& edit : edits) values.push_back(edit.remove ? std::vector<uint8_t>() : EncodedValue(edit));
    MemorySource source(image);
    GdiplusPicture picture(source);
    const ImageFormat format = picture.facts().format;
    // GDI+'s PNG encoder writes no EXIF and drops every chunk it does not know.
    if (format == ImageFormat::Png) throw Error(TV_E_FAIL, "GDI+ cannot write EXIF into a PNG file");
    const std::vector<ExifItem> before = picture.items();
    for (size_t i = 0; i < edits.size(); ++i) {
        if (edits[i].remove) picture.removeItem(edits[i].tag);
        else picture.setItem(edits[i].tag, edits[i].type, values[i]);
    }
    std::vector<uint8_t> written = picture.saved();
    if (format == ImageFormat::Jpeg) {
        // A GDI+ that reads no EXIF from a JPEG (Wine's) writes none: taking that would lose the file's.
        if (HasExifSegment(image) && !HasExifSegment(written)) throw Error(TV_E_FAIL, "GDI+ wrote no EXIF segment");
        written = WithExifSegmentOf(image, written);
    } else {
        CheckSamePixels(picture, image, written);
    }
    CheckKept(before, written, edits, values);
    return written;
}

}  // namespace tagvera::image
