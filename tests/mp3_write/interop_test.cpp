// After our writes, other readers see exactly what we wrote: mutagen, exiftool, and ffmpeg's
// decoder (the audio decodes to the same samples). Skipped with a message where a tool is missing.
#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <tuple>

#include "mp3_write/write_support.h"

namespace tagvera::testing {
namespace {

using Bytes = std::vector<uint8_t>;

const char* kMutagen = "/usr/bin/python3";

std::string ScriptPath() { return std::string(TAGVERA_SOURCE_DIR) + "/tests/mp3_write/mutagen_dump.py"; }

// "KEY\tvalue" lines as tests/mp3_write/mutagen_dump.py prints them.
std::map<std::string, std::string> MutagenView(const std::string& path) {
    std::map<std::string, std::string> out;
    const auto r = RunCommand(std::string(kMutagen) + " " + Quote(ScriptPath()) + " " + Quote(path));
    EXPECT_EQ(r.status, 0) << r.out;
    std::istringstream lines(r.out);
    for (std::string line; std::getline(lines, line);)
        if (const size_t tab = line.find('\t'); tab != std::string::npos) out[line.substr(0, tab)] = line.substr(tab + 1);
    return out;
}

std::string ExifTool(const std::string& path, const std::string& tag) {
    return RunCommand("exiftool -s3 -charset UTF8 -" + tag + " " + Quote(path)).out;
}

std::string PcmDigest(const std::string& path) {
    return RunCommand("ffmpeg -v error -i " + Quote(path) + " -map 0:a -f md5 -").out;
}

std::string Sha1(const std::string& path) { return RunCommand("sha1sum " + Quote(path) + " | cut -c1-40").out; }

class Interop : public Mp3WriteTest {
protected:
    const bool haveMutagen = HaveTool(std::string(kMutagen) + " -c 'import mutagen'"),
               haveExiftool = HaveTool("exiftool -ver"), haveFfmpeg = HaveTool("ffmpeg -version");
};

TEST_F(Interop, OtherReadersSeeWhatWeWrote) {
    if (!haveMutagen && !haveExiftool && !haveFfmpeg) GTEST_SKIP() << "none of mutagen, exiftool, ffmpeg is installed";
    for (const char* start : {"cbr_96k_44k_notag.mp3", "vbr_xing_44k_v7.mp3"}) {
        SCOPED_TRACE(start);
        const std::string path = dir.copy(DataFile(start), "song.mp3");
        const std::string cover = dir.copy(FixtureFile("r_v24_unknown.mp3"), "cover.jpg");
        const std::string pcm = haveFfmpeg ? PcmDigest(path) : "";
        {
            auto s = OpenMp3(path);
            ASSERT_EQ(s.open, TV_S_OK);
            SetText(s.tree.get(), "Track:Name", "Blue in Green – 青");
            SetText(s.tree.get(), "Artist:Name", "Miles Davis/John Coltrane");
            SetText(s.tree.get(), "Album:Name", "Kind of Blue");
            SetText(s.tree.get(), "Track:CD Track #", "3/5");
            SetText(s.tree.get(), "Track:Genre", "Jazz");
            SetNumber(s.tree.get(), "Track:Year", 1959);
            SetText(s.tree.get(), "Track:Comments", "Une prise")->AddText("Language", "fra", 0, true, nullptr);
            SetText(s.tree.get(), "Track:Lyrics", "So what");
            SetPictureFile(s.tree.get(), "Album:Cover Art", cover);
            ASSERT_EQ(s.Write(), TV_S_OK);
        }
        // What each reader calls the frame (mutagen, exiftool), and the value both must see.
        const std::tuple<const char*, const char*, const char*> values[] = {
            {"TIT2", "Title", "Blue in Green – 青"}, {"TPE1", "Artist", "Miles Davis/John Coltrane"},
            {"TALB", "Album", "Kind of Blue"},       {"TRCK", "Track", "3/5"},
            {"TCON", "Genre", "Jazz"},               {"TYER", "Year", "1959"},
            {"USLT:eng", "Lyrics", "So what"}};
        if (haveMutagen) {
            auto m = MutagenView(path);
            for (const auto& [frame, tag, value] : values) EXPECT_EQ(m[frame], value) << frame;
            EXPECT_EQ(m["COMM:fra"], "Une prise");
            EXPECT_EQ(m["APIC"] + "\n", Sha1(cover));
            EXPECT_EQ(m["version"], "2.3");
        }
        if (haveExiftool) {
            for (const auto& [frame, tag, value] : values) EXPECT_EQ(ExifTool(path, tag), std::string(value) + "\n") << tag;
            const std::string picture = dir.file("picture.out");
            RunCommand("exiftool -b -Picture " + Quote(path) + " > " + Quote(picture));
            EXPECT_EQ(Sha1(picture), Sha1(cover));
        }
        if (haveFfmpeg) {
            EXPECT_EQ(PcmDigest(path), pcm);
        }
    }
    if (!haveMutagen) GTEST_SKIP() << "python3-mutagen is not installed: its checks were skipped";
    if (!haveExiftool) GTEST_SKIP() << "exiftool is not installed: its checks were skipped";
    if (!haveFfmpeg) GTEST_SKIP() << "ffmpeg is not installed: the audio was not decoded";
}

}  // namespace
}  // namespace tagvera::testing
