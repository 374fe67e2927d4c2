// What a first-time user tripped over with the editing commands, each run again as written: the
// command now does what was asked or says plainly why not.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "mp3_importer/preferences_file.h"
#include "platform/scratch_dir.h"
#include "run_cli.h"

namespace tagvera::testing {
namespace {

class Trips : public ::testing::Test {
protected:
    PreferencesFile prefs_{""};
    test::ScratchDir dir_;
    const std::string music_ = dir_.file("music");

    void SetUp() override {
        std::filesystem::create_directory(music_);
        for (const char* sample : {"01-morning-light.mp3", "06-tagged-song.kmj"})
            std::filesystem::copy_file(std::string(TAGVERA_SOURCE_DIR) + "/samples/" + sample, music_ + "/" + sample);
    }
    std::string Song() const { return music_ + "/01-morning-light.mp3"; }
};

TEST_F(Trips, ARecursiveRunSaysWhatItPassedOverAndEndsWithACount) {
    test::WriteText(music_ + "/a.flac", "x");
    test::WriteText(music_ + "/notes.txt", "x");
    const CliResult first = RunCli({"set", "-r", music_, "Album:Name=Kind of Blue"});
    ASSERT_EQ(first.status, 0) << first.err;
    EXPECT_NE(first.out.find("2 files: 2 written, 0 unchanged, 0 failed; passed over, no importer reads them: .flac 1, .txt 1"),
              std::string::npos)
        << first.out;
    EXPECT_NE(RunCli({"set", "-r", music_, "Album:Name=Kind of Blue"}).out.find("0 written, 2 unchanged"), std::string::npos);
}

TEST_F(Trips, SettingWhatAFileHoldsLeavesItAndItsTimeStamps) {
    ASSERT_EQ(RunCli({"set", Song(), "Track:Name=Same"}).status, 0);
    const auto before = std::filesystem::last_write_time(Song());
    const auto bytes = test::ReadAll(Song());
    const CliResult again = RunCli({"set", Song(), "Track:Name=Same"});
    EXPECT_EQ(again.status, 0);
    EXPECT_NE(again.out.find("unchanged"), std::string::npos) << again.out;
    EXPECT_EQ(std::filesystem::last_write_time(Song()), before);
    EXPECT_EQ(test::ReadAll(Song()), bytes);
}

TEST_F(Trips, ProgressInALogIsPlainLinesAndQuietPrintsOnlyFailures) {
    const CliResult progress = RunCli({"set", "--progress", "-r", music_, "Track:Name=P"});
    ASSERT_EQ(progress.status, 0) << progress.err;
    EXPECT_EQ(progress.err.find('\033'), std::string::npos) << progress.err;
    EXPECT_NE(progress.err.find("[2/2] "), std::string::npos) << progress.err;
    const CliResult quiet = RunCli({"set", "-q", "-r", music_, music_ + "/missing.mp3", "Track:Name=Q"});
    EXPECT_EQ(quiet.status, 1);
    EXPECT_EQ(quiet.out, "");
    EXPECT_EQ(quiet.err, "tagvera: " + music_ + "/missing.mp3: no such file\n");
}

TEST_F(Trips, ATextFileIsNotTakenForAPicture) {
    test::WriteText(dir_.file("lyrics.jpg"), "la la la");
    const CliResult run = RunCli({"set", "--picture", "Album:Cover Art=" + dir_.file("lyrics.jpg"), Song()});
    EXPECT_EQ(run.status, 2);
    EXPECT_NE(run.err.find("is not a picture"), std::string::npos) << run.err;
}

TEST_F(Trips, AReadOnlyFileOrAMissingFolderIsSaidInWords) {
    ::chmod(Song().c_str(), 0444);
    const CliResult readOnly = RunCli({"set", Song(), "Track:Name=RO"});
    EXPECT_EQ(readOnly.status, 1);
    EXPECT_NE(readOnly.err.find("not written: the file is read-only"), std::string::npos) << readOnly.err;
    const CliResult noFolder = RunCli({"extract", Song(), "Track:Name", "-o", dir_.file("nodir/x.txt")});
    EXPECT_EQ(noFolder.status, 1);
    EXPECT_NE(noFolder.err.find("no such folder"), std::string::npos) << noFolder.err;
}

}  // namespace
}  // namespace tagvera::testing
