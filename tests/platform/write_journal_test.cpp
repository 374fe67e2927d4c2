// The undo journal as a killed writer leaves it: whole, it undoes the write; damaged in any way,
// or beside a file replaced since, it is removed and the file left alone.
#include "platform/write_journal.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "platform/companion_files.h"
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

}  // namespace
}  // namespace tagvera::platform
