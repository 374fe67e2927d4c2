// Every fixture through the libavformat platform, against what ffprobe found in it
// (expected.tsv, written by tools/make-platform-fixtures.sh).
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "interrogate/interrogate_codes.h"
#include "interrogate_support.h"

namespace tagvera::testing {
namespace {

const std::string kData = std::string(TAGVERA_TEST_DATA_DIR) + "/interrogate/";

TEST(InterrogateFixtures, AgreeWithFfprobe) {
    host::Host host(HostWithPlatformIn(TAGVERA_MEDIA_PLATFORM_DIR));
    std::ifstream table(kData + "expected.tsv");
    std::string line;
    std::getline(table, line);
    int rows = 0;
    while (std::getline(table, line)) {
        std::istringstream cells(line);
        std::string file, length, channels, width, height;
        cells >> file >> length >> channels >> width >> height;
        SCOPED_TRACE(file);
        ++rows;
        const Interrogation got = Interrogate(host, kData + file);
        if (length == "refused") {
            EXPECT_EQ(got.opened, interrogate::kNotOpened);
            EXPECT_EQ(got.result, TV_E_FAIL);
            continue;
        }
        ASSERT_EQ(got.opened, TV_S_OK);
        ASSERT_EQ(got.result, TV_S_OK);
        EXPECT_NEAR(got.number("Length"), std::stod(length), std::stod(length) / 100 + 1);
        EXPECT_EQ(got.number("Channels"), std::stoul(channels));
        EXPECT_EQ(got.number("Width"), std::stoul(width));
        EXPECT_EQ(got.number("Height"), std::stoul(height));
        EXPECT_EQ(got.has("HasVideo"), width != "0");
    }
    EXPECT_GE(rows, 18) << "run tools/make-platform-fixtures.sh";
}

// Without a platform library the interrogator refuses, and the rest of the package still works.
TEST(InterrogateFixtures, MissingPlatformLeavesTheOthers) {
    host::Host host(HostWithPlatformIn("/nonexistent"));
    const Interrogation got = Interrogate(host, kData + "song.wav");
    EXPECT_EQ(got.opened, interrogate::kNotOpened);
    EXPECT_EQ(got.result, TV_E_FAIL);
    ComPtr<IMPAMetaProperty> tree;
    EXPECT_EQ(host.NewPropertyTree(tree.put()), TV_S_OK);
}

}  // namespace
}  // namespace tagvera::testing
