#include "platform/preferences.h"

#include <gtest/gtest.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <cstdlib>
#include <optional>

#include "base/error.h"
#include "platform/file.h"
#include "platform/scratch_dir.h"
#include "platform/text.h"

namespace tagvera::platform::prefs {
namespace {

using test::ReadText;
using test::ScratchDir;
using test::WriteText;

const std::string kHeader = "[Software\\KorvaNetworks\\KorvaJukebox\\1.0\\Preferences]\n";

#if !defined(_WIN32)  // the file-backed store; Windows keeps the values in the registry
// Points the store at a file of its own and puts the environment back afterwards.
class Preferences : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"TAGVERA_PREFERENCES", "XDG_CONFIG_HOME", "HOME"}) {
            const char* v = std::getenv(name);
            saved_.emplace_back(name, v ? std::optional<std::string>(v) : std::nullopt);
        }
        path_ = dir_.file("prefs.ini");
        ::setenv("TAGVERA_PREFERENCES", path_.c_str(), 1);
    }
    void TearDown() override {
        for (const auto& [name, value] : saved_) {
            if (value) ::setenv(name.c_str(), value->c_str(), 1);
            else ::unsetenv(name.c_str());
        }
    }

    ScratchDir dir_;
    std::string path_;
    std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

TEST_F(Preferences, AMissingFileMeansTheDefaults) {
    // What each default is, the readers' tests show; here only that they are defaults.
    EXPECT_EQ(GetString(kTagEditID3V1), "1");
    EXPECT_EQ(GetString("SomethingElse"), "");
    EXPECT_EQ(GetNumber("SomethingElse"), 0u);

    const std::vector<Entry> all = List();
    ASSERT_EQ(all.size(), KnownValues().size());
    for (const Entry& e : all) EXPECT_TRUE(e.isDefault) << e.name;
    const Status st = Check();
    EXPECT_EQ(st.path, path_);
    EXPECT_FALSE(st.exists);
    EXPECT_TRUE(st.ok);
}

TEST_F(Preferences, ValuesRoundTripThroughAReadableFile) {
    SetString(kTagReadPriority, "V2,K1,V1");
    SetNumber(kTagEditID3V1, 0);
    SetString("HostOnlyValue", "kept");
    EXPECT_EQ(GetString(kTagReadPriority), "V2,K1,V1");
    EXPECT_EQ(GetNumber(kTagEditID3V1), 0u);
    EXPECT_EQ(GetNumber(kTagEditID3V2), 1u);
    EXPECT_EQ(GetString("hostonlyvalue"), "kept");

    const std::string text = ReadText(path_);
    EXPECT_NE(text.find(kHeader), std::string::npos) << text;
    EXPECT_NE(text.find("TagReadPriority = string:V2,K1,V1\n"), std::string::npos) << text;
    EXPECT_NE(text.find("TagEditID3V1 = dword:0\n"), std::string::npos) << text;

    const std::vector<Entry> all = List();
    ASSERT_EQ(all.size(), KnownValues().size() + 1);
    EXPECT_FALSE(all[0].isDefault);
    EXPECT_EQ(all[0].text, "V2,K1,V1");
    EXPECT_TRUE(all[1].isDefault);
    EXPECT_EQ(all.back().name, "HostOnlyValue");

    SetNumber(kTagEditID3V1, 1);
    EXPECT_EQ(GetNumber(kTagEditID3V1), 1u);
    EXPECT_TRUE(Remove(kTagReadPriority));
    EXPECT_FALSE(Remove(kTagReadPriority));
    EXPECT_EQ(GetString(kTagReadPriority), "K1,V2,V1");
    ResetAll();
    EXPECT_FALSE(PathExists(path_));
    EXPECT_EQ(GetNumber(kTagEditID3V1), 1u);
    ResetAll();  // nothing to remove is fine
}

// Escaping round trips in the preferences fuzz target; here, what the store itself decides.
TEST_F(Preferences, EmptyStringsAreValuesAndBadNamesOrBytesAreRefused) {
    SetString(kXMLEncoding, "");
    EXPECT_EQ(GetString(kXMLEncoding), "");
    EXPECT_FALSE(List()[4].isDefault) << "an empty string is a value, not the default";
    EXPECT_THROW(SetString(kXMLEncoding, std::string("a\0b", 3)), Error);
    EXPECT_THROW(SetString("Bad=Name", "x"), Error);
    EXPECT_THROW(SetNumber("", 1), Error);
}

