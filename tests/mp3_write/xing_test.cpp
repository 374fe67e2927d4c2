// The Xing repair that opening a writable file performs, and the files it must never touch.
#include <gtest/gtest.h>

#include <cmath>

#include "mp3/mpeg/scan.h"
#include "mp3_write/write_support.h"

namespace tagvera::testing {
namespace {

using Bytes = std::vector<uint8_t>;

// 266,112 samples per channel at 44.1 kHz, as a full decode of the fixture counts them.
constexpr double kDecodedSeconds = 6.034286;

Mp3AudioInfo Scan(const std::string& path) {
    platform::File file(path, platform::OpenMode::Read);
    Mp3AudioInfo info;
    EXPECT_EQ(ScanMp3Audio(file, 0, &info), TV_S_OK);
    return info;
}

using XingRepair = Mp3WriteTest;

TEST_F(XingRepair, VbrFileWithoutHeaderGetsOneThatOtherReadersUse) {
    const std::string path = dir.copy(DataFile("vbr_noxing_44k_v5.mp3"));
    const Bytes before = test::ReadAll(path);
    ASSERT_EQ(Scan(path).vbrHeader, VbrHeaderKind::None);
    auto s = OpenMp3(path);
    ASSERT_EQ(s.open, TV_S_OK);
    EXPECT_NE(s.Report().find("xing: header written"), std::string::npos) << s.Report();
    const Bytes after = test::ReadAll(path);
    EXPECT_EQ(after.size(), before.size());
    EXPECT_NE(after, before);
    const Mp3AudioInfo info = Scan(path);
    EXPECT_EQ(info.vbrHeader, VbrHeaderKind::Xing);
    EXPECT_NEAR(info.durationMs / 1000.0, kDecodedSeconds, 0.06);
    EXPECT_NEAR(s.number("Statistics:Length") / 1000.0, kDecodedSeconds, 0.06);
    // Repaired once: opened again, it is left as it is.
    EXPECT_EQ(OpenMp3(path).Report(), "");
    EXPECT_EQ(test::ReadAll(path), after);

    if (!HaveTool("ffprobe -version")) {
        GTEST_SKIP() << "ffprobe is not installed: not checked against it";
    }
    // Without the header ffprobe estimated 5.86 s from the first frames' bit rate.
    const auto probe = RunCommand("ffprobe -v error -show_entries format=duration -of csv=p=0 " + Quote(path));
    EXPECT_NEAR(std::atof(probe.out.c_str()), kDecodedSeconds, 0.06) << probe.out;
    if (!HaveTool("/usr/bin/python3 -c 'import mutagen'")) {
        GTEST_SKIP() << "python3-mutagen is not installed: not checked against it";
    }
    const auto mutagen = RunCommand("/usr/bin/python3 -c 'import sys, mutagen.mp3; print(mutagen.mp3.MP3(sys.argv[1]).info.length)' " + Quote(path));
    EXPECT_NEAR(std::atof(mutagen.out.c_str()), kDecodedSeconds, 0.06) << mutagen.out;
}

TEST_F(XingRepair, FilesItMustLeaveAlone) {
    struct Case {
        const char* file;
        bool readOnly;
        bool repairOff;
    };
    for (const Case c : {Case{"cbr_128k_44k_stereo.mp3", false, false}, Case{"vbr_xing_44k_v7.mp3", false, false},
                         Case{"vbr_noxing_44k_v5.mp3", true, false}, Case{"vbr_noxing_44k_v5.mp3", false, true},
                         Case{"mpeg25_8k_16k_mono.mp3", false, false}}) {
        SCOPED_TRACE(std::string(c.file) + (c.readOnly ? " read-only" : "") + (c.repairOff ? " repair off" : ""));
        const std::string path = dir.copy(DataFile(c.file), "case.mp3");
        if (c.readOnly) std::filesystem::permissions(path, std::filesystem::perms::owner_read);
        const Bytes before = test::ReadAll(path);
        auto s = OpenMp3(path, !c.repairOff);
        EXPECT_EQ(s.open, TV_S_OK);
        EXPECT_EQ(s.Report(), "");
        EXPECT_EQ(test::ReadAll(path), before);
        if (std::string(c.file) == "vbr_noxing_44k_v5.mp3") {
            // Still counted, so the duration is right without the repair.
            EXPECT_NEAR(s.number("Statistics:Length") / 1000.0, kDecodedSeconds, 0.06);
        }
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        std::filesystem::remove(path);
    }
}

TEST_F(XingRepair, OptionTakesOnlyZeroOrOne) {
    auto importer = NewMp3Importer();
    EXPECT_EQ(importer->SetOption(kMp3OptionXingRepair, 2), TV_E_INVALIDARG);
    EXPECT_EQ(importer->SetOption(kMp3OptionXingRepair, 0), TV_S_OK);
    EXPECT_EQ(importer->SetOption(12345, 7), TV_S_OK);  // others are still accepted and ignored
}

}  // namespace
}  // namespace tagvera::testing
