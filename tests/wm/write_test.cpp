// The importer as a host drives it, and writes through the command checked by other readers:
// mutagen must read what was written and every attribute left alone, ffmpeg the same packets
// and ffprobe the same duration.
#include <gtest/gtest.h>

#include <set>

#include "cli/run_cli.h"
#include "mp3_importer/tree_support.h"
#include "platform/scratch_dir.h"
#include "tagvera/com_ptr.h"
#include "wm/wm_importer.h"

namespace tagvera::wm {
namespace {

std::string Fixture(const char* name) { return std::string(TAGVERA_TEST_DATA_DIR) + "/wm/" + name; }

// Every attribute as mutagen reads it, one "name=value" a line (pictures by their size).
std::string Mutagen(const std::string& file) {
    return CommandOutput("/usr/bin/python3 -c \"import sys; from mutagen.asf import ASF\n"
               "for k, vs in sorted(ASF(sys.argv[1]).tags.items()):\n"
               "  for v in vs: print(k + '=' + (str(len(v.value)) if k == 'WM/Picture' else str(v)))\" '" + file + "'");
}
std::string Packets(const std::string& file) {
    return CommandOutput("ffmpeg -v error -i '" + file + "' -map 0:a? -map 0:V? -c copy -f framecrc - 2>/dev/null | grep -v '^#'");
}
std::string Duration(const std::string& file) {
    return CommandOutput("ffprobe -v error -show_entries format=duration -of csv=p=0 '" + file + "' 2>/dev/null");
}

// Mutagen's lines with each "before" line (where there is one) changed to its "after" line.
using Changes = std::vector<std::pair<std::string, std::string>>;

std::multiset<std::string> Edited(const std::string& lines, const Changes& edits) {
    std::multiset<std::string> out;
    for (size_t at = 0, end; (end = lines.find('\n', at)) != std::string::npos; at = end + 1) out.insert(lines.substr(at, end - at));
    for (const auto& [from, to] : edits) {
        if (const auto it = out.find(from); it != out.end()) out.erase(it);
        if (!to.empty()) out.insert(to);
    }
    return out;
}

struct Edit {
    const char* file;
    std::vector<std::string> args;  // after the file
    Changes change;  // mutagen line before -> after ("" adds or removes); after strip, the lines left
    const char* how;
};
const Edit kEdits[] = {
    {"tagged.wma", {"set", "Track:Name=Evening Light", "Track:Genre=Rock"},
     {{"Title=Morning Light", "Title=Evening Light"}, {"WM/Genre=Jazz", "WM/Genre=Rock"}}, "in place"},
    {"tagged.wma", {"rm", "Track:Comments", "Track:CD Track #"}, {{"Description=first take", ""}, {"WM/Track=4", ""}}, "in place"},
    {"tagged.wma", {"set", "--custom", "Track:WM/TrackNumber=9", "Artist:Name=Nils Ärö"},
     {{"WM/TrackNumber=5", "WM/TrackNumber=9"}, {"Author=Ånna Ström", "Author=Nils Ärö"}}, "in place"},
    {"wmav2-11k.wma", {"set", "Track:Name=A title long enough to need more room than the header has"},
     {{"", "Title=A title long enough to need more room than the header has"}}, "rewritten"},
    {"wmv1-audio.wmv", {"set", "Album:Name=Pictures"}, {{"", "WM/AlbumTitle=Pictures"}}, "rewritten"},
    {"picture.wma", {"rm", "Album:Cover Art"}, {{"WM/Picture=70035", ""}}, "in place"},
    {"tagged.wmv", {"strip"}, {{"", "AspectRatioX=1"}, {"", "AspectRatioY=1"}}, "in place"},  // a stream's own stay
};

TEST(WmWrite, OtherReadersSeeTheEditAndNothingElseChanged) {
    test::ScratchDir dir;
    for (const auto& e : kEdits) {
        SCOPED_TRACE(std::string(e.file) + " " + e.args[0] + " " + (e.args.size() > 1 ? e.args[1] : ""));
        const std::string file = dir.copy(Fixture(e.file));
        const std::string before = Mutagen(file), packets = Packets(file), duration = Duration(file);
        ASSERT_FALSE(packets.empty());
        std::vector<std::string> args{e.args[0], file};
        args.insert(args.end(), e.args.begin() + 1, e.args.end());
        const CliResult r = RunCli(args);
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_NE(r.out.find(e.args[0] == "strip" ? "tags removed" : e.how), std::string::npos) << r.out;
        EXPECT_EQ(Edited(Mutagen(file), {}), Edited(e.args[0] == "strip" ? "" : before, e.change));
        EXPECT_EQ(Packets(file), packets);
        EXPECT_EQ(Duration(file), duration);
        std::remove(file.c_str());
    }
}

TEST(WmWrite, AWriteLeavesPaddingForTheNextEditInPlace) {
    test::ScratchDir dir;
    const std::string file = dir.copy(Fixture("wmav2-32k.wma"));
    EXPECT_NE(RunCli({"set", file, "Track:Name=First"}).out.find("rewritten"), std::string::npos);
    EXPECT_NE(RunCli({"set", file, "Track:Name=Second, a little longer"}).out.find("in place"), std::string::npos);
}

// The figures the header's own numbers become: a bit rate rounded to kilobits, 64 kbit/s snapped,
// a duration cut to whole seconds.
struct Figure {
    size_t at;  // in wmav2-44k-stereo.wma
    uint64_t value;
    int width;
    const char* property;
    uint32_t shown;
};
const Figure kFigures[] = {
    {130, 64600, 4, "Statistics:Quality", 64000},
    {130, 64100, 4, "Statistics:Quality", 63488},
    {94, 2345678901ull + 31000000, 8, "Statistics:Length", 234000},  // preroll 3100 ms
};

TEST(WmImporter, FiguresFromTheHeader) {
    test::ScratchDir dir;
    for (const auto& f : kFigures) {
        SCOPED_TRACE(f.property);
        auto bytes = test::ReadAll(Fixture("wmav2-44k-stereo.wma"));
        for (int i = 0; i < f.width; ++i) bytes[f.at + i] = uint8_t(f.value >> (8 * i));
        const std::string file = dir.write("f.wma", bytes);
        ComPtr<IUnknown> unknown;
        ASSERT_EQ(CreateImportWMAFile(nullptr, nullptr, unknown.put()), TV_S_OK);
        auto importer = QueryAs<IMPAInterrogateFile>(unknown.get(), IID_IMPAInterrogateFile);
        ASSERT_EQ(importer->SetFilename(file.c_str()), TV_S_OK);
        ComPtr<IMPAMetaProperty> tree;
        ASSERT_EQ(importer->Interrogate(tree.put()), TV_S_OK);
        EXPECT_EQ(tagvera::testing::NumberAt(tree.get(), f.property), f.shown);
    }
}

TEST(WmImporter, ListsAndCodesAHostSees) {
    ComPtr<IUnknown> unknown;
    ASSERT_EQ(CreateImportWMAFile(nullptr, nullptr, unknown.put()), TV_S_OK);
    auto importer = QueryAs<IMPAInterrogateFile>(unknown.get(), IID_IMPAInterrogateFile);
    uint32_t size = 0;
    EXPECT_EQ(importer->GetSupportedExtensions(nullptr, &size), TV_S_OK);
    EXPECT_EQ(size, 12u);  // "asf;wma;wmv"
    EXPECT_EQ(importer->GetSupportedMimeTypes(nullptr, &size), TV_S_OK);
    EXPECT_EQ(size, 69u);
    ComPtr<IMPAMetaProperty> tree;
    EXPECT_EQ(importer->SetFilename(TAGVERA_TEST_DATA_DIR "/id3/../wm"), TV_S_OK);
    EXPECT_EQ(importer->Interrogate(tree.put()), TV_E_FAIL);
    auto handler = QueryAs<IMPAHandleMetaProperties>(unknown.get(), IID_IMPAHandleMetaProperties);
    ASSERT_EQ(importer->SetFilename(Fixture("tagged.wma").c_str()), TV_S_OK);
    ASSERT_EQ(importer->Interrogate(tree.put()), TV_S_OK);
    ComPtr<IMPAMetaProperty> cover, name;
    ASSERT_EQ(tree->FindByPath("Album:Cover Art", cover.put()), TV_S_OK);
    uint8_t head[8] = {};
    EXPECT_EQ(handler->GetPropertyData(cover.get(), head, sizeof head), TV_S_OK);
    EXPECT_EQ(head[1], 'P');
    ASSERT_EQ(tree->FindByPath("Track:Name", name.put()), TV_S_OK);
    EXPECT_EQ(handler->GetPropertyData(name.get(), head, sizeof head), TV_E_NOTIMPL);
}

}  // namespace
}  // namespace tagvera::wm
