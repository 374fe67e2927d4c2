// The image component on Windows, as tools/test-windows-image.sh runs it under Wine: every fixture
// interrogated through GDI+ and compared with what tools/make-image-fixtures.sh recorded (the table
// the Linux tests compare with), then one EXIF write per writable format on a copy.
//
//   image_check FIXTURE_FOLDER SCRATCH_FOLDER
//
// One line per file and per difference; the last line is "image check: passed" or how many checks
// failed. Under Wine, what its gdiplus is known to do otherwise than Windows is a "wine:" line.
#include <windows.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <string>

#include "image/fixture_table.h"
#include "image/image_importer.h"
#include "image/probe.h"
#include "tagvera/com_ptr.h"
#include "tagvera/vocabulary.h"

namespace tagvera::image::testing {
namespace {

using Bytes = std::vector<uint8_t>;

// Wine 8.0's gdiplus measured against the fixtures; columns "EXIF" stands for every EXIF column.
struct WineGap {
    const char* filePrefix;
    const char* columns;
    const char* why;
};
const WineGap kWineGaps[] = {
    {"jpeg-", "EXIF", "reads no property items from a JPEG"},
    {"png-", "EXIF", "reads no eXIf chunk"},
    {"tiff-", "DateTimeOriginal ExposureTime FNumber Flash FocalLength ColorSpace ExifImageWidth",
     "does not read a TIFF's EXIF directory"},
    {"jpeg-rgb-le.jpg", "xdpi ydpi", "ignores the EXIF resolution of a JPEG without JFIF"},
    {"png-grey.png", "bpp", "decodes grey to 32-bit ARGB"},
    {"png-rgba16.png", "bpp", "decodes 16-bit channels to 8"},
    {"tiff-grey16-be.tif", "bpp", "decodes 16-bit grey to 32-bit ARGB"},
};

const bool kUnderWine = ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
int failures = 0;

const WineGap* GapOf(const std::string& file, const Column& column, bool exif) {
    if (!kUnderWine) return nullptr;
    for (const auto& gap : kWineGaps) {
        const std::string columns = std::string(" ") + gap.columns + " ";
        if (file.rfind(gap.filePrefix, 0) == 0 &&
            ((exif && columns == " EXIF ") || columns.find(std::string(" ") + column.tsv + " ") != std::string::npos))
            return &gap;
    }
    return nullptr;
}

void Fail(const std::string& what) {
    std::cout << "FAIL " << what << "\n";
    ++failures;
}

Bytes ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

struct Session {
    ComPtr<IUnknown> importer;
    ComPtr<IMPAMetaProperty> tree;
    HRESULT result = TV_E_FAIL;

