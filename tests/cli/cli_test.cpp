// The `tagvera` command as people and scripts use it: help, version, components (table and JSON),
// preferences, and the exit status of every kind of failure.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "host/guid_text.h"
#include "id3v2/json_value.h"
#include "platform/scratch_dir.h"
#include "run_cli.h"
#include "tagvera/components.h"

namespace fs = std::filesystem;
using tagvera::host::GuidToString;
using tagvera::testing::Json;
using tagvera::testing::JsonParser;

namespace {

const std::map<std::string, std::string> kLibrary = {{"TAGVERA_LIBRARY", TAGVERA_LIBRARY_PATH}};

TEST(Cli, HelpAndVersion) {
    CliResult r = RunCli({"--help"});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("components"), std::string::npos);
    EXPECT_NE(r.out.find("prefs"), std::string::npos);

    r = RunCli({"--version"}, kLibrary);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.rfind("tagvera 2.8.2\n", 0), 0u) << r.out;
    EXPECT_NE(r.out.find(": package tagvera, version 282, 8 components\n"), std::string::npos) << r.out;

    r = RunCli({"components", "--help"});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("usage: tagvera components"), std::string::npos);
    r = RunCli({"help", "prefs"});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("usage: tagvera prefs"), std::string::npos);
}

TEST(Cli, UsageErrorsExitWithTwo) {
    for (const auto& args : std::vector<std::vector<std::string>>{
             {}, {"no-such-command"}, {"--no-such-option"}, {"components", "--bogus"}, {"components", "extra"},
             {"prefs"}, {"prefs", "frobnicate"}, {"prefs", "get"}, {"prefs", "set", "TagEditID3V1"},
             {"prefs", "set", "TagEditID3V1", "yes"}, {"prefs", "set", "TagEditID3V1", "4294967296"},
             {"prefs", "set", "NoSuchPreference", "1"}, {"prefs", "get", "--json", "X"}}) {
        std::string line;
        for (const auto& a : args) line += a + " ";
        const CliResult r = RunCli(args, kLibrary);
        EXPECT_EQ(r.status, 2) << line << "\n" << r.err;
        EXPECT_FALSE(r.err.empty()) << line;
        EXPECT_TRUE(r.out.empty()) << line;
    }
}

// Every row's class and id are checked in the JSON form below.
TEST(Cli, ComponentsTableListsTheTypes) {
    const CliResult r = RunCli({"components"}, kLibrary);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("mp3,mpga"), std::string::npos);
    EXPECT_NE(r.out.find("audio/x-zn-korvaaudio,application/x-zn-korvamedia"), std::string::npos);
}

TEST(Cli, ComponentsJsonMatchesTheTable) {
    const CliResult r = RunCli({"components", "--json"}, kLibrary);
    ASSERT_EQ(r.status, 0) << r.err;
    const Json doc = JsonParser::Parse(r.out);
    EXPECT_EQ(doc["package"].string, "tagvera");
    EXPECT_EQ(doc["version"].number, 282);
    EXPECT_EQ(doc["namespace"].string.rfind("http", 0), 0u);
    const auto& list = doc["components"].array;
    ASSERT_EQ(list.size(), 8u);
    for (size_t i = 0; i < 8; ++i) {
        const Json& c = list[i];
        EXPECT_EQ(c["index"].number, static_cast<int64_t>(i));
        EXPECT_EQ(c["class"].string, tagvera::kKnownComponents[i].className);
        EXPECT_EQ(c["classId"].string, GuidToString(*tagvera::kKnownComponents[i].classId));
        EXPECT_TRUE(c["loadMultiple"].boolean);
        EXPECT_EQ(c["available"].boolean, c["status"].string == "ready");
    }
    EXPECT_TRUE(list[0]["available"].boolean) << "the property tree is always built";
    EXPECT_EQ(list[2]["mimeTypes"].strings(), (std::vector<std::string>{"audio/mp3", "audio/x-mp3"}));
    EXPECT_EQ(list[6]["extensions"].strings(), (std::vector<std::string>{"asf", "wma", "wmv"}));
    EXPECT_TRUE(list[4]["mimeTypes"].array.empty());
}

TEST(Cli, MissingLibraryIsADataErrorNamingIt) {
    const CliResult r = RunCli({"components"}, {{"TAGVERA_LIBRARY", "/nonexistent/libtagvera.so"}});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err.rfind("tagvera: /nonexistent/libtagvera.so: ", 0), 0u) << r.err;
    const CliResult viaOption = RunCli({"--library", "/nonexistent/x.so", "components"});
    EXPECT_EQ(viaOption.status, 1);
    EXPECT_NE(viaOption.err.find("/nonexistent/x.so"), std::string::npos);
}

