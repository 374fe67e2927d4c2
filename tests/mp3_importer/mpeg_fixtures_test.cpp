// The MPEG fixtures through the importer: duration, channels, sample rate and size against what
// ffprobe and a full decode reported when the fixtures were made.
#include <gtest/gtest.h>

#include <string>

#include "mp3_importer/importer_support.h"
#include "mpeg/mpeg_test_support.h"

namespace tagvera::testing {
namespace {

class MpegFixture : public ::testing::TestWithParam<std::string> {
protected:
    PreferencesFile prefs_{""};
};

TEST_P(MpegFixture, StatisticsMatchTheDecoder) {
    const FixtureReport report = LoadReport(GetParam());
    const std::string path = Mp3DataDir() + "/" + GetParam() + ".mp3";
    const auto before = ReadWholeFile(path);
    const auto got = Interrogate(path);
    // With the Xing repair off, reading leaves the file as it was.
    EXPECT_EQ(ReadWholeFile(path), before);
    ASSERT_EQ(got.open, TV_S_OK);
    ASSERT_EQ(got.result, TV_S_OK);
    const double length = got.number("Statistics:Length") / 1000.0;
    EXPECT_NEAR(length, report.decodedSeconds, report.decodedSeconds * 0.01);
    EXPECT_EQ(got.number("Statistics:Channels"), uint32_t(report.channels));
    EXPECT_EQ(got.number("Statistics:SampleRate"), uint32_t(report.sampleRate));
    EXPECT_EQ(got.number("Statistics:FileSize"), std::filesystem::file_size(path));
}

INSTANTIATE_TEST_SUITE_P(Mp3, MpegFixture, ::testing::ValuesIn(Mp3FixtureNames()),
                         [](const auto& param) { return param.param; });

}  // namespace
}  // namespace tagvera::testing
