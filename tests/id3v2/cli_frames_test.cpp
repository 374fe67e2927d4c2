// `tagvera frames --json` prints exactly the frame layer's report for every fixture, through the
// MP3 importer's structure report; a file with tags but no audio is listed too, and a file it
// cannot read is one line on stderr with exit status 1.
#include <gtest/gtest.h>

#include <algorithm>

#include "cli/run_cli.h"
#include "id3v2/fixture_list.h"
#include "id3v2/tag_builder.h"
#include "platform/file.h"
#include "tags/id3v2/json_report.h"

namespace tagvera::testing {
namespace {

TEST(CliFrames, JsonIsTheFrameLayersReport) {
    for (const auto& base : FixtureBases()) {
        platform::File file(base + ".mp3", platform::OpenMode::Read);
        const CliResult r = RunCli({"frames", "--json", base + ".mp3"});
        EXPECT_EQ(r.status, 0) << base;
        EXPECT_EQ(r.out, id3v2::FramesJson(file)) << base;
    }
}

TEST(CliFrames, TextListsEveryFrame) {
    const CliResult r = RunCli({"frames", Id3DataDir() + "/r_v22.mp3"});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("ID3v2.2 at 0"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("  APIC  type 4, image/png, [Back], 2048 bytes"), std::string::npos) << r.out;
    // No MPEG audio, and a name no importer lists: the frames are there all the same.
    const CliResult tagOnly = RunCli({"frames", WriteTemp("tag-only.bin", Tag(3, 0, Frame23("TIT2", Latin1Text("No audio"))))});
    EXPECT_EQ(tagOnly.status, 0);
    EXPECT_NE(tagOnly.out.find("  TIT2  \"No audio\"\n"), std::string::npos) << tagOnly.out;
}

TEST(CliFrames, UnreadableFileIsOneLineAndStatusOne) {
    const CliResult r = RunCli({"frames", "/nonexistent/x.mp3"});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err.rfind("tagvera: /nonexistent/x.mp3: ", 0), 0u) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_EQ(RunCli({"frames"}).status, 2);
}

}  // namespace
}  // namespace tagvera::testing
