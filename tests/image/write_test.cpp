// Writing EXIF back: exiftool reads exactly what was written and every tag left alone (GPS,
// thumbnail, XMP, IPTC, ICC), the decoded pixels and the compressed image data are unchanged,
// formats without EXIF are refused, and a failure at any file call leaves the old file or the new.
#include <gtest/gtest.h>

#include <cerrno>
#include <map>

#include "cli/run_cli.h"
#include "image/exif_table.h"
#include "image/image_bytes.h"
#include "image/image_support.h"
#include "image/jpeg_exif_segment.h"
#include "image/probe.h"
#include "platform/fault_injection.h"
#include "platform/file.h"
#include "platform/scratch_dir.h"

namespace tagvera::image::testing {
namespace {

namespace fault = platform::fault;

// exiftool's view of the metadata, "[group] tag" -> value, offsets left out (a rewrite moves them).
std::map<std::string, std::string> ExiftoolTags(const std::string& path) {
    std::map<std::string, std::string> tags;
    std::stringstream lines(CommandOutput("exiftool -n -a -G1 -S " + path));
    for (std::string line; std::getline(lines, line);) {
        const size_t colon = line.find(": ");
        if (colon == std::string::npos || line.rfind("[ExifTool]", 0) == 0 || line.rfind("[System]", 0) == 0 ||
            line.rfind("[File]", 0) == 0 || line.rfind("[PNG]", 0) == 0 || line.find("Offset") < colon)
            continue;
        tags[line.substr(0, colon)] = line.substr(colon + 2);
    }
    return tags;
}

// The compressed picture: a JPEG's scan onwards, a PNG's IDAT bodies, a TIFF's strips.
Bytes ImageData(const std::string& path) {
    const Bytes all = test::ReadAll(path);
    MemorySource source(all);
    const ImageFacts facts = ProbeImage(source);
    if (facts.format == ImageFormat::Jpeg) return Bytes(all.begin() + long(facts.metadata[0].length), all.end());
    Bytes data;
    if (facts.format == ImageFormat::Png) {
        for (size_t pos = 8; pos + 12 <= all.size();) {
            const size_t length = size_t(all[pos]) << 24 | all[pos + 1] << 16 | all[pos + 2] << 8 | all[pos + 3];
            if (std::string(all.begin() + long(pos) + 4, all.begin() + long(pos) + 8) == "IDAT")
                data.insert(data.end(), all.begin() + long(pos) + 8, all.begin() + long(pos + 8 + length));
            pos += length + 12;
        }
        return data;
    }
    std::stringstream strips(CommandOutput("exiftool -n -T -StripOffsets -StripByteCounts " + path));
    size_t offset = 0, count = 0;
    strips >> offset >> count;
    return Bytes(all.begin() + long(offset), all.begin() + long(offset + count));
}

class ImageWrite : public ::testing::TestWithParam<const char*> {
protected:
    test::ScratchDir dir;
};

TEST_P(ImageWrite, ExiftoolReadsTheEditAndEverythingElseKept) {
    if (!HaveTool("/usr/bin/exiftool")) GTEST_SKIP() << "exiftool missing";
    const std::string path = dir.copy(FixturePath(GetParam()));
    const auto before = ExiftoolTags(path);
    const Bytes data = ImageData(path);
    const std::string pixels = HaveTool("/usr/bin/convert") ? CommandOutput("/usr/bin/convert '" + path + "[0]' rgba:- | md5sum") : "";
    {
        const auto s = OpenImage(path);
        s.set("Statistics:EquipmentMake", "NEWCO");
        s.set("Statistics:DateTimeOriginal", "2024:05:06 07:08:09");
        s.set("Statistics:ExposureTime", "1/250");
        s.set("Statistics:Orientation", "3");
        s.remove("Statistics:EquipmentModel");
        ASSERT_EQ(s.write(), TV_S_OK) << s.report();
        EXPECT_EQ(s.report(), "set: Statistics:DateTimeOriginal\nset: Statistics:EquipmentMake\n"
                              "removed: Statistics:EquipmentModel\nset: Statistics:ExposureTime\nset: Statistics:Orientation\n");
    }
    auto expected = before;
    expected["[IFD0] Make"] = "NEWCO";
    expected["[ExifIFD] DateTimeOriginal"] = "2024:05:06 07:08:09";
    expected["[ExifIFD] ExposureTime"] = "0.004";
    expected["[IFD0] Orientation"] = "3";
    expected.erase("[IFD0] Model");
    auto after = ExiftoolTags(path);
    expected.erase("[Composite] ShutterSpeed");  // derived from the exposure time
    after.erase("[Composite] ShutterSpeed");
    EXPECT_EQ(after, expected);
    EXPECT_EQ(ImageData(path), data);
    if (!pixels.empty()) {
        EXPECT_EQ(CommandOutput("/usr/bin/convert '" + path + "[0]' rgba:- | md5sum"), pixels);
    }
    const auto again = OpenImage(path);
    EXPECT_EQ(again.value("Statistics:EquipmentMake"), Bytes({'N', 'E', 'W', 'C', 'O', 0}));
    EXPECT_FALSE(again.node("Statistics:EquipmentModel"));
}

INSTANTIATE_TEST_SUITE_P(Formats, ImageWrite,
                         ::testing::Values("jpeg-rgb-be.jpg", "jpeg-rgb-le.jpg", "png-rgb.png", "tiff-rgb-le.tif"),
                         [](const auto& test) {
                             std::string name = test.param;
                             for (char& c : name) c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
                             return name;
                         });

// Every row at once into a picture without EXIF, each typed as a person would type it, and read
// back by its own item type.
TEST(ImageWriteRows, EveryRowTakesAValueOfItsType) {
    test::ScratchDir dir;
    const std::string path = dir.copy(FixturePath("jpeg-cmyk.jpg"));
    const std::map<uint32_t, std::pair<std::string, Bytes>> typed = {
        {kExifAscii, {"text", Text(std::string("text\0", 5))}}, {kExifShort, {"7", Le32(7)}},
        {kExifLong, {"70000", Le32(70000)}},                   {kExifRational, {"1/3", Le32(1) + Le32(3)}},
        {kExifSRational, {"-1/3", Le32(uint32_t(-1)) + Le32(3)}}, {kExifUndefined, {"48 50 51 48", Text("0230")}},
    };
    {
        const auto s = OpenImage(path);
        for (const auto& row : kExifRows) s.set((std::string(row.group) + ":" + row.property).c_str(), typed.at(row.type).first);
        ASSERT_EQ(s.write(), TV_S_OK) << s.report();
    }
    const auto s = OpenImage(path);
    for (const auto& row : kExifRows) {
        const std::string property = std::string(row.group) + ":" + row.property;
        EXPECT_EQ(s.value(property.c_str()), typed.at(row.type).second) << property;
    }
}

TEST(ImageWriteRefusal, FormatsWithoutExifAndValuesOfTheWrongType) {
    test::ScratchDir dir;
    const struct {
        const char* fixture;
        const char* property;
        const char* value;
        HRESULT result;
        const char* report;
    } rows[] = {
        {"bmp-rgb24.bmp", "Statistics:EquipmentMake", "ACME", TV_E_FAIL, "not written: a BMP file cannot hold EXIF\n"},
        {"gif.gif", "Statistics:EquipmentMake", "ACME", TV_E_FAIL, "not written: a GIF file cannot hold EXIF\n"},
        {"jpeg-cmyk.jpg", "Track:Name", "x", TV_E_FAIL, "not written: no EXIF property of the picture was changed\n"},
        {"jpeg-cmyk.jpg", "Statistics:Orientation", "upside down", TV_E_INVALIDARG,
         "not written: Orientation: \"upside down\" is not a value of its type Short\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.fixture) + " " + row.property);
        const std::string path = dir.copy(FixturePath(row.fixture));
        const Bytes original = test::ReadAll(path);
        const auto s = OpenImage(path);
        s.set(row.property, row.value);
        EXPECT_EQ(s.write(), row.result);
        EXPECT_EQ(s.report(), row.report);
        EXPECT_EQ(test::ReadAll(path), original);
    }
}

// Every file call of the write failed in turn: the old file or the new one, never a mix, the
// failure reported, nothing left beside the file.
TEST(ImageWriteFaults, AFailureAtAnyCallLeavesTheOldFileOrTheNewOne) {
    test::ScratchDir dir;
    const std::string path = dir.copy(FixturePath("jpeg-rgb-be.jpg"), "photo.jpg");
    const Bytes original = test::ReadAll(path);
    // Counts the write's calls of step, or fails its nth one; the reading before it is not armed.
    const auto write = [&](fault::Step step, unsigned nth, unsigned* calls) {
        const auto s = OpenImage(path);
        s.set("Statistics:EquipmentMake", "NEWCO");
        HRESULT hr;
        if (calls) {
            fault::StartCounting();
            hr = s.write();
            *calls = fault::Calls(step);
            fault::Reset();
        } else {
            fault::Scoped armed(step, nth, step == fault::Step::Write ? ENOSPC : EIO);
            hr = s.write();
        }
        return std::make_pair(hr, s.report());
    };
    for (fault::Step step : {fault::Step::Open, fault::Step::Read, fault::Step::Write, fault::Step::Fsync,
                             fault::Step::Rename, fault::Step::Dirsync, fault::Step::Link}) {
        test::WriteAll(path, original);
        unsigned calls = 0;
        ASSERT_EQ(write(step, 0, &calls).first, TV_S_OK);
        const Bytes written = test::ReadAll(path);
        ASSERT_NE(written, original);
        if (step != fault::Step::Link && step != fault::Step::Dirsync) {
            EXPECT_GE(calls, 1u) << fault::StepName(step);
        }
        for (unsigned n = 1; n <= calls; ++n) {
            SCOPED_TRACE(std::string(fault::StepName(step)) + " call " + std::to_string(n));
            test::WriteAll(path, original);
            const auto result = write(step, n, nullptr);
            const Bytes bytes = test::ReadAll(path);
            EXPECT_TRUE(bytes == original || bytes == written);
            if (Failed(result.first)) {
                EXPECT_EQ(bytes, original);
                EXPECT_EQ(result.second.rfind("not written: ", 0), 0u) << result.second;
            }
            EXPECT_EQ(dir.entries(), std::set<std::string>{"photo.jpg"});
        }
    }
}

// The EXIF segment a Windows write takes from GDI+'s new encoding of a JPEG: moved into the
// original, whose other segments and compressed data stay byte for byte.
TEST(JpegExifSegment, MovesBetweenEncodingsAndLeavesTheRest) {
    const auto scan = [](const Bytes& jpeg) {
        MemorySource source(jpeg);
        return Bytes(jpeg.begin() + long(ProbeImage(source).metadata[0].length), jpeg.end());
    };
    const auto items = [](const Bytes& jpeg) {
        std::map<uint16_t, Bytes> byTag;
        for (const auto& item : ReadExifItems(jpeg)) byTag[item.tag] = item.value;
        return byTag;
    };
    const struct {
        const char *target, *donor;
    } rows[] = {{"jpeg-grey-cm.jpg", "jpeg-rgb-le.jpg"}, {"jpeg-rgb-be.jpg", "jpeg-rgb-le.jpg"}, {"jpeg-rgb-be.jpg", "jpeg-cmyk.jpg"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.target) + " <- " + row.donor);
        const Bytes target = test::ReadAll(FixturePath(row.target));
        const Bytes donor = test::ReadAll(FixturePath(row.donor));
        const Bytes out = WithExifSegmentOf(target, donor);
        EXPECT_EQ(scan(out), scan(target));
        EXPECT_EQ(items(out), items(donor));
        EXPECT_EQ(HasExifSegment(out), HasExifSegment(donor));
        MemorySource before(target), after(out);
        EXPECT_EQ(ProbeImage(after).xDpi, ProbeImage(before).xDpi) << "the JFIF segment stays first";
    }
    EXPECT_THROW(WithExifSegmentOf(Bytes{0xFF, 0xD8, 0xFF, 0xE1, 0xFF, 0xFF}, Bytes{0xFF, 0xD8, 0xFF, 0xDA}), Error);
}

}  // namespace
}  // namespace tagvera::image::testing
