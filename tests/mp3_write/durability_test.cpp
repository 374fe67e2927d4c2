// One write per file: the ID3v2 tag and the ID3v1 record go into the file together, with one sync
// (or none, for a host that syncs a whole batch later), and a write that fails at any OS call,
// every call of every step failed in turn, leaves the old file byte for byte or the new one whole,
// and no temporary file.
#include <gtest/gtest.h>

#include <cerrno>
#include <map>

#include "tags/id3v1/id3v1_tag.h"
#include "mp3_write/write_support.h"
#include "platform/fault_injection.h"
#include "platform/file_system_sync.h"
#include "platform/rename_ordering.h"

namespace tagvera::testing {
namespace {

namespace fault = platform::fault;
using Bytes = std::vector<uint8_t>;

class OneWritePerFile : public Mp3WriteTest {
protected:
    // A file whose tag has room to spare and that ends in an ID3v1 record.
    std::string Padded(const std::string& name) {
        const std::string path = dir.copy(DataFile("cbr_96k_44k_notag.mp3"), name);
        auto s = OpenMp3(path);
        SetText(s.tree.get(), "Track:Name", "First title");
        EXPECT_EQ(s.Write(), TV_S_OK);
        EXPECT_NE(s.Report().find("id3v1: written"), std::string::npos) << s.Report();
        return path;
    }

    static HRESULT SetTitle(const std::string& path, const std::string& title, uint32_t options = 0) {
        auto s = OpenMp3(path);
        if (Failed(s.open)) return s.open;
        SetText(s.tree.get(), "Track:Name", title);
        return s.Write(options);
    }

