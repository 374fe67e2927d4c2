// CImageMetadataPlugin as a host meets it: every fixture's statistics and EXIF properties against
// what ImageMagick and exiftool say, the result codes, and files exiv2 must not trip over.
#include <gtest/gtest.h>

#include "image/image_bytes.h"
#include "image/image_support.h"
#include "platform/scratch_dir.h"

namespace tagvera::image::testing {
namespace {

std::string Shown(const ImageSession& s, const Column& c) { return Shown(s.value(c.property), c.kind); }

TEST(ImageImporter, FixturesAsImageMagickAndExiftoolSeeThem) {
    for (const auto& want : Expectations()) {
        const std::string name = want.at("file");
        SCOPED_TRACE(name);
        const auto s = OpenImage(FixturePath(name));
        ASSERT_EQ(s.result, TV_S_OK);
        for (const auto& c : kFigureColumns) EXPECT_EQ(Shown(s, c), want.at(c.tsv)) << c.property;
        EXPECT_EQ(s.value("Statistics:Image"), Bytes{1});
        EXPECT_EQ(Shown(s, {"", "Statistics:Extension", Kind::Text}), name.substr(name.rfind('.')));
        for (const auto& c : kExifColumns) EXPECT_EQ(Shown(s, c), want.at(c.tsv)) << c.property;
    }
}

TEST(ImageImporter, ResultCodes) {
    ComPtr<IUnknown> unknown;
    ASSERT_EQ(CreateImageMetadataPlugin(nullptr, nullptr, unknown.put()), TV_S_OK);
    auto file = QueryAs<IMPAInterrogateFile>(unknown.get(), IID_IMPAInterrogateFile);
    auto lite = QueryAs<IMPAInterrogateLite>(unknown.get(), IID_IMPAInterrogateLite);
    auto handler = QueryAs<IMPAHandleMetaProperties>(unknown.get(), IID_IMPAHandleMetaProperties);
    ComPtr<IMPAMetaProperty> tree;
    uint32_t size = 0;
    EXPECT_EQ(file->SetFilename(nullptr), TV_E_INVALIDARG);
    EXPECT_EQ(lite->SetFilename(""), TV_E_INVALIDARG);
    EXPECT_EQ(file->Interrogate(tree.put()), TV_E_FAIL) << "no file named";
    EXPECT_EQ(file->Interrogate(nullptr), TV_E_INVALIDARG);
    EXPECT_EQ(handler->WriteMetaProperties(nullptr, nullptr, 0), TV_E_INVALIDARG);
    EXPECT_EQ(file->GetSupportedExtensions(nullptr, &size), TV_E_NOTIMPL);
    EXPECT_EQ(lite->GetSupportedMimeTypes(nullptr, &size), TV_E_NOTIMPL);
    EXPECT_EQ(handler->GetPropertyData(nullptr, nullptr, 0), TV_E_NOTIMPL);
    EXPECT_EQ(handler->SetFilename("/nonexistent/a.jpg"), TV_S_OK) << "naming loads nothing";
    EXPECT_EQ(file->Interrogate(tree.put()), TV_E_FAIL);
    EXPECT_EQ(lite->SetFilename(FixturePath("gif.gif").c_str()), TV_S_OK);
    EXPECT_EQ(lite->InterrogateLite(tree.put()), TV_S_OK);
}

// Whole files the probe accepts but whose metadata is hostile: read without a hang or a crash,
// the picture's own figures kept.
TEST(ImageImporter, HostileMetadataLeavesThePicture) {
    test::ScratchDir dir;
    std::vector<Entry> thousand = TiffPicture(5, 4);
    Bytes chain;  // directories of one entry each, every one pointing at the next
    const uint32_t first = 8 + 2 + uint32_t(thousand.size()) * 12 + 4;
    for (uint32_t i = 0; i < 1000; ++i) chain = chain + TiffDirectory({{0x010F, 2, 4, 0x454D4341}}, first + (i + 1) * 18);
    const struct {
        const char* name;
        Bytes bytes;
    } rows[] = {
        {"loop.tif", Tiff(TiffPicture(5, 4), 8)},
        {"thousand.tif", Tiff(thousand, first, chain)},
        {"exif-loop.jpg", Jpeg(Segment(0xE1, Text(std::string("Exif\0\0", 6)) + Tiff({{0x8769, 4, 1, 8}}, 8)) + Frame(5, 4, 3))},
        {"exif-count.jpg", Jpeg(Segment(0xE1, Text(std::string("Exif\0\0", 6)) + Tiff({{0x010F, 2, 0xFFFFFFF0u, 8}})) + Frame(5, 4, 3))},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto s = OpenImage(dir.write(row.name, row.bytes));
        EXPECT_EQ(s.result, TV_S_OK);
        EXPECT_EQ(Shown(s, {"", "Statistics:Width", Kind::Number}), "5");
    }
    const auto notImage = OpenImage(dir.write("text.png", Text("not a picture at all")));
    EXPECT_EQ(notImage.result, TV_E_FAIL);
}

}  // namespace
}  // namespace tagvera::image::testing
