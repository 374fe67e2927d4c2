// The shared ID3 fixtures: every NAME.mp3 with a NAME.expect.json beside it.
#ifndef TAGVERA_TESTS_ID3V2_FIXTURE_LIST_H
#define TAGVERA_TESTS_ID3V2_FIXTURE_LIST_H

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "mpeg/mpeg_test_support.h"

namespace tagvera::testing {

// Paths without extension, sorted.
inline std::vector<std::string> FixtureBases() {
    std::vector<std::string> bases;
    std::error_code ec;
    const std::string suffix = ".expect.json";
    for (const auto& entry : std::filesystem::directory_iterator(SharedId3Dir(), ec)) {
        const std::string p = entry.path().string();
        if (p.size() > suffix.size() && p.compare(p.size() - suffix.size(), suffix.size(), suffix) == 0)
            bases.push_back(p.substr(0, p.size() - suffix.size()));
    }
    std::sort(bases.begin(), bases.end());
    return bases;
}

inline std::string FixtureName(const ::testing::TestParamInfo<std::string>& info) {
    return std::filesystem::path(info.param).filename().string();
}

}  // namespace tagvera::testing

#endif
