// `tagvera info` and `tagvera extract` as people run them: the bundled samples in text, JSON and
// XML, pictures saved, and one clear line and exit status 1 for every kind of bad input.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "id3v2/json_value.h"
#include "mp3_importer/importer_support.h"
#include "run_cli.h"
#include "tagvera/metaprop_serialize.h"

namespace tagvera::testing {
namespace {

std::string Sample(const std::string& name) { return std::string(TAGVERA_SOURCE_DIR) + "/samples/" + name; }

const std::vector<std::string> kSamples = {Sample("01-morning-light.mp3"), Sample("02-harbour-lights.mp3"),
                                           Sample("03-old-radio.mp3")};

std::vector<std::string> Args(std::initializer_list<std::string> head, const std::vector<std::string>& tail = {}) {
    std::vector<std::string> args(head);
    args.insert(args.end(), tail.begin(), tail.end());
    return args;
}

class CliInfo : public ::testing::Test {
protected:
    PreferencesFile prefs_{""};
    test::ScratchDir dir_;
};

TEST_F(CliInfo, InfoShowsTheSamplesTagsAndDurations) {
    const CliResult run = RunCli(Args({"info"}, kSamples));
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    for (const char* expected :
         {"Name: Morning Light", "Name: Harbour Lights", "Name: Old Radio", "Name: The Sample Band",
          "Name: Bundled Tones", "CD Track #: 1/3", "Genre: Ambient", "Genre: Electronic",
          "Comments: Two sine tones, four seconds.", "Cover Art: [image/jpeg, 2286 bytes, on demand]",
          "Lyrics: [text/plain", "All Other Credits: producer: P. Roducer; mix: M. Ixer",
          "Artist URL: https://example.org/zoe-and-the-tones", "0:04.04", "0:05.04", "0:03.05", "128 kbit/s CBR",
          "VBR", "mono, 22050 Hz", "SampleRate: 44100 Hz"})
        EXPECT_NE(run.out.find(expected), std::string::npos) << expected;
    // Nothing read is ever changed.
    EXPECT_EQ(run.out.find("KorvaJukebox"), std::string::npos);
}

TEST_F(CliInfo, JsonSaysWhatTheImporterSays) {
    const CliResult run = RunCli(Args({"info", "--json"}, kSamples));
    ASSERT_EQ(run.status, 0) << run.err;
    const Json doc = JsonParser::Parse(run.out);
    const auto& files = doc["files"].array;
    ASSERT_EQ(files.size(), 3u);
    for (size_t i = 0; i < files.size(); ++i) {
        const auto direct = Interrogate(kSamples[i]);
        ASSERT_EQ(direct.result, TV_S_OK);
        const Json& file = files[i];
        EXPECT_EQ(file["path"].string, kSamples[i]);
        EXPECT_EQ(file["importer"].string, "CImportMP3File");
        EXPECT_TRUE(file["statistics_complete"].boolean);
        EXPECT_EQ(file["properties"]["Track"]["Name"].string, direct.text("Track:Name"));
        EXPECT_EQ(file["properties"]["Artist"]["Name"].string, direct.text("Artist:Name"));
        const Json& stats = file["statistics"];
        EXPECT_EQ(uint32_t(stats["duration_ms"].number), direct.number("Statistics:Length"));
        EXPECT_EQ(uint32_t(stats["bit_rate"].number), direct.number("Statistics:Quality"));
        EXPECT_EQ(uint32_t(stats["sample_rate"].number), direct.number("Statistics:SampleRate"));
        EXPECT_EQ(uint32_t(stats["channels"].number), direct.number("Statistics:Channels"));
        EXPECT_EQ(stats["vbr"].boolean, direct.number("Statistics:VBR") == 1);
        EXPECT_EQ(uint64_t(stats["file_size_on_disk"].number), std::filesystem::file_size(kSamples[i]));
        EXPECT_TRUE(stats["clipped"].array.empty());
    }
    const Json& cover = files[1]["properties"]["Album"]["Cover Art"];
    EXPECT_EQ(cover["reference"].string, "Album:Cover Art");
    EXPECT_EQ(cover["mime_type"].string, "image/jpeg");
    EXPECT_EQ(cover["size"].number, 2286);
    EXPECT_EQ(files[1]["properties"]["Credits"]["All Other Credits"].strings(),
              (std::vector<std::string>{"producer", "P. Roducer", "mix", "M. Ixer"}));
}

TEST_F(CliInfo, XmlIsTheTreesOwnDocument) {
    const CliResult run = RunCli({"info", "--xml", kSamples[0]});
    ASSERT_EQ(run.status, 0) << run.err;
    ASSERT_EQ(run.out.rfind("<KJMETADATA>", 0), 0u) << run.out.substr(0, 40);
    // Read back by a tree, it gives the tree the importer built.
    auto tree = HostTree();
    auto serialize = QueryAs<IMPAMetaPropertySerialize2>(tree, IID_IMPAMetaPropertySerialize2);
    ASSERT_TRUE(serialize);
    ASSERT_EQ(serialize->ReadXMLWithEncoding(run.out.data(), uint32_t(run.out.size()), "UTF-8"), TV_S_OK);
    EXPECT_EQ(TextAt(tree.get(), "Track:Name"), "Morning Light");
    EXPECT_EQ(NumberAt(tree.get(), "Statistics:Length"), Interrogate(kSamples[0]).number("Statistics:Length"));
    // Several files: one document each, named in a comment before it.
    const CliResult several = RunCli(Args({"info", "--xml"}, kSamples));
    ASSERT_EQ(several.status, 0);
    size_t documents = 0;
    for (size_t at = several.out.find("<KJMETADATA>"); at != std::string::npos; at = several.out.find("<KJMETADATA>", at + 1))
        ++documents;
    EXPECT_EQ(documents, 3u);
    EXPECT_NE(several.out.find("<!-- " + kSamples[2] + " -->"), std::string::npos);
}

TEST_F(CliInfo, ExtractSavesTheCoverByteForByteAndRefusesWhatIsNotThere) {
    const auto direct = Interrogate(kSamples[1]);
    auto cover = NodeAt(direct.tree.get(), "Album:Cover Art");
    ASSERT_TRUE(cover);
    Bytes expected(NumberAt(cover.get(), "DataSize"));
    ASSERT_EQ(direct.handler()->GetPropertyData(cover.get(), expected.data(), uint32_t(expected.size())), TV_S_OK);

    const std::string out = dir_.file("cover.jpg");
    const CliResult saved = RunCli({"extract", kSamples[1], "Album:Cover Art", "-o", out});
    ASSERT_EQ(saved.status, 0) << saved.err;
    EXPECT_EQ(test::ReadAll(out), expected);
    const CliResult piped = RunCli({"extract", kSamples[1], "Album:Cover Art", "-o", "-"});
    ASSERT_EQ(piped.status, 0) << piped.err;
    EXPECT_EQ(Bytes(piped.out.begin(), piped.out.end()), expected);
    // A value the tree holds itself.
    const CliResult title = RunCli({"extract", kSamples[1], "Track:Name", "-o", "-"});
    EXPECT_EQ(title.out, "Harbour Lights");

    // What is not there, or not a value.
    const CliResult missing = RunCli({"extract", kSamples[0], "Album:Cover Art", "-o", dir_.file("x")});
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.err.find("no property \"Album:Cover Art\""), std::string::npos) << missing.err;
    EXPECT_FALSE(std::filesystem::exists(dir_.file("x")));
    const CliResult group = RunCli({"extract", kSamples[0], "Album", "-o", "-"});
    EXPECT_EQ(group.status, 1);
    const CliResult usage = RunCli({"extract", kSamples[0], "Album:Cover Art"});
    EXPECT_EQ(usage.status, 2);
}

struct BadInput {
    std::string path;
    std::string reason;
};

TEST_F(CliInfo, BadInputGivesOneLineAndExitStatusOne) {
    std::vector<BadInput> bad = {
        {dir_.write("empty.mp3", {}), "empty file"},
        {dir_.write("tag-only.mp3", Tag(3, 0, TextFrame("TIT2", "Cut before the audio"))), "no MPEG audio frames"},
        {dir_.path(), "is a folder"},
        {dir_.file("missing.mp3"), "no such file"},
        {dir_.write("notes.txt", B("hello")), "not a kind of file"},
    };
    const std::string fifo = dir_.file("fifo.mp3");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    bad.push_back({fifo, "not a regular file"});
    if (geteuid() != 0) {
        const std::string locked = dir_.write("locked.mp3", Mp3File(TextFrame("TIT2", "T")));
        chmod(locked.c_str(), 0);
        bad.push_back({locked, "cannot open: Permission denied"});
    }
    for (const BadInput& input : bad) {
        for (const char* format : {"--json", "--xml", "--text"}) {
            std::vector<std::string> args{"info"};
            if (std::string(format) != "--text") args.push_back(format);
            args.push_back(input.path);
            const CliResult run = RunCli(args);
            EXPECT_EQ(run.status, 1) << input.path << " " << format;
            EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
            EXPECT_EQ(run.err.rfind("tagvera: " + input.path + ": ", 0), 0u) << run.err;
            EXPECT_NE(run.err.find(input.reason), std::string::npos) << run.err;
        }
    }
    // Truncated audio is read as far as it goes.
    const Bytes whole = test::ReadAll(kSamples[0]);
    const std::string cut = dir_.write("cut.mp3", Bytes(whole.begin(), whole.begin() + long(whole.size() / 2)));
    const CliResult run = RunCli({"info", cut});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("Morning Light"), std::string::npos);
}

