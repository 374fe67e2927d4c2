// The one file that talks to exiv2. Its headers use std::auto_ptr, which C++20 deprecates.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <exiv2/exiv2.hpp>

#include <climits>
#include <mutex>

#include "base/error.h"
#include "image/exif_io.h"

namespace tagvera::image {
namespace {

// exiv2 writes warnings about damaged files to stderr; a host's console is not the place.
void PrepareExiv2() {
    static std::once_flag once;
    std::call_once(once, [] {
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
        Exiv2::XmpParser::initialize();
    });
}

// Tags below 0x8000 in the table live in the main directory, the others in the EXIF directory.
const char* GroupOf(uint16_t tag) { return tag < 0x8000 ? "Image" : "Photo"; }

Exiv2::Image::AutoPtr OpenInMemory(std::span<const uint8_t> image) {
    if (image.size() > size_t(LONG_MAX)) throw Error(TV_E_FAIL, "image too large for the EXIF reader");
    Exiv2::Image::AutoPtr opened = Exiv2::ImageFactory::open(image.data(), long(image.size()));
    if (!opened.get()) throw Error(TV_E_FAIL, "the EXIF reader does not know this image type");
    opened->readMetadata();
    return opened;
}

template <class Body>
auto Guarded(const char* what, Body&& body) -> decltype(body()) {
    try {
        PrepareExiv2();
        return body();
    } catch (const Error&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& e) {
        throw Error(TV_E_FAIL, std::string(what) + ": " + e.what());
    } catch (...) {
        throw Error(TV_E_FAIL, what);
    }
}

}  // namespace

std::vector<ExifItem> ReadExifItems(std::span<const uint8_t> image) {
    return Guarded("EXIF does not read", [&] {
        Exiv2::Image::AutoPtr opened = OpenInMemory(image);
        std::vector<ExifItem> items;
        for (const Exiv2::Exifdatum& datum : opened->exifData()) {
            const std::string group = datum.groupName();
            if (group != "Image" && group != "Photo") continue;
            ExifItem item;
            item.tag = datum.tag();
            item.type = static_cast<uint16_t>(datum.typeId());
            const long size = datum.size();
            if (size > 0) {
                item.value.resize(size_t(size));
                datum.copy(item.value.data(), Exiv2::littleEndian);
            }
            items.push_back(std::move(item));
        }
        return items;
    });
}

std::vector<uint8_t> ApplyExifEdits(std::vector<uint8_t> image, std::span<const ExifEdit> edits) {
    return Guarded("EXIF cannot be written", [&] {
        Exiv2::Image::AutoPtr opened = OpenInMemory(image);
        // The XMP packet goes back as it was read instead of through exiv2's re-encoding.
        opened->writeXmpFromPacket(true);
        Exiv2::ExifData& exif = opened->exifData();
        for (const ExifEdit& edit : edits) {
            const Exiv2::ExifKey key(edit.tag, GroupOf(edit.tag));
            auto at = exif.findKey(key);
            if (edit.remove) {
                if (at != exif.end()) exif.erase(at);
                continue;
            }
            Exiv2::Value::AutoPtr value = Exiv2::Value::create(static_cast<Exiv2::TypeId>(edit.type));
            const int bad = edit.fromText ? value->read(edit.text)
                                          : value->read(edit.bytes.data(), long(edit.bytes.size()), Exiv2::littleEndian);
            if (bad != 0 || value->count() == 0) {
                const std::string given = edit.fromText ? "\"" + edit.text + "\"" : std::to_string(edit.bytes.size()) + " bytes";
                throw Error(TV_E_INVALIDARG, key.tagName() + ": " + given + " is not a value of its type " +
                                                 Exiv2::TypeInfo::typeName(value->typeId()));
            }
            if (at != exif.end()) at->setValue(value.get());
            else exif.add(key, value.get());
        }
        opened->writeMetadata();
        Exiv2::BasicIo& io = opened->io();
        if (io.open() != 0) throw Error(TV_E_FAIL, "the rewritten image cannot be read back");
        std::vector<uint8_t> out(io.size());
        const long got = out.empty() ? 0 : io.read(out.data(), long(out.size()));
        io.close();
        if (got != long(out.size())) throw Error(TV_E_FAIL, "the rewritten image cannot be read back");
        return out;
    });
}

}  // namespace tagvera::image

#pragma GCC diagnostic pop
