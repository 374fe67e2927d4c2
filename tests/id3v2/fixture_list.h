// The shared ID3 fixtures: every NAME.mp3 with a NAME.expect.json beside it.
#ifndef TAGVERA_TESTS_ID3V2_FIXTURE_LIST_H
#define TAGVERA_TESTS_ID3V2_FIXTURE_LIST_H

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace tagvera::testing {

inline std::string Id3FixtureDir() { return std::string(TAGVERA_FIXTURES_DIR) + "/id3"; }

// Paths without extension, sorted.
inline std::vector<std::string> FixtureBases() {
    std::vector<std::string> bases;
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(Id3FixtureDir(), ec)) {
        const std::string p = entry.path().string();
        const std::string suffix = ".expect.json";
        if (p.size() > suffix.size() && p.compare(p.size() - suffix.size(), suffix.size(), suffix) == 0)
            bases.push_back(p.substr(0, p.size() - suffix.size()));
    }
    std::sort(bases.begin(), bases.end());
    return bases;
}

inline std::string FixtureName(const ::testing::TestParamInfo<std::string>& info) {
    return std::filesystem::path(info.param).filename().string();
}

inline std::string ReadText(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    std::stringstream s;
    s << f.rdbuf();
    return s.str();
}

}  // namespace tagvera::testing

#endif
