// `tagvera frames --json` prints exactly the frame layer's report for every fixture, through the
// MP3 importer's structure report; a file with tags but no audio is listed too, and a file it
// cannot read is one line on stderr with exit status 1.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <algorithm>
#include <cstdio>

#include "id3v2/fixture_list.h"
#include "id3v2/tag_builder.h"
#include "tags/id3v2/json_report.h"
#include "platform/file.h"

namespace tagvera::testing {
namespace {

struct CliRun {
    int status = -1;
    std::string out;
};

CliRun RunCli(const std::string& arguments) {
    CliRun r;
    const std::string command = std::string("'") + TAGVERA_CLI_PATH + "' " + arguments;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return r;
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, pipe)) > 0) r.out.append(buf, n);
    const int rc = pclose(pipe);
    r.status = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
    return r;
}

TEST(CliFrames, JsonIsTheFrameLayersReport) {
    for (const auto& base : FixtureBases()) {
        platform::File file(base + ".mp3", platform::OpenMode::Read);
        const CliRun r = RunCli("frames --json '" + base + ".mp3'");
        EXPECT_EQ(r.status, 0) << base;
        EXPECT_EQ(r.out, id3v2::FramesJson(file)) << base;
    }
}

TEST(CliFrames, TextListsEveryFrame) {
    const CliRun r = RunCli("frames '" + Id3DataDir() + "/r_v22.mp3'");
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("ID3v2.2 at 0"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("  APIC  type 4, image/png, [Back], 2048 bytes"), std::string::npos) << r.out;
    // No MPEG audio, and a name no importer lists: the frames are there all the same.
    const CliRun tagOnly = RunCli("frames '" + WriteTemp("tag-only.bin", Tag(3, 0, Frame23("TIT2", Latin1Text("No audio")))) + "'");
    EXPECT_EQ(tagOnly.status, 0);
    EXPECT_NE(tagOnly.out.find("  TIT2  \"No audio\"\n"), std::string::npos) << tagOnly.out;
}

TEST(CliFrames, UnreadableFileIsOneLineAndStatusOne) {
    const CliRun r = RunCli("frames /nonexistent/x.mp3 2>&1");
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out.rfind("tagvera: /nonexistent/x.mp3: ", 0), 0u) << r.out;
    EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 1) << r.out;
    EXPECT_EQ(RunCli("frames 2>/dev/null").status, 2);
}

}  // namespace
}  // namespace tagvera::testing