TEST_F(Preferences, HandEditedFilesAreReadAndKeptOnEdit) {
    WriteText(path_,
              "\xEF\xBB\xBF; my settings\n"
              "[Other\\Key]\n"
              "TagEditID3V1 = dword:0\n"
              "\n"
              "[software\\korvanetworks\\korvajukebox\\1.0\\preferences]\r\n"
              "# ID3v1 off\r\n"
              "tageditid3v1 = DWORD:0x0\r\n"
              "TagEditID3V2=  dword:  0x10  \r\n"
              "XMLEncoding =   UTF-8   \r\n"
              "WriteDBFields = string:\"1\"\r\n");
    EXPECT_EQ(GetNumber(kTagEditID3V1), 0u);
    EXPECT_EQ(GetNumber(kTagEditID3V2), 16u);
    EXPECT_EQ(GetString(kTagEditID3V2), "16");
    EXPECT_EQ(GetString(kXMLEncoding), "UTF-8");
    EXPECT_EQ(GetNumber(kWriteDBFields), 1u) << "a string holding a number reads as that number";
    EXPECT_EQ(GetNumber(kTagEditKorvaOne), 1u);

    SetNumber(kTagEditKorvaOne, 0);
    SetNumber(kTagEditID3V1, 1);
    const std::string text = ReadText(path_);
    EXPECT_NE(text.find("; my settings\n[Other\\Key]\nTagEditID3V1 = dword:0\n"), std::string::npos) << text;
    EXPECT_NE(text.find("# ID3v1 off"), std::string::npos) << text;
    EXPECT_NE(text.find("tageditid3v1 = dword:1"), std::string::npos) << text;
    EXPECT_NE(text.find("TagEditKorvaOne = dword:0\n"), std::string::npos) << text;
    EXPECT_EQ(GetNumber(kTagEditKorvaOne), 0u);
    EXPECT_EQ(GetNumber(kTagEditID3V1), 1u);
    EXPECT_EQ(GetString(kXMLEncoding), "UTF-8");

    // Text that is no number is not damage: asked for as a number it gives the default.
    WriteText(path_, kHeader + "TagEditID3V2 = string:off\n");
    EXPECT_EQ(GetNumber(kTagEditID3V2), 1u);
    EXPECT_EQ(GetString(kTagEditID3V2), "off");
    EXPECT_TRUE(Check().ok);
}

TEST_F(Preferences, ADamagedFileGivesDefaultsAndCheckSaysWhere) {
    WriteText(path_, kHeader + "TagReadPriority = string:V1\nTagEditID3V1 = dword:zero\n");
    EXPECT_EQ(GetString(kTagReadPriority), "K1,V2,V1") << "nothing from a damaged file is used";
    EXPECT_EQ(GetNumber(kTagEditID3V1), 1u);
    for (const Entry& e : List()) EXPECT_TRUE(e.isDefault) << e.name;
    const Status st = Check();
    EXPECT_TRUE(st.exists);
    EXPECT_FALSE(st.ok);
    EXPECT_EQ(st.line, 3);
    EXPECT_NE(st.message.find("dword"), std::string::npos) << st.message;
    try {
        SetNumber(kTagEditID3V1, 0);
        FAIL() << "wrote over a damaged file";
    } catch (const Error& e) {
        EXPECT_NE(std::string(e.what()).find("line 3"), std::string::npos) << e.what();
    }
    EXPECT_THROW(Remove(kTagReadPriority), Error);
    ResetAll();
    SetNumber(kTagEditID3V1, 0);
    EXPECT_EQ(GetNumber(kTagEditID3V1), 0u);
    EXPECT_TRUE(Check().ok);
}

TEST_F(Preferences, AnUnreadableOrOversizedFileIsReportedNotFatal) {
    ASSERT_EQ(::mkdir(path_.c_str(), 0700), 0);  // a folder where the file should be
    EXPECT_EQ(GetNumber(kTagEditID3V1), 1u);
    EXPECT_FALSE(Check().ok);
    ::rmdir(path_.c_str());
    WriteText(path_, kHeader + std::string(2 << 20, ';'));
    EXPECT_EQ(GetString(kTagReadPriority), "K1,V2,V1");
    EXPECT_NE(Check().message.find("larger"), std::string::npos);
}

TEST_F(Preferences, ChangesByAnotherWriterAreSeenAtOnce) {
    // Same size, written within one time-stamp tick: only the content differs.
    for (int round = 0; round < 20; ++round) {
        const int v = round % 2;
        WriteText(path_, kHeader + "TagEditID3V2 = dword:" + std::to_string(v) + "\n");
        ASSERT_EQ(GetNumber(kTagEditID3V2), static_cast<uint32_t>(v)) << "round " << round;
    }
}

TEST_F(Preferences, TheFileLocationFollowsTheEnvironment) {
    ::setenv("XDG_CONFIG_HOME", dir_.file("xdg").c_str(), 1);
    ::setenv("HOME", dir_.file("home").c_str(), 1);
    EXPECT_EQ(PreferencesPath(), path_);

    ::unsetenv("TAGVERA_PREFERENCES");
    EXPECT_EQ(PreferencesPath(), dir_.file("xdg") + "/tagvera/preferences");
    SetNumber(kTagEditID3V2, 0);  // creates the folders
    EXPECT_TRUE(PathExists(dir_.file("xdg") + "/tagvera/preferences"));
    EXPECT_EQ(GetNumber(kTagEditID3V2), 0u);

    ::setenv("XDG_CONFIG_HOME", "relative/ignored", 1);
    EXPECT_EQ(PreferencesPath(), dir_.file("home") + "/.config/tagvera/preferences");
    ::unsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(PreferencesPath(), dir_.file("home") + "/.config/tagvera/preferences");
    EXPECT_EQ(GetNumber(kTagEditID3V2), 1u) << "another file, another answer";
}
#endif

