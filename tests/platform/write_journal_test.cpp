// The undo journal as a killed writer leaves it: whole, it undoes the write; damaged in any way,
// or beside a file replaced since, it is removed and the file left alone.
#include "platform/write_journal.h"

#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <filesystem>
#include <random>

#include "platform/companion_files.h"
#include "platform/fault_injection.h"
#include "platform/interrupted_write.h"
#include "platform/safe_write.h"
#include "platform/scratch_dir.h"

namespace tagvera::platform {
namespace {

using test::Pattern;
using test::ReadAll;
using test::ScratchDir;
using test::WriteAll;
using Bytes = std::vector<uint8_t>;
using Names = std::set<std::string>;

// A journal that does not check is one whose writing was cut short, before the write it guards
// began: whatever the damage, it is removed and the file left alone.
TEST(UndoJournal, ADamagedJournalIsRemovedAndTheFileLeftAlone) {
    ScratchDir dir;
    const std::string path = dir.file("a.mp3"), journalPath = JournalPathFor(path);
    const Bytes original = Pattern(5000, 3);
    WriteAll(path, original);
    {
        File file(path, OpenMode::ReadWrite);
        UndoJournal left(file, path, {{0, 100, 100}, {4900, 100, 200}}, UndoJournal::Outcome{5100, 1}, false);
    }  // as a killed writer leaves it
    const Bytes journal = ReadAll(journalPath);
    Bytes patched = original;
    patched[10] ^= 0xFF;

    std::mt19937 random(7);
    for (int i = 0; i < 150; ++i) {
        Bytes damaged = journal;
        if (i % 2) {
            damaged.resize(random() % journal.size());
        } else {
            damaged[random() % damaged.size()] ^= static_cast<uint8_t>(1 + random() % 255);
        }
        WriteAll(journalPath, damaged);
        WriteAll(path, patched);
        EXPECT_EQ(RecoverFromJournal(path), JournalFound::Discarded) << i;
        ASSERT_EQ(ReadAll(path), patched) << i;
        ASSERT_EQ(dir.entries(), Names{"a.mp3"}) << i;
    }
    // Whole, it undoes the write; beside a file replaced since, it is of no use.
    WriteAll(journalPath, journal);
    EXPECT_EQ(RecoverFromJournal(path), JournalFound::RolledBack);
    EXPECT_EQ(ReadAll(path), original);
    WriteAll(journalPath, journal);
    WriteAll(dir.file("new"), patched);
    std::filesystem::rename(dir.file("new"), path);
    EXPECT_EQ(RecoverFromJournal(path), JournalFound::Discarded);
    EXPECT_EQ(ReadAll(path), patched);
    EXPECT_EQ(dir.entries(), Names{"a.mp3"});
}

#if !defined(_WIN32)
// A batch's edits pass one journal file on: killed at any step of an edit whose journal file still
// holds a longer journal of another file, both files are old or new after the next open, and the
// batch's spare is gone with it.
TEST(SpareJournal, AKillInAnEditThatReusesItLeavesEachFileOldOrNew) {
    ScratchDir dir;
    const std::string a = dir.file("a.mp3"), b = dir.file("b.mp3");
    const Bytes original = Pattern(300'000, 5), big = Pattern(200'000, 6), small = Pattern(3'000, 7);
    // Two writes each, so that a kill can fall between them.
    const Patch patchA[] = {{0, big}, {299'000, small}}, patchB[] = {{0, small}, {299'000, small}};
    const auto batch = [&] {
        PatchInPlace(a, patchA, Durability::Deferred);
        PatchInPlace(b, patchB, Durability::Deferred);
    };
    const auto reset = [&] {
        for (const auto& name : dir.entries()) RemoveFile(dir.file(name));
        WriteAll(a, original);
        WriteAll(b, original);
    };
    reset();
    fault::StartCounting();
    batch();
    const unsigned steps[] = {fault::Calls(fault::Step::Journal), fault::Calls(fault::Step::Write)};
    fault::Reset();
    EXPECT_EQ(dir.entries(), (Names{"a.mp3", "b.mp3", ".tagvera-undo-spare"}));
    ReleaseSpareJournals();
    EXPECT_EQ(dir.entries(), (Names{"a.mp3", "b.mp3"}));
    const Bytes newA = ReadAll(a), newB = ReadAll(b);

    for (const fault::Step step : {fault::Step::Journal, fault::Step::Write}) {
        for (unsigned n = 1; n <= steps[step == fault::Step::Write]; ++n) {
            reset();
            const pid_t pid = ::fork();
            ASSERT_GE(pid, 0);
            if (pid == 0) {
                fault::FailNth(step, n, fault::kKillProcess);
                try {
                    batch();
                } catch (...) {
                }
                ::_exit(0);
            }
            int status = 0;
            ::waitpid(pid, &status, 0);
            ASSERT_TRUE(WIFSIGNALED(status)) << fault::StepName(step) << " #" << n;
            RecoverInterruptedWrite(a);
            RecoverInterruptedWrite(b);
            const Bytes nowA = ReadAll(a), nowB = ReadAll(b);
            EXPECT_TRUE(nowA == original || nowA == newA) << fault::StepName(step) << " #" << n;
            EXPECT_TRUE(nowB == original || nowB == newB) << fault::StepName(step) << " #" << n;
            EXPECT_EQ(dir.entries(), (Names{"a.mp3", "b.mp3"})) << fault::StepName(step) << " #" << n;
        }
    }
}
#endif

}  // namespace
}  // namespace tagvera::platform
