// The header probe: the cases only bytes can make, and damaged headers, each refused with a reason
// (every fixture's figures as ImageMagick describes them are the importer's test).
#include <gtest/gtest.h>

#include <cmath>

#include "image/image_bytes.h"
#include "image/image_support.h"
#include "image/probe.h"

namespace tagvera::image::testing {
namespace {

// EXIF directory with XResolution and YResolution of 300 per inch, for a JPEG's APP1 segment.
Bytes ExifAt300Dpi() {
    const Bytes tiff = Tiff({{282, 5, 1, 50}, {283, 5, 1, 58}, {296, 3, 1, 2}}, 0, Le32(300) + Le32(1) + Le32(300) + Le32(1));
    return Segment(0xE1, Text(std::string("Exif\0\0", 6)) + tiff);
}

struct Good {
    const char* name;
    Bytes bytes;
    uint32_t width, height, dpi, bpp;
};

TEST(ImageProbe, LayoutsAndResolutionsBuiltByHand) {
    const Good rows[] = {
        {"pHYs of 71.6 dpi shows 72", Png(Ihdr(3, 2, 8, 2) + Chunk("pHYs", Be32(2819) + Be32(2819) + Bytes{1})), 3, 2, 72, 24},
        {"pHYs without a unit is no resolution", Png(Ihdr(3, 2, 8, 2) + Chunk("pHYs", Be32(5000) + Be32(5000) + Bytes{0})), 3, 2, 96, 24},
        {"RGB with a transparent colour has alpha", Png(Ihdr(3, 2, 8, 2) + Chunk("tRNS", Bytes(6, 0))), 3, 2, 96, 32},
        {"palette of 2 bits widens to 4", Png(Ihdr(3, 2, 2, 3) + Chunk("PLTE", Bytes(12, 0))), 3, 2, 96, 4},
        {"grey of 16 bits", Png(Ihdr(3, 2, 16, 0)), 3, 2, 96, 16},
        {"JFIF in dots per centimetre", Jpeg(Jfif(2, 28, 28) + Frame(4, 3, 1)), 4, 3, 71, 8},
        {"JFIF without a unit gives way to EXIF", Jpeg(Jfif(0, 1, 1) + ExifAt300Dpi() + Frame(4, 3, 3)), 4, 3, 300, 24},
        {"damaged EXIF leaves the default",
         Jpeg(Segment(0xE1, Text(std::string("Exif\0\0II*\0", 10)) + Le32(9999)) + Frame(4, 3, 4)), 4, 3, 96, 32},
        {"fill bytes before a marker", Bytes{0xFF, 0xD8, 0xFF, 0xFF} + Frame(5, 6, 3) + Segment(0xDA, Bytes(6, 0)), 5, 6, 96, 24},
        {"a TIFF directory chain that loops is not followed", Tiff(TiffPicture(5, 4), 8), 5, 4, 96, 8},
        {"top-down BMP", Bmp(3, uint32_t(-2), 24, 2835), 3, 2, 72, 24},
        {"OS/2 BMP", Text("BM") + Bytes(12, 0) + Le32(12) + Le16(7) + Le16(9) + Le16(1) + Le16(8), 7, 9, 96, 8},
        {"GIF 87a", Text("GIF87a") + Le16(300) + Le16(200) + Bytes{0, 0, 0}, 300, 200, 96, 8},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        MemorySource source(row.bytes);
        const ImageFacts facts = ProbeImage(source);
        EXPECT_EQ(facts.width, row.width);
        EXPECT_EQ(facts.height, row.height);
        EXPECT_EQ(std::lround(facts.xDpi), row.dpi);
        EXPECT_EQ(std::lround(facts.yDpi), row.dpi);
        EXPECT_EQ(facts.bitsPerPixel, row.bpp);
    }
}

struct Bad {
    const char* name;
    Bytes bytes;
};

TEST(ImageProbe, DamagedHeadersAreRefusedWithAReason) {
    const Bytes ok = Ihdr(1, 1, 8, 2);
    const Bad rows[] = {
        {"empty", {}},
        {"text under an image name", Text("hello, world")},
        {"JPEG cut after its start", {0xFF, 0xD8}},
        {"JPEG segment length past the end", Bytes{0xFF, 0xD8, 0xFF, 0xE1, 0x03, 0xE8, 0, 0}},
        {"JPEG segment length below two", Bytes{0xFF, 0xD8, 0xFF, 0xE0, 0, 1, 0, 0}},
        {"JPEG height zero (left to a later marker)", Jpeg(Frame(10, 0, 3))},
        {"JPEG width zero", Jpeg(Frame(0, 10, 3))},
        {"JPEG scan before any frame", Jpeg({})},
        {"JPEG frame of two components", Jpeg(Frame(1, 1, 2))},
        {"JPEG frame header cut short", Jpeg(Segment(0xC0, {8, 0}))},
        {"JPEG ending before its scan", Bytes{0xFF, 0xD8} + Frame(1, 1, 3) + Bytes{0xFF, 0xD9}},
        {"JPEG bytes where a marker belongs", Bytes{0xFF, 0xD8, 0x00, 0x00, 0x00, 0x00}},
        {"PNG chunk length past the end", Png(ok + Chunk("tEXt", {}, 0x7FFFFFF0))},
        {"PNG chunk length beyond 2^31", Png(ok + Chunk("tEXt", {}, 0xFFFFFFF0))},
        {"PNG without its header chunk", Png(Chunk("tEXt", Text("a")))},
        {"PNG header chunk of the wrong length", Png(Chunk("IHDR", Bytes(12, 1)))},
        {"PNG width zero", Png(Ihdr(0, 1, 8, 2))},
        {"PNG width beyond 2^31", Png(Ihdr(0x80000000u, 1, 8, 2))},
        {"PNG palette of 16 bits", Png(Ihdr(1, 1, 16, 3))},
        {"PNG colour type 5", Png(Ihdr(1, 1, 8, 5))},
        {"PNG without its end chunk", Bytes{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'} + ok},
        {"GIF cut short", Text("GIF89a") + Bytes{1, 0}},
        {"GIF width zero", Text("GIF89a") + Le16(0) + Le16(5) + Bytes{0, 0, 0}},
        {"BMP cut short", Text("BM") + Bytes(10, 0)},
        {"BMP width zero", Bmp(0, 5, 24)},
        {"BMP width negative", Bmp(uint32_t(-3), 5, 24)},
        {"BMP height of -2^31", Bmp(3, 0x80000000u, 24)},
        {"BMP of 3 bits a pixel", Bmp(3, 3, 3)},
        {"BMP header of unknown size", Text("BM") + Bytes(12, 0) + Le32(20) + Bytes(20, 1)},
        {"TIFF directory outside the file", Text("II*") + Bytes{0} + Le32(5000)},
        {"TIFF entry count past the end", Text("II*") + Bytes{0} + Le32(8) + Le16(500) + Bytes(20, 0)},
        {"TIFF without a width", Tiff({{257, 4, 1, 5}})},
        {"TIFF height zero", Tiff(TiffPicture(5, 0))},
        {"TIFF bits per sample outside the file",
         Tiff({{256, 4, 1, 2}, {257, 4, 1, 2}, {258, 3, 3, 5000}, {277, 3, 1, 3}})},
        {"TIFF of 40 000 samples", Tiff({{256, 4, 1, 2}, {257, 4, 1, 2}, {277, 3, 1, 40000}})},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        MemorySource source(row.bytes);
        try {
            ProbeImage(source);
            ADD_FAILURE() << "accepted";
        } catch (const Error& e) {
            EXPECT_EQ(e.code(), TV_E_FAIL);
            EXPECT_STRNE(e.what(), "");
        }
    }
}

}  // namespace
}  // namespace tagvera::image::testing