    static std::string RecordTitle(const std::string& path) {
        platform::File file(path, platform::OpenMode::Read);
        Id3v1Tag record;
        if (Failed(ReadId3v1Tag(file, &record))) return "(none)";
        return record.Field(Id3v1Tag::kTitle, Id3v1Tag::kTextWidth);
    }
};

// The calls of each step f makes.
template <class F>
std::map<fault::Step, unsigned> CallsDuring(F&& f) {
    fault::StartCounting();
    f();
    std::map<fault::Step, unsigned> calls;
    for (int step = 0; step < int(fault::Step::kCount); ++step) calls[fault::Step(step)] = fault::Calls(fault::Step(step));
    fault::Reset();
    return calls;
}

// In place over a tag with room to spare, or a rewrite of a file without a tag.
class WriteFaults : public OneWritePerFile, public ::testing::WithParamInterface<bool> {};

TEST_P(WriteFaults, AFailureAtAnyCallLeavesTheOldFileOrTheNewOne) {
    const bool rewrite = GetParam();
    const std::string source = rewrite ? dir.copy(DataFile("cbr_96k_44k_notag.mp3"), "source.mp3") : Padded("source.mp3");
    const Bytes original = test::ReadAll(source);
    test::ScratchDir work;
    const std::string path = work.copy(source, "song.mp3");
    for (fault::Step step : {fault::Step::Open, fault::Step::Read, fault::Step::Write, fault::Step::Fsync,
                             fault::Step::Rename, fault::Step::Dirsync}) {
        test::WriteAll(path, original);
        const unsigned calls = CallsDuring([&] { EXPECT_EQ(SetTitle(path, "New title"), TV_S_OK); })[step];
        const Bytes written = test::ReadAll(path);
        ASSERT_NE(written, original);
        EXPECT_EQ(RecordTitle(path), "New title");
        if (step != fault::Step::Dirsync && (rewrite || step != fault::Step::Rename)) {
            EXPECT_GE(calls, 1u) << fault::StepName(step);
        }
        // The tag and the record in one write, with one sync; a rewrite carries the record in the
        // new file, synced before the rename.
        if (step == fault::Step::Fsync || step == fault::Step::Rename) {
            EXPECT_EQ(calls, step == fault::Step::Fsync || rewrite ? 1u : 0u) << fault::StepName(step);
        }
        if (step == fault::Step::Write && !rewrite) {
            EXPECT_EQ(calls, 2u) << "the tag and the record";
        }
        for (unsigned n = 1; n <= calls; ++n) {
            test::WriteAll(path, original);
            HRESULT hr;
            {
                fault::Scoped armed(step, n, step == fault::Step::Write ? ENOSPC : EIO);
                hr = SetTitle(path, "New title");
            }
            const Bytes bytes = test::ReadAll(path);
            SCOPED_TRACE(std::string(fault::StepName(step)) + " call " + std::to_string(n));
            EXPECT_TRUE(bytes == original || bytes == written)
                << "a mixed file: result " << std::hex << hr << std::dec << ", " << bytes.size() << " bytes";
            if (Failed(hr)) {
                EXPECT_EQ(bytes, original);
            }
            EXPECT_EQ(work.entries(), std::set<std::string>{"song.mp3"}) << "a temporary file was left";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Writes, WriteFaults, ::testing::Bool(),
                         [](const auto& test) { return std::string(test.param ? "Rewrite" : "InPlace"); });

// Prepare strips the ID3v2 tag and blanks the record in one write: whatever call fails, the file
// keeps both tags and the failure is reported, or it has neither. Also a file with a record only.
TEST_F(OneWritePerFile, PrepareRemovesBothTagsOrNeither) {
    for (const bool recordOnly : {false, true}) {
        const std::string path = Padded(recordOnly ? "record.mp3" : "song.mp3");
        if (recordOnly) {
            ASSERT_EQ(id3v2::StripId3v2Tags(path).stripped, true);
        }
        const Bytes original = test::ReadAll(path);
        for (fault::Step step : {fault::Step::Open, fault::Step::Read, fault::Step::Write, fault::Step::Fsync,
                                 fault::Step::Rename, fault::Step::Journal, fault::Step::Link}) {
            test::WriteAll(path, original);
            const unsigned calls = CallsDuring([&] { ASSERT_EQ(OpenMp3(path).writer()->Prepare(0), TV_S_OK); })[step];
            const Bytes clean = test::ReadAll(path);
            ASSERT_EQ(PrependedSize(path), 0u);
            ASSERT_EQ(RecordTitle(path), "");
            for (unsigned n = 1; n <= calls; ++n) {
                test::WriteAll(path, original);
                auto s = OpenMp3(path);
                HRESULT hr;
                {
                    fault::Scoped armed(step, n, step == fault::Step::Write ? ENOSPC : EIO);
                    hr = s.writer()->Prepare(0);
                }
                SCOPED_TRACE(std::string(fault::StepName(step)) + " call " + std::to_string(n));
                const Bytes bytes = test::ReadAll(path);
                EXPECT_EQ(bytes, Failed(hr) ? original : clean) << std::hex << hr;
                EXPECT_EQ(s.Report().empty(), Failed(hr)) << s.Report();
            }
        }
    }
}

TEST_F(OneWritePerFile, DeferredSyncWritesABatchThatOneSyncMakesDurable) {
    std::vector<std::string> paths;
    for (size_t i = 0; i < platform::FileSystemSyncs::kFilesSyncedOneByOne + 4; ++i)
        paths.push_back(Padded("song" + std::to_string(i) + ".mp3"));
    platform::FileSystemSyncs syncs;
    auto writing = CallsDuring([&] {
        for (const auto& p : paths) {
            ASSERT_EQ(SetTitle(p, "Batch title", kMp3WriteDeferSync), TV_S_OK) << p;
            syncs.add(p);
        }
    });
    EXPECT_EQ(writing[fault::Step::Fsync], 0u);
    EXPECT_EQ(writing[fault::Step::Rename], 0u);
    // A file that has to be rewritten is synced before its rename where the rename alone could go
    // to the disk before the data.
    const std::string grown = dir.copy(DataFile("cbr_96k_44k_notag.mp3"), "grown.mp3");
    EXPECT_EQ(CallsDuring([&] { ASSERT_EQ(SetTitle(grown, "Grown", kMp3WriteDeferSync), TV_S_OK); })[fault::Step::Fsync],
              platform::RenameWritesDataFirst(platform::DirectoryOf(grown)) ? 0u : 1u);
    // The data is there before the sync: it is only not forced to the disk yet.
    for (const auto& p : paths) {
        EXPECT_EQ(OpenMp3(p).text("Track:Name"), "Batch title") << p;
        EXPECT_EQ(RecordTitle(p), "Batch title") << p;
    }
    EXPECT_EQ(CallsDuring([&] { syncs.syncAll(); })[fault::Step::Fsync], 1u);
}

// What a person gets from `tagvera set` on many files: no fsync per file, one sync of the file
// system at the end, before the command returns.
TEST_F(OneWritePerFile, TheCommandLineSyncsABatchOnceBeforeItEnds) {
    if (!HaveTool("strace -f -o /dev/null true")) GTEST_SKIP() << "strace cannot trace here";
    std::string files;
    std::vector<std::string> paths;
    for (size_t i = 0; i < platform::FileSystemSyncs::kFilesSyncedOneByOne + 4; ++i) {
        paths.push_back(Padded("cli" + std::to_string(i) + ".mp3"));
        files += " " + Quote(paths.back());
    }
    const std::string trace = dir.file("syncs.trace");
    // The leak checker of a sanitizer build refuses to run under a tracer.
    const auto run = RunCommand("ASAN_OPTIONS=\"${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0\" "
                                "strace -f -e trace=fsync,fdatasync,syncfs -o " + Quote(trace) + " " +
                                Quote(TAGVERA_CLI_PATH) + " set" + files + " 'Track:Name=From the command line'");
    ASSERT_TRUE(run.ran);
    ASSERT_EQ(run.status, 0) << run.out;
    const std::string calls = test::ReadText(trace);
    auto count = [&](const std::string& call) {
        size_t n = 0;
        for (size_t at = calls.find(call); at != std::string::npos; at = calls.find(call, at + 1)) ++n;
        return n;
    };
    EXPECT_EQ(count(" syncfs("), 1u) << calls;
    EXPECT_EQ(count(" fsync("), 0u) << calls;
    for (const auto& p : paths) {
        EXPECT_EQ(OpenMp3(p).text("Track:Name"), "From the command line") << p;
        EXPECT_EQ(RecordTitle(p), "From the command line") << p;
    }
}

}  // namespace
}  // namespace tagvera::testing