TEST_F(CliInfo, GoodFilesAreShownEvenWhenOthersFail) {
    const std::string empty = dir_.write("empty.mp3", {});
    const CliResult run = RunCli({"info", "--json", kSamples[0], empty, kSamples[2]});
    EXPECT_EQ(run.status, 1);
    const Json doc = JsonParser::Parse(run.out);
    const auto& files = doc["files"].array;
    ASSERT_EQ(files.size(), 3u);
    EXPECT_EQ(files[0]["properties"]["Track"]["Name"].string, "Morning Light");
    EXPECT_EQ(files[1]["path"].string, empty);
    EXPECT_NE(files[1]["error"].string.find("empty file"), std::string::npos);
    EXPECT_EQ(files[2]["properties"]["Track"]["Name"].string, "Old Radio");
}

TEST_F(CliInfo, FoldersAreReadWithRecursion) {
    std::filesystem::create_directories(dir_.file("music/disc 2"));
    std::filesystem::copy_file(kSamples[0], dir_.file("music/a.mp3"));
    std::filesystem::copy_file(kSamples[2], dir_.file("music/disc 2/b.MP3"));
    dir_.write("music/cover.txt", B("not music"));
    const CliResult run = RunCli({"info", "-r", dir_.file("music")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("Name: Morning Light"), std::string::npos);
    EXPECT_NE(run.out.find("Name: Old Radio"), std::string::npos);
    EXPECT_EQ(run.out.find("cover.txt"), std::string::npos);
    EXPECT_EQ(run.err, "2 read, 0 failed; passed over, no importer reads them: .txt 1\n");
}

TEST_F(CliInfo, SaysWhenA32BitFigureWasClipped) {
    const std::string huge = dir_.copy(kSamples[0], "huge.mp3");
    std::filesystem::resize_file(huge, (uint64_t(4) << 30) + 1000);  // sparse
    const CliResult text = RunCli({"info", huge});
    ASSERT_EQ(text.status, 0) << text.err;
    EXPECT_NE(text.out.find("FileSize: 4294967295 bytes (clipped: the file has 4294968296 bytes)"), std::string::npos)
        << text.out;
    EXPECT_NE(text.out.find("statistics incomplete"), std::string::npos);
    const CliResult json = RunCli({"info", "--json", huge});
    ASSERT_EQ(json.status, 0);
    const Json doc = JsonParser::Parse(json.out);
    const Json& stats = doc["files"].array.at(0)["statistics"];
    EXPECT_EQ(stats["clipped"].strings(), std::vector<std::string>{"file_size"});
    EXPECT_EQ(stats["file_size_on_disk"].number, int64_t((uint64_t(4) << 30) + 1000));
    EXPECT_FALSE(doc["files"].array.at(0)["statistics_complete"].boolean);
}

}  // namespace
}  // namespace tagvera::testing