    explicit Session(const std::string& path) {
        if (Failed(CreateImageMetadataPlugin(nullptr, nullptr, importer.put()))) return;
        auto file = QueryAs<IMPAInterrogateFile>(importer.get(), IID_IMPAInterrogateFile);
        if (Succeeded(result = file->SetFilename(path.c_str()))) result = file->Interrogate(tree.put());
    }
    Bytes value(const char* path) const {
        ComPtr<IMPAMetaProperty> node;
        const uint8_t* data = nullptr;
        uint32_t size = 0;
        if (!tree || Failed(tree->FindByPath(path, node.put())) || Failed(node->GetValue(&data, &size)) || !data) return {};
        return Bytes(data, data + size);
    }
};

void CheckRead(const std::string& folder, const Expectation& want) {
    const std::string file = want.at("file");
    const Session s(folder + "\\" + file);
    if (s.result != TV_S_OK) return Fail(file + ": interrogation gives " + std::to_string(s.result));
    std::string figures;
    std::map<const WineGap*, std::string> gaps;
    int exifFound = 0;
    for (const bool exif : {false, true}) {
        for (const Column& c : exif ? std::span<const Column>(kExifColumns) : std::span<const Column>(kFigureColumns)) {
            const std::string got = Shown(s.value(c.property), c.kind);
            if (!exif) figures += std::string(" ") + c.tsv + "=" + got;
            if (exif && got != "-") ++exifFound;
            if (got == want.at(c.tsv)) continue;
            if (const WineGap* gap = GapOf(file, c, exif)) gaps[gap] += std::string(" ") + c.tsv + "=" + got + " (table " + want.at(c.tsv) + ")";
            else Fail(file + " " + c.tsv + ": " + got + ", the table has " + want.at(c.tsv));
        }
    }
    std::cout << "read: " << file << figures << ", " << exifFound << " EXIF columns\n";
    for (const auto& [gap, columns] : gaps) std::cout << "wine: " << file << columns << ": Wine's gdiplus " << gap->why << "\n";
}

// A JPEG's compressed data: from its first scan to the end.
Bytes ScanOf(const Bytes& jpeg) {
    MemorySource source(jpeg);
    return Bytes(jpeg.begin() + long(ProbeImage(source).metadata.at(0).length), jpeg.end());
}

// The make set, or (with remove) DateTimeOriginal removed.
void CheckWrite(const std::string& folder, const std::string& scratch, const std::string& file, bool remove) {
    const Bytes original = ReadAll(folder + "\\" + file);
    const std::string path = scratch + "\\" + file;
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(original.data()), long(original.size()));
    Session s(path);
    ComPtr<IMPAMetaProperty> node;
    if (s.result != TV_S_OK || Failed(s.tree->AddText(remove ? "Statistics:DateTimeOriginal" : "Statistics:EquipmentMake",
                                                      "GDI+ check", 0, true, node.put())))
        return Fail(file + ": no tree to edit");
    node->SetChanged(remove ? kDeleted : kChanged);
    auto handler = QueryAs<IMPAHandleMetaProperties>(s.importer.get(), IID_IMPAHandleMetaProperties);
    auto report = QueryAs<IMPAWriteReport>(s.importer.get(), IID_IMPAWriteReport);
    const HRESULT hr = handler->WriteMetaProperties(s.tree.get(), handler.get(), 0);
    char text[1024] = {};
    uint32_t size = sizeof text;
    report->GetWriteReport(text, &size);
    std::string line(text);
    while (!line.empty() && line.back() == '\n') line.pop_back();
    const Bytes now = ReadAll(path);
    if (Failed(hr)) {
        if (line.rfind("not written: ", 0) != 0 || now != original) return Fail(file + ": a failed write changed the file or gave no reason");
        const bool expected = kUnderWine || file.ends_with(".png");
        if (!expected) return Fail(file + ": " + line);
        std::cout << (kUnderWine ? "wine: " : "refused: ") << file << " " << line << ", the file unchanged\n";
        return;
    }
    const Session back(path);
    if (remove ? !back.value("Statistics:DateTimeOriginal").empty()
               : Shown(back.value("Statistics:EquipmentMake"), Kind::Text) != "GDI+ check")
        return Fail(file + ": the written change does not read back");
    if (file.ends_with(".jpg") && ScanOf(now) != ScanOf(original)) return Fail(file + ": the JPEG's compressed data changed");
    std::cout << "written: " << file << " " << line << "\n";
}

// A name beyond ASCII reaches the component as UTF-8, as every path inside tagvera does.
void CheckUtf8Name(const std::string& folder, const std::string& scratch) {
    const std::string name = scratch + "\\gr\xC3\xBCn \xE2\x98\x80.gif";
    const auto wide = [](const std::string& utf8) {
        std::wstring out(utf8.size(), L'\0');
        out.resize(size_t(::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), int(utf8.size()), out.data(), int(out.size()))));
        return out;
    };
    if (!::CopyFileW(wide(folder + "\\gif.gif").c_str(), wide(name).c_str(), FALSE)) return Fail("cannot copy gif.gif to a UTF-8 name");
    const Session s(name);
    if (s.result != TV_S_OK || Shown(s.value("Statistics:Width"), Kind::Number) != "24") return Fail("a UTF-8 file name does not read");
    std::cout << "read: a UTF-8 file name\n";
}

}  // namespace
}  // namespace tagvera::image::testing

int main(int argc, char** argv) {
    using namespace tagvera::image::testing;
    if (argc != 3) {
        std::cout << "usage: image_check FIXTURE_FOLDER SCRATCH_FOLDER\n";
        return 2;
    }
    const std::vector<Expectation> rows = ReadExpectations(std::string(argv[1]) + "\\expected.tsv");
    if (rows.empty()) Fail("no expected.tsv in " + std::string(argv[1]));
    for (const auto& row : rows) CheckRead(argv[1], row);
    for (const char* file : {"jpeg-rgb-be.jpg", "tiff-rgb-le.tif", "png-rgb.png"}) CheckWrite(argv[1], argv[2], file, false);
    CheckWrite(argv[1], argv[2], "tiff-grey16-be.tif", true);
    CheckUtf8Name(argv[1], argv[2]);
    if (failures == 0) std::cout << "image check: passed\n";
    else std::cout << "image check: " << failures << " failed\n";
    return failures == 0 ? 0 : 1;
}
