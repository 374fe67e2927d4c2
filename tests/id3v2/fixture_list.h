// The ID3 fixtures, every NAME.mp3 with a NAME.expect.json beside it: the project's own
// (tests/data/id3, made by tools/make-id3-fixtures.py) and, as a cross-check where a checkout has
// ../shared beside it, the shared ones.
#ifndef TAGVERA_TESTS_ID3V2_FIXTURE_LIST_H
#define TAGVERA_TESTS_ID3V2_FIXTURE_LIST_H

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "mpeg/mpeg_test_support.h"

namespace tagvera::testing {

// Paths without extension, sorted within each folder.
inline std::vector<std::string> FixtureBasesIn(const std::string& dir) {
    std::vector<std::string> bases;
    std::error_code ec;
    const std::string suffix = ".expect.json";
    for (const auto& entry : std::filesystem::directory_iterator(dir, ec)) {
        const std::string p = entry.path().string();
        if (p.size() > suffix.size() && p.ends_with(suffix)) bases.push_back(p.substr(0, p.size() - suffix.size()));
    }
    std::sort(bases.begin(), bases.end());
    return bases;
}

inline std::vector<std::string> FixtureBases() {
    auto bases = FixtureBasesIn(Id3DataDir());
    for (auto& shared : FixtureBasesIn(SharedId3Dir())) bases.push_back(std::move(shared));
    return bases;
}

// The case that stands for the shared fixtures where they are missing, so that they show as skipped.
inline const std::string kSharedFixturesMissing = "shared_fixtures_missing";

inline std::vector<std::string> FixtureCases() {
    auto cases = FixtureBases();
    if (!std::filesystem::is_directory(SharedId3Dir())) cases.push_back(kSharedFixturesMissing);
    return cases;
}

// Why a case is skipped: empty for every fixture that is there.
inline std::string SkipReason(const std::string& base) {
    if (base != kSharedFixturesMissing) return "";
    return "no shared fixtures at " + SharedId3Dir() + " (a checkout without ../shared runs the project's own)";
}

inline std::string FixtureName(const ::testing::TestParamInfo<std::string>& info) {
    const std::filesystem::path path(info.param);
    const bool shared = path.parent_path() == std::filesystem::path(SharedId3Dir());
    return (shared ? "shared_" : "") + path.filename().string();
}

}  // namespace tagvera::testing

#endif
