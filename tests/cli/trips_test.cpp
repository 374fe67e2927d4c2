// What a first-time user tripped over with the editing commands, each run again as written: the
// command now does what was asked or says plainly why not.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "mp3_importer/mp3_builder.h"
#include "mp3_importer/preferences_file.h"
#include "platform/scratch_dir.h"
#include "run_cli.h"

namespace tagvera::testing {
namespace {

constexpr char kJukeboxName[] = "KorvaJukebox:Metadata";

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

TEST_F(Trips, NamesCanBeFoundAndTyposAndBadValuesAreRefused) {
    const CliResult names = RunCli({"names", "mp3"});
    ASSERT_EQ(names.status, 0) << names.err;
    EXPECT_NE(names.out.find("Track:Name"), std::string::npos);
    EXPECT_NE(names.out.find("ID3v2 TIT2"), std::string::npos);
    const std::pair<const char*, const char*> refused[] = {
        {"Track:Title=X", "did you mean Track:Name?"},         {"track:name=X", "did you mean Track:Name?"},
        {"Track:CD Track #=abc", "not a value for Track:CD Track #"}, {"Track:Year=notayear", "not a year"}};
    for (const auto& [arg, why] : refused) {
        const CliResult run = RunCli({"set", Song(), arg});
        EXPECT_EQ(run.status, 2) << arg;
        EXPECT_NE(run.err.find(why), std::string::npos) << arg << ": " << run.err;
    }
    ASSERT_EQ(RunCli({"set", Song(), "title=Short", "year=2021", "track=3/12", "--custom", "Mine:Mood=calm"}).status, 0);
    const std::string json = RunCli({"info", "--json", Song()}).out;
    for (const char* held : {"\"Name\": \"Short\"", "\"Year\": 2021", "\"CD Track #\": \"3/12\"", "\"Mood\": \"calm\""})
        EXPECT_NE(json.find(held), std::string::npos) << held;
}

TEST_F(Trips, CopyCarriesEveryPropertyAcrossFormatsAndRenameNeverReplaces) {
    const std::string kmj = music_ + "/06-tagged-song.kmj";
    ASSERT_EQ(RunCli({"set", Song(), "title=Copied", "artist=Someone"}).status, 0);
    const CliResult copy = RunCli({"copy", Song(), kmj});
    ASSERT_EQ(copy.status, 0) << copy.err;
    const std::string json = RunCli({"info", "--json", kmj}).out;
    for (const char* held : {"\"Name\": \"Copied\"", "\"Name\": \"Someone\"", "\"Publisher\": \"tagvera samples\""})
        EXPECT_NE(json.find(held), std::string::npos) << held << " in " << json;
    EXPECT_NE(RunCli({"copy", Song(), kmj}).out.find("unchanged"), std::string::npos);

    // Both files now carry the same name: the second rename fails and both files stay.
    std::filesystem::copy_file(Song(), kmj + ".mp3");
    const CliResult twice = RunCli({"rename", "{artist} - {title}", Song(), kmj + ".mp3"});
    EXPECT_EQ(twice.status, 1);
    EXPECT_NE(twice.err.find("exists already"), std::string::npos) << twice.err;
    EXPECT_TRUE(std::filesystem::exists(music_ + "/Someone - Copied.mp3"));
    EXPECT_TRUE(std::filesystem::exists(kmj + ".mp3"));
}

// A v2.4 tag with a date and three comments, and no ID3v1 record.
Bytes V24Song() {
    const auto comment = [](const char* lang, const char* text) { return Frame24("COMM", Bytes{0} + B(lang) + Bytes{0} + B(text)); };
    return Tag(4, 0, Frame24("TIT2", Latin1Text("Old")) + Frame24("TDRC", Latin1Text("2020-05-17")) + comment("eng", "English") +
                         comment("deu", "Deutsch") + comment("fra", "Francais")) +
           PlainAudio();
}

TEST_F(Trips, ADryRunListsEveryChangeTheWriteWouldMake) {
    const std::string song = dir_.file("v24.mp3");
    test::WriteAll(song, V24Song());
    const CliResult set = RunCli({"set", "--dry-run", song, "Track:Name=New"});
    ASSERT_EQ(set.status, 0) << set.err;
    for (const char* line : {"id3v2: the v2.4 tag is written as v2.3", "id3v2: TIT2 \"Old\" -> \"New\"",
                             "[KorvaJukebox:Metadata]", "id3v1: created"})
        EXPECT_NE(set.out.find(line), std::string::npos) << line << " in\n" << set.out;
    const CliResult rm = RunCli({"rm", "--dry-run", song, "Track:Comments"});
    for (const char* lang : {"eng", "deu", "fra"})
        EXPECT_NE(rm.out.find("COMM [" + std::string(lang) + "]"), std::string::npos) << rm.out;
    EXPECT_EQ(test::ReadAll(song), V24Song());

    // One run without the jukebox frame and the ID3v1 record: neither is planned nor written.
    const CliResult without = RunCli({"set", "--dry-run", "--no-jukebox", "--no-id3v1", song, "Track:Name=New"});
    EXPECT_EQ(without.out.find("KorvaJukebox"), std::string::npos) << without.out;
    EXPECT_EQ(without.out.find("id3v1"), std::string::npos) << without.out;
    ASSERT_EQ(RunCli({"set", "--no-jukebox", "--no-id3v1", song, "Track:Name=New"}).status, 0);
    const Bytes written = test::ReadAll(song);
    EXPECT_EQ(std::search(written.begin(), written.end(), kJukeboxName, kJukeboxName + 21), written.end());
    EXPECT_NE(std::string(written.end() - 128, written.end() - 125), "TAG");
}

TEST_F(Trips, InfoShowsTheCommentsAndCoversTheTreeLeavesOut) {
    const std::string song = dir_.file("v24.mp3");
    test::WriteAll(song, V24Song());
    const CliResult text = RunCli({"info", song});
    ASSERT_EQ(text.status, 0) << text.err;
    EXPECT_NE(text.out.find("Comments: English"), std::string::npos) << text.out;
    for (const char* line : {"Track:Comments: COMM [deu] [] \"Deutsch\"", "Track:Comments: COMM [fra] [] \"Francais\""})
        EXPECT_NE(text.out.find(line), std::string::npos) << line << " in\n" << text.out;
    const CliResult json = RunCli({"info", "--json", song});
    EXPECT_NE(json.out.find("\"holds\": \"[fra] [] \\\"Francais\\\"\""), std::string::npos) << json.out;
}

TEST_F(Trips, FilesWorkedOnAtOnceAreReportedInTheirOrder) {
    for (const char* name : {"a.mp3", "b.mp3", "c.mp3", "d.mp3", "e.mp3"}) std::filesystem::copy_file(Song(), music_ + "/" + name);
    const CliResult one = RunCli({"info", "-j1", "-r", music_});
    const CliResult four = RunCli({"info", "-j4", "-r", music_, dir_.file("missing.mp3")});
    EXPECT_EQ(four.out, one.out);
    EXPECT_NE(four.err.find("missing.mp3: no such file"), std::string::npos) << four.err;
    const CliResult set = RunCli({"set", "-j", "3", "-r", music_, "Track:Name=Side by side"});
    ASSERT_EQ(set.status, 0) << set.err;
    EXPECT_NE(set.out.find("7 files: 7 written"), std::string::npos) << set.out;
    EXPECT_LT(set.out.find("/a.mp3: written"), set.out.find("/e.mp3: written"));
    EXPECT_EQ(RunCli({"info", "-j2", "-r", music_}).out.find("Name: Morning Light"), std::string::npos);
}

}  // namespace
}  // namespace tagvera::testing
