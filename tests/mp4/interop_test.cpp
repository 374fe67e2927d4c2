// The command on files made by ffmpeg, mutagen and AtomicParsley: after each edit mutagen reads
// exactly what was written and everything else as it was, every stream's packets are the same bytes
// (ffmpeg's checksums; a cover picture shows as a stream of its own and is left out), and ffprobe
// gives the same duration.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sstream>

#include "platform/scratch_dir.h"
#include "run_cli.h"

namespace tagvera::mp4::testing {
namespace {

const std::string kData = std::string(TAGVERA_TEST_DATA_DIR) + "/mp4/";
const std::string kJpeg = std::string(TAGVERA_TEST_DATA_DIR) + "/image/jpeg-grey-cm.jpg";

// What mutagen reads: "key<TAB>value" a line; a cover as its sizes and formats.
std::map<std::string, std::string> Mutagen(const std::string& file) {
    std::istringstream lines(CommandOutput("/usr/bin/python3 -c \"import sys\nfrom mutagen.mp4 import MP4\nf = MP4(sys.argv[1])\n"
                                    "for k, v in (f.tags or {}).items(): print(k + '\\t' + repr([(len(c), c.imageformat) "
                                    "for c in v] if k == 'covr' else v))\" '" + file + "' 2>&1"));
    std::map<std::string, std::string> items;
    for (std::string line; std::getline(lines, line);) {
        const size_t tab = line.find('\t');
        items[line.substr(0, tab)] = tab == std::string::npos ? "?" : line.substr(tab + 1);
    }
    return items;
}

// ffmpeg's packet checksums of every stream but attached pictures.
std::string Packets(const std::string& file) {
    std::istringstream lines(CommandOutput("ffmpeg -v error -i '" + file + "' -map 0 -c copy -f framecrc - 2>&1"));
    std::string kept, pictures = ",";
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("#codec_id") && (line.ends_with("mjpeg") || line.ends_with("png")))
            pictures += line.substr(10, line.find(':') - 10) + ",";
        else if (!line.starts_with("#") && pictures.find("," + line.substr(0, line.find(',')) + ",") == std::string::npos)
            kept += line + "\n";
    }
    return kept;
}

std::string Duration(const std::string& file) {
    return CommandOutput("ffprobe -v error -show_entries format=duration -of csv=p=0 '" + file + "'");
}

struct Row {
    const char* name;
    const char* fixture;
    std::vector<std::string> args;  // the file goes after the command's name
    std::map<std::string, std::string> changed;  // mutagen's key and value; "" for removed
    const char* how;
};

TEST(Mp4Interop, EditsReadBackAndMediaUntouched) {
    if (CommandOutput("/usr/bin/python3 -c 'import mutagen' 2>&1 && ffmpeg -version >/dev/null 2>&1 && echo ok") != "ok\n")
        GTEST_SKIP() << "mutagen or ffmpeg missing";
    const std::string jpegSize = std::to_string(std::filesystem::file_size(kJpeg));
    const Row rows[] = {
        {"TitleInFreeSpace", "tail-tagged.m4a", {"set", "Track:Name=A new and rather longer title"},
         {{"\xC2\xA9nam", "['A new and rather longer title']"}}, "in place"},
        {"CommentRemoved", "tail-tagged.m4a", {"rm", "Track:Comments"}, {{"\xC2\xA9" "cmt", ""}}, "in place"},
        {"InsertBesideFreeBeforeItems", "free-before-items.m4a",
         {"set", "Track:Name=A title longer than the old one", "Track:Comments=Moved to the end"},
         {{"\xC2\xA9nam", "['A title longer than the old one']"}, {"\xC2\xA9" "cmt", "['Moved to the end']"}},
         "in place"},
        {"PngCoverReplaced", "front-png.m4a", {"set", "--picture", "Album:Cover Art=" + kJpeg, "Album:Name=Al"},
         {{"covr", "[(" + jpegSize + ", 13)]"}, {"\xC2\xA9" "alb", "['Al']"}}, "in place"},
        {"GrowthMovesMedia", "bare.m4a", {"set", "Track:Name=x", "Artist:Name=y"},
         {{"\xC2\xA9nam", "['x']"}, {"\xC2\xA9" "ART", "['y']"}}, "rewritten"},
        {"ChapterTrackMovesToo", "chapters.m4v", {"set", "Track:Name=Renamed", "Track:Year=2001"},
         {{"\xC2\xA9nam", "['Renamed']"}, {"\xC2\xA9" "day", "['2001']"}, {"cmpt", "['ipod']"}}, "rewritten"},
        {"StripLeavesNothing", "tail-tagged.m4a", {"strip"}, {}, "tags removed"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        test::ScratchDir dir;
        const std::string file = dir.copy(kData + row.fixture);
        auto expected = Mutagen(file);
        const std::string packets = Packets(file), duration = Duration(file);
        std::vector<std::string> args = row.args;
        args.insert(args.begin() + 1, file);
        if (args[0] == "strip") expected.clear();
        const CliResult r = RunCli(args);
        ASSERT_EQ(r.status, 0) << r.out << r.err;
        EXPECT_NE(r.out.find(row.how), std::string::npos) << r.out;
        for (const auto& [key, value] : row.changed) {
            if (value.empty()) expected.erase(key);
            else expected[key] = value;
        }
        EXPECT_EQ(Mutagen(file), expected);
        EXPECT_EQ(Packets(file), packets);
        EXPECT_EQ(Duration(file), duration);
    }
}

// The streams' MIME types are the media platform's answer, borrowed at interrogation; a cover
// picture is no video stream.
TEST(Mp4Interop, StreamMimeTypesFromTheMediaPlatform) {
    const std::pair<const char*, const char*> rows[] = {{"chapters.m4v", "VideoMimeTypes: video/h264\n"},
                                                        {"front-png.m4a", ""}};
    for (const auto& [fixture, video] : rows) {
        const CliResult r = RunCli({"info", kData + fixture});
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_NE(r.out.find("AudioMimeTypes: audio/aac"), std::string::npos) << r.out;
        const size_t at = r.out.find("VideoMimeTypes");
        EXPECT_EQ(at == std::string::npos ? "" : r.out.substr(at, r.out.find('\n', at) + 1 - at), video) << r.out;
    }
}

}  // namespace
}  // namespace tagvera::mp4::testing