#if defined(_WIN32)
// The registry store, under a key of the test's own below the current user's: what a host or
// another program put there is read as the library's own values are, and written back the same.
TEST(RegistryPreferences, ValuesRoundTripThroughTheCurrentUsersKey) {
    EXPECT_EQ(PreferencesPath(), "HKEY_CURRENT_USER\\" + std::string(kKey));
    const std::wstring key = L"Software\\tagvera-test-" + std::to_wstring(::GetCurrentProcessId());
    ::SetEnvironmentVariableW(L"TAGVERA_PREFERENCES", key.c_str());
    ResetAll();
    EXPECT_FALSE(Check().exists);
    EXPECT_EQ(GetString(kTagReadPriority), "K1,V2,V1");

    SetString(kTagReadPriority, "V2,K1,V1");
    SetNumber("tageditid3v1", 0);
    SetString("Gr\u00f6\u00dfe \u266b", "\u00fcber");
    const DWORD number = 7;
    ASSERT_EQ(::RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), L"TagEditID3V2", REG_SZ, L"0x10", 10), ERROR_SUCCESS);
    ASSERT_EQ(::RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), L"XMLEncoding", REG_DWORD, &number, 4), ERROR_SUCCESS);
    DWORD stored = 99, size = sizeof stored;
    ASSERT_EQ(::RegGetValueW(HKEY_CURRENT_USER, key.c_str(), L"TagEditID3V1", RRF_RT_REG_DWORD, nullptr, &stored, &size), ERROR_SUCCESS);
    EXPECT_EQ(stored, 0u);

    EXPECT_TRUE(Check().exists);
    EXPECT_EQ(Check().path, "HKEY_CURRENT_USER\\" + text::WideToUtf8(key));
    EXPECT_EQ(GetString(kTagReadPriority), "V2,K1,V1");
    EXPECT_EQ(GetNumber(kTagEditID3V1), 0u);
    EXPECT_EQ(GetNumber(kTagEditID3V2), 16u);
    EXPECT_EQ(GetString(kXMLEncoding), "7");
    const std::vector<Entry> all = List();
    ASSERT_EQ(all.size(), KnownValues().size() + 1);
    EXPECT_EQ(all.back().name, "Gr\u00f6\u00dfe \u266b");
    EXPECT_EQ(all.back().text, "\u00fcber");
    EXPECT_FALSE(all[3].isDefault);
    EXPECT_TRUE(all[1].isDefault);

    EXPECT_TRUE(Remove(kTagEditID3V1));
    EXPECT_FALSE(Remove(kTagEditID3V1));
    EXPECT_EQ(GetNumber(kTagEditID3V1), 1u);
    EXPECT_THROW(SetNumber("Bad=Name", 1), Error);
    ResetAll();
    EXPECT_FALSE(Check().exists);
    EXPECT_EQ(GetNumber(kTagEditID3V2), 1u);
    ::SetEnvironmentVariableW(L"TAGVERA_PREFERENCES", nullptr);
}
#endif

TEST(PreferencesParser, ReportsTheFirstBadLine) {
    struct Case {
        std::string text;
        int line;
        const char* about;
    };
    const Case cases[] = {
        {"Name = 1\n", 1, "outside"},
        {kHeader + "\nNoEquals\n", 3, "expected"},
        {"[Unclosed\n", 1, "closing ]"},
        {"[ ]\n", 1, "empty"},
        {kHeader + "A = 1\na = 2\n", 3, "twice"},
        {kHeader + kHeader, 2, "twice"},
        {kHeader + "A = dword:4294967296\n", 2, "dword"},
        {kHeader + "A = dword:-1\n", 2, "dword"},
        {kHeader + "A = dword:0x\n", 2, "dword"},
        {kHeader + "A = string:\"open\n", 2, "quote"},
        {kHeader + "A = string:\"x\" y\n", 2, "after"},
        {kHeader + "A = string:\"\\q\"\n", 2, "escape"},
        {kHeader + "A = string:\"\\x0\"\n", 2, "hex"},
        {kHeader + "A = string:\"\\x00\"\n", 2, "NUL"},
        {kHeader + std::string("A = a\0b\n", 8), 2, "NUL"},
        {kHeader + " = 1\n", 2, "empty value name"},
        {kHeader + std::string(300, 'n') + " = 1\n", 2, "255"},
    };
    for (const Case& c : cases) {
        const ParsedFile f = Parse(c.text);
        EXPECT_FALSE(f.ok) << c.text;
        EXPECT_EQ(f.line, c.line) << c.text;
        EXPECT_NE(f.message.find(c.about), std::string::npos) << f.message;
        EXPECT_EQ(f.preferences(), nullptr);
    }
}

}  // namespace
}  // namespace tagvera::platform::prefs
