// A write that fails at any OS call leaves the old file byte for byte, or the new one whole,
// and no temporary file: every call of every step is failed in turn.
#include <gtest/gtest.h>

#include <cerrno>

#include "mp3_write/write_support.h"
#include "platform/fault_injection.h"

namespace tagvera::testing {
namespace {

namespace fault = platform::fault;
using Bytes = std::vector<uint8_t>;

struct FaultCase {
    const char* source;  // starting file
    bool fits;           // the new tag fits the old space
};

class WriteFaults : public ::testing::TestWithParam<FaultCase> {
protected:
    // A property ID3v1 has no field for: the ID3v2 update alone (a changed ID3v1 record would go
    // into the same write, as durability_test.cpp checks; a preferences file failing to read
    // would switch it back on).
    EditPreferences prefs{""};

    static HRESULT Edit(const std::string& path) {
        auto s = OpenMp3(path);
        if (Failed(s.open)) return s.open;
        SetText(s.tree.get(), "Artist:Band", "Changed under fire");
        return s.Write();
    }
    // Runs the edit with the nth call of step failing (0: none); the file's bytes afterwards.
    static std::pair<HRESULT, Bytes> Run(const std::string& source, fault::Step step, unsigned nth, unsigned* calls,
                                         std::set<std::string>* leftovers) {
        test::ScratchDir dir;
        const std::string path = CopyTo(dir, source, "song.mp3");
        auto s = OpenMp3(path);
        if (Failed(s.open)) return {s.open, {}};
        SetText(s.tree.get(), "Artist:Band", "Changed under fire");
        HRESULT hr;
        if (nth == 0) {
            fault::StartCounting();
            hr = s.Write();
            if (calls) *calls = fault::Calls(step);
            fault::Reset();
        } else {
            fault::Scoped armed(step, nth, step == fault::Step::Write ? ENOSPC : EIO);
            hr = s.Write();
        }
        s = Mp3Session{};
        if (leftovers) *leftovers = dir.entries();
        return {hr, test::ReadAll(path)};
    }
};

TEST_P(WriteFaults, EveryCallOfEveryStep) {
    const std::string source = DataFile(GetParam().source);
    const Bytes original = test::ReadAll(source);
    for (fault::Step step : {fault::Step::Open, fault::Step::Read, fault::Step::Write, fault::Step::Fsync,
                             fault::Step::Rename, fault::Step::Dirsync}) {
        unsigned calls = 0;
        const auto [cleanResult, written] = Run(source, step, 0, &calls, nullptr);
        ASSERT_EQ(cleanResult, TV_S_OK);
        ASSERT_NE(written, original);
        if (step == fault::Step::Write) {
            EXPECT_GE(calls, 1u);
        }
        if (!GetParam().fits && step == fault::Step::Rename) {
            EXPECT_GE(calls, 1u);
        }
        for (unsigned n = 1; n <= calls; ++n) {
            std::set<std::string> left;
            const auto [hr, bytes] = Run(source, step, n, nullptr, &left);
            SCOPED_TRACE(std::string(fault::StepName(step)) + " call " + std::to_string(n));
            EXPECT_TRUE(bytes == original || bytes == written)
                << "a mixed file: result " << std::hex << hr << std::dec << ", " << bytes.size() << " bytes, old "
                << original.size() << ", new " << written.size();
            if (Failed(hr)) {
            EXPECT_EQ(bytes, original);
        }
            EXPECT_EQ(left, std::set<std::string>{"song.mp3"}) << "a temporary file was left";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Files, WriteFaults,
                         ::testing::Values(FaultCase{"cbr_96k_44k_notag.mp3", false},  // rewrite
                                           FaultCase{"vbr_xing_44k_v7.mp3", false}),
                         [](const auto& test) { return std::string(test.param.fits ? "InPlace" : "Rewrite") + std::to_string(test.index); });

// A tag with room to spare: the edit is one patch over the old tag.
TEST(WriteFaultsInPlace, PaddedTagIsPatchedOrLeftAlone) {
    EditPreferences prefs{""};
    test::ScratchDir dir;
    const std::string padded = CopyTo(dir, DataFile("cbr_96k_44k_notag.mp3"), "padded.mp3");
    {
        auto s = OpenMp3(padded);
        SetText(s.tree.get(), "Track:Name", "Room to spare");
        ASSERT_EQ(s.Write(), TV_S_OK);  // grows once, with padding
    }
    const Bytes original = test::ReadAll(padded);
    for (fault::Step step : {fault::Step::Open, fault::Step::Read, fault::Step::Write, fault::Step::Fsync}) {
        test::ScratchDir work;
        const std::string path = CopyTo(work, padded, "song.mp3");
        fault::StartCounting();
        auto s = OpenMp3(path);
        SetText(s.tree.get(), "Artist:Band", "Short");
        const unsigned before = fault::Calls(step);
        ASSERT_EQ(s.Write(), TV_S_OK);
        EXPECT_NE(s.Report().find("in place"), std::string::npos);
        const unsigned calls = fault::Calls(step) - before;
        fault::Reset();
        const Bytes written = test::ReadAll(path);
        for (unsigned n = 1; n <= calls; ++n) {
            test::WriteAll(path, original);
            auto t = OpenMp3(path);
            SetText(t.tree.get(), "Artist:Band", "Short");
            HRESULT hr;
            {
                fault::Scoped armed(step, n, EIO);
                hr = t.Write();
            }
            const Bytes bytes = test::ReadAll(path);
            SCOPED_TRACE(std::string(fault::StepName(step)) + " call " + std::to_string(n));
            EXPECT_TRUE(bytes == original || bytes == written);
            if (Failed(hr)) {
            EXPECT_EQ(bytes, original);
        }
            EXPECT_EQ(work.entries(), std::set<std::string>{"song.mp3"});
        }
    }
}

}  // namespace
}  // namespace tagvera::testing