class Prefs : public ::testing::Test {
protected:
    CliResult Run(const std::vector<std::string>& args) { return RunCli(args, env_); }

    tagvera::test::ScratchDir dir_;
    const std::string file_ = dir_.file("preferences");
    std::map<std::string, std::string> env_ = {{"TAGVERA_LIBRARY", TAGVERA_LIBRARY_PATH}, {"TAGVERA_PREFERENCES", file_}};
};

TEST_F(Prefs, SetThenGetAnyCase) {
    CliResult r = Run({"prefs", "get", "TagEditID3V1"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "1\n") << "the default";
    r = Run({"prefs", "set", "TagEditID3V1", "0"});
    ASSERT_EQ(r.status, 0) << r.err;
    r = Run({"prefs", "get", "TagEditID3V1"});
    EXPECT_EQ(r.out, "0\n");
    r = Run({"prefs", "get", "tageditid3v1"});
    EXPECT_EQ(r.out, "0\n") << "names compare without regard to case";
    r = Run({"prefs", "get", "NoSuchPreference"});
    EXPECT_EQ(r.status, 1) << "not found";
    EXPECT_NE(r.err.find("NoSuchPreference"), std::string::npos);

    ASSERT_EQ(Run({"prefs", "set", "TagReadPriority", "V2,K1,V1"}).status, 0);
    ASSERT_EQ(Run({"prefs", "set", "TagEditKorvaOne", "0x10"}).status, 0);
    EXPECT_EQ(Run({"prefs", "get", "TagReadPriority"}).out, "V2,K1,V1\n");
    EXPECT_EQ(Run({"prefs", "get", "TagEditKorvaOne"}).out, "16\n");
}

TEST_F(Prefs, ListShowsEveryPreferenceAndItsSource) {
    ASSERT_EQ(Run({"prefs", "set", "XMLEncoding", "UTF-8"}).status, 0);
    CliResult r = Run({"prefs", "list"});
    ASSERT_EQ(r.status, 0) << r.err;
    for (const char* name : {"TagReadPriority", "TagEditKorvaOne", "TagEditID3V2", "TagEditID3V1", "XMLEncoding",
                             "WriteDBFields"})
        EXPECT_NE(r.out.find(name), std::string::npos) << name;

    r = Run({"prefs", "list", "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    const Json doc = JsonParser::Parse(r.out);
    EXPECT_EQ(doc["file"].string, file_);
    bool sawEncoding = false;
    for (const Json& p : doc["preferences"].array) {
        if (p["name"].string == "XMLEncoding") {
            sawEncoding = true;
            EXPECT_EQ(p["value"].string, "UTF-8");
            EXPECT_FALSE(p["default"].boolean);
        }
        if (p["name"].string == "TagEditID3V2") {
            EXPECT_EQ(p["value"].number, 1);
            EXPECT_TRUE(p["default"].boolean);
        }
    }
    EXPECT_TRUE(sawEncoding);
    EXPECT_EQ(Run({"prefs", "path"}).out, file_ + "\n");
}

TEST_F(Prefs, ResetBringsBackTheDefaults) {
    ASSERT_EQ(Run({"prefs", "set", "TagEditID3V1", "0"}).status, 0);
    ASSERT_EQ(Run({"prefs", "set", "TagEditID3V2", "0"}).status, 0);
    ASSERT_EQ(Run({"prefs", "reset", "TagEditID3V1"}).status, 0);
    EXPECT_EQ(Run({"prefs", "get", "TagEditID3V1"}).out, "1\n");
    EXPECT_EQ(Run({"prefs", "get", "TagEditID3V2"}).out, "0\n");
    ASSERT_EQ(Run({"prefs", "reset"}).status, 0);
    EXPECT_EQ(Run({"prefs", "get", "TagEditID3V2"}).out, "1\n");
    EXPECT_FALSE(fs::exists(file_));
}

TEST_F(Prefs, DamagedFileIsADataErrorNamingTheFile) {
    tagvera::test::WriteText(file_, "[Software\\KorvaNetworks\\KorvaJukebox\\1.0\\Preferences]\nTagEditID3V1 = dword:banana\n");
    for (const auto& args : std::vector<std::vector<std::string>>{
             {"prefs", "list"}, {"prefs", "get", "TagEditID3V1"}, {"prefs", "set", "TagEditID3V1", "0"}}) {
        const CliResult r = Run(args);
        EXPECT_EQ(r.status, 1) << args[1];
        EXPECT_EQ(r.err.rfind("tagvera: " + file_ + ": ", 0), 0u) << r.err;
    }
    ASSERT_EQ(Run({"prefs", "reset"}).status, 0);
    EXPECT_EQ(Run({"prefs", "list"}).status, 0);
}

}  // namespace
