// Writers of one file take turns, across rewrites that put a new file under its name; a thread
// cannot lock one file twice; readers and other writers are never held up by what is not theirs.
#include "platform/file_lock.h"

#include <gtest/gtest.h>
#if !defined(_WIN32)
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <cerrno>
#include <string>
#include <thread>

#include "platform/companion_files.h"
#include "platform/safe_write.h"
#include "platform/scratch_dir.h"
#include "platform/write_journal.h"

namespace tagvera::platform {
namespace {

using test::ScratchDir;
using test::Span;

#if !defined(_WIN32)  // two writer processes need fork
// A counter in the first eight bytes, raised by read-modify-writes that patch in place and
// rewrite in turn: without the lock, two writers lose each other's increments.
void RaiseCounter(const std::string& path, int times) {
    for (int i = 0; i < times; ++i) {
        FileWriteLock lock(path);
        const auto head = lock.file().readExact(0, 8);
        const std::string next = std::to_string(std::stoi(std::string(head.begin(), head.end())) + 1000000001).substr(2);
        ::usleep(300);  // a window for the other writer
        if (i % 2) {
            const Patch patch{0, Span(next)};
            InPlaceEdit(lock).apply({&patch, 1}, Durability::Deferred);
        } else {
            RewriteFile(lock, FileLayout().bytes(Span(next)).copy(8, lock.file().size() - 8));
        }
    }
}

TEST(FileWriteLock, TwoWritersTakeTurnsAndLoseNothing) {
    ScratchDir dir;
    const std::string path = dir.file("count.mp3");
    test::WriteText(path, "00000000" + std::string(5000, 'x'));
    constexpr int kTimes = 20;
    pid_t writers[2];
    for (pid_t& pid : writers) {
        pid = ::fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            try {
                RaiseCounter(path, kTimes);
                ReleaseSpareJournals();  // as a batch does before its sync
            } catch (...) {
                ::_exit(2);
            }
            ::_exit(0);
        }
    }
    for (const pid_t pid : writers) {
        int status = 0;
        ::waitpid(pid, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    }
    EXPECT_EQ(test::ReadText(path).substr(0, 8), "000000" + std::to_string(2 * kTimes));
    EXPECT_EQ(dir.entries(), std::set<std::string>{"count.mp3"});
}
#endif

TEST(FileWriteLock, AThreadCannotLockAFileTwiceAndOthersAreNotHeldUp) {
    ScratchDir dir;
    const std::string path = dir.file("a.mp3"), temp = TempPathFor(path);
    test::WriteText(path, "ID3 and the audio");
    test::WriteText(temp, "what a killed rewrite left");
    auto held = std::make_optional<FileWriteLock>(path);
    EXPECT_EQ(held->recovered(), Recovery::Cleaned);
    const uint8_t b[] = {'X'};
    const Patch patch{0, b};
    for (int way = 0; way < 2; ++way) {
        try {
            if (way == 0) FileWriteLock again(path);
            if (way == 1) PatchInPlace(path, {&patch, 1});
            ADD_FAILURE() << "locked twice, way " << way;
        } catch (const FileError& e) {
            EXPECT_EQ(e.osError(), EDEADLK) << e.what();
        }
    }
    test::WriteText(temp, "left again");
    std::thread([&] {
        EXPECT_FALSE(FileWriteLock::TryAcquire(path).has_value());
        EXPECT_EQ(RecoverInterruptedWrite(path), Recovery::Busy);
        EXPECT_EQ(File(path, OpenMode::Read).readExact(0, 3), std::vector<uint8_t>({'I', 'D', '3'}));
    }).join();
    EXPECT_TRUE(PathExists(temp)) << "taken from a writer at work";
    held.reset();
    std::thread([&] { EXPECT_EQ(RecoverInterruptedWrite(path), Recovery::Cleaned); }).join();
    EXPECT_EQ(dir.entries(), std::set<std::string>{"a.mp3"});
}

}  // namespace
}  // namespace tagvera::platform
