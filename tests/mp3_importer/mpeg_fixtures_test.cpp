// The MPEG fixtures through the importer: the statistics it gives against what ffprobe and a full
// decode reported when the fixtures were made.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "mp3_importer/importer_support.h"
#include "mpeg/mpeg_test_support.h"
#include "tagvera/vocabulary.h"

namespace tagvera::testing {
namespace {

class MpegFixture : public ::testing::TestWithParam<std::string> {
protected:
    PreferencesFile prefs_{""};
};

TEST_P(MpegFixture, StatisticsMatchTheDecoder) {
    const FixtureReport report = LoadReport(GetParam());
    const std::string path = Mp3DataDir() + "/" + GetParam() + ".mp3";
    const auto before = test::ReadAll(path);
    const auto got = Interrogate(path);
    EXPECT_EQ(test::ReadAll(path), before) << "with the Xing repair off, reading leaves the file as it was";
    ASSERT_EQ(got.open, TV_S_OK);
    ASSERT_EQ(got.result, TV_S_OK);
    const double length = got.number("Statistics:Length") / 1000.0;
    EXPECT_NEAR(length, report.decodedSeconds, report.decodedSeconds * 0.01);
    EXPECT_EQ(got.number("Statistics:Channels"), uint32_t(report.channels));
    EXPECT_EQ(got.number("Statistics:SampleRate"), uint32_t(report.sampleRate));
    EXPECT_EQ(got.number("Statistics:FileSize"), std::filesystem::file_size(path));
    const bool vbr = GetParam().rfind("vbr_", 0) == 0;
    EXPECT_EQ(got.number("Statistics:VBR"), vbr ? 1u : 0u);
    if (!vbr) {
        EXPECT_EQ(got.number("Statistics:Quality"), uint32_t(report.streamBitRate));
    }
    EXPECT_EQ(got.text("Statistics:Filename"), path);
    EXPECT_EQ(got.text("Statistics:MimeType"), "audio/mp3");
    EXPECT_EQ(got.number("Statistics:File Protection"), 0u);
    EXPECT_EQ(FlagsOf(NodeAt(got.tree.get(), "Statistics:MimeType").get()), uint32_t(kFlagReadOnly | kFlagPrivate));
    EXPECT_EQ(FlagsOf(NodeAt(got.tree.get(), "Statistics:Length").get()), uint32_t(kFlagReadOnly));
}

INSTANTIATE_TEST_SUITE_P(Mp3, MpegFixture, ::testing::ValuesIn(Mp3FixtureNames()),
                         [](const auto& param) { return param.param; });

}  // namespace
}  // namespace tagvera::testing
