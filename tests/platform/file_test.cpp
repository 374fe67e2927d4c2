#include "platform/file.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include "platform/companion_files.h"
#include "platform/fault_injection.h"
#include "platform/safe_write.h"
#include "platform/scratch_dir.h"

namespace tagvera::platform {
namespace {

using test::ReadAll;
using test::ScratchDir;
using test::WriteAll;

TEST(File, BoundedReadsNearAndPastTheEnd) {
    ScratchDir dir;
    const auto data = test::Pattern(1000);
    WriteAll(dir.file("a.bin"), data);
    File f(dir.file("a.bin"), OpenMode::Read);
    EXPECT_EQ(f.size(), 1000u);
    EXPECT_FALSE(f.writable());

    std::vector<uint8_t> buf(64, 0xEE);
    EXPECT_EQ(f.readAt(990, buf), 10u);
    EXPECT_EQ(0, std::memcmp(buf.data(), data.data() + 990, 10));
    EXPECT_EQ(buf[10], 0xEE) << "nothing written past what was read";
    EXPECT_EQ(f.readAt(1000, buf), 0u);
    EXPECT_EQ(f.readAt(UINT64_MAX, buf), 0u);
    EXPECT_EQ(f.readAt(uint64_t(1) << 63, buf), 0u);

    EXPECT_EQ(f.readExact(100, 50), std::vector<uint8_t>(data.begin() + 100, data.begin() + 150));
    EXPECT_THROW(f.readExact(990, 11), Error);
    EXPECT_THROW(f.readExact(UINT64_MAX, 1), Error);
}

TEST(File, FailuresNameThePathAndTheReason) {
    ScratchDir dir;
    const std::string missing = dir.file("missing.mp3");
    try {
        File f(missing, OpenMode::Read);
        FAIL() << "opened a missing file";
    } catch (const FileError& e) {
        EXPECT_EQ(e.code(), TV_E_FAIL);
        EXPECT_EQ(e.osError(), ENOENT);
        EXPECT_NE(std::string(e.what()).find(missing), std::string::npos) << e.what();
        EXPECT_NE(std::string(e.what()).find("No such file"), std::string::npos) << e.what();
    }
    EXPECT_THROW(File(dir.path(), OpenMode::Read), FileError) << "a directory is not a file";
    EXPECT_THROW(File(missing, OpenMode::ReadWrite), FileError) << "read-write never creates";
    EXPECT_FALSE(PathExists(missing));
}

TEST(File, WritesGrowTheFileAndCreateNewIsExclusive) {
    ScratchDir dir;
    const std::string path = dir.write("w.bin", {1, 2, 3});
    {
        File f(path, OpenMode::ReadWrite);
        const uint8_t more[] = {9, 9};
        f.writeAt(1, more);
        f.writeAt(5, more);  // leaves a hole at 3..4
        EXPECT_EQ(f.size(), 7u);
        f.sync();
        f.truncate(6);
        EXPECT_EQ(f.size(), 6u);
        f.close();
        EXPECT_FALSE(f.isOpen());
    }
    EXPECT_EQ(ReadAll(path), (std::vector<uint8_t>{1, 9, 9, 0, 0, 9}));

    File ro(path, OpenMode::Read);
    const uint8_t one[] = {1};
    EXPECT_THROW(ro.writeAt(0, one), FileError);

    // CreateNew never opens what is there.
    try {
        File::CreateNew(path, 0600);
        FAIL() << "created over an existing file";
    } catch (const FileError& e) {
        EXPECT_EQ(e.osError(), EEXIST);
    }
}

TEST(File, BytesReadAreCounted) {
    ScratchDir dir;
    WriteAll(dir.file("c"), test::Pattern(300));
    File f(dir.file("c"), OpenMode::Read);
    std::vector<uint8_t> buf(200);
    f.readAt(0, buf);
    f.readAt(250, buf);  // 50 bytes
    EXPECT_EQ(f.bytesRead(), 250u);
}

TEST(File, InjectedFaultsSurfaceAsFileErrors) {
    ScratchDir dir;
    WriteAll(dir.file("f"), test::Pattern(10));
    {
        fault::Scoped fault(fault::Step::Open, 2, EMFILE);
        File first(dir.file("f"), OpenMode::Read);
        try {
            File second(dir.file("f"), OpenMode::Read);
            FAIL();
        } catch (const FileError& e) {
            EXPECT_EQ(e.osError(), EMFILE);
            EXPECT_EQ(e.step(), "open");
        }
        File third(dir.file("f"), OpenMode::Read);
        EXPECT_EQ(fault::Calls(fault::Step::Open), 3u);
    }
    EXPECT_EQ(fault::Calls(fault::Step::Open), 0u) << "leaving the scope stops counting";
    File f(dir.file("f"), OpenMode::ReadWrite);
    std::vector<uint8_t> buf(4);
    fault::Scoped readFault(fault::Step::Read, 1, EIO);
    EXPECT_THROW(f.readAt(0, buf), FileError);
    EXPECT_EQ(f.readAt(0, buf), 4u);
}

TEST(File, SparseFileBeyondFourGigabytes) {
    ScratchDir dir;
    const std::string path = dir.file("big.bin");
    const uint64_t size = 5ull << 30;
    const uint64_t at = (4ull << 30) + 12345;
    const uint8_t mark[] = {'d', 'e', 'e', 'p'};
    try {
        File f = File::CreateNew(path, 0600);
        f.truncate(size);
        f.writeAt(at, mark);
    } catch (const FileError& e) {
        GTEST_SKIP() << "this file system refuses a 5 GB sparse file: " << e.what();
    }
    EXPECT_EQ(FileSize(path), size);
    File f(path, OpenMode::Read);
    EXPECT_EQ(f.size(), size);
    std::vector<uint8_t> buf(8, 0xEE);
    ASSERT_EQ(f.readAt(at - 2, buf), 8u);
    EXPECT_EQ(buf, (std::vector<uint8_t>{0, 0, 'd', 'e', 'e', 'p', 0, 0}));
    EXPECT_EQ(f.readAt(size - 3, buf), 3u);
    EXPECT_EQ(f.readAt(size, buf), 0u);
    EXPECT_EQ(f.readExact(at, 4), std::vector<uint8_t>(mark, mark + 4));
}

// Names are UTF-8 inside tagvera, whatever form the system takes them in (wide on Windows).
TEST(File, NamesBeyondAsciiReachTheSystemWhole) {
    ScratchDir dir;
    const std::string name = "G\u00f6tterd\u00e4mmerung \u266b \u65e5\u672c.mp3", renamed = "\u00c5se.mp3";
    const std::string path = dir.write(name, test::Pattern(100));
    EXPECT_EQ(File(path, OpenMode::Read).readExact(0, 100), test::Pattern(100));
    EXPECT_TRUE(IsRegularFile(path));
    const uint8_t x[] = {'X'};
    const Patch patch{0, x};
    PatchInPlace(path, {&patch, 1});
    RewriteFile(path, FileLayout().copy(0, 10));
    RenameWithoutReplacing(path, dir.file(renamed));
    EXPECT_EQ(dir.entries(), std::set<std::string>{renamed});
    auto want = test::Pattern(10);
    want[0] = 'X';
    EXPECT_EQ(ReadAll(dir.file(renamed)), want);
}

TEST(PathHelpers, QuestionsAboutPaths) {
    ScratchDir dir;
    WriteAll(dir.file("x.mp3"), test::Pattern(42));
    EXPECT_FALSE(IsRegularFile(dir.path()));
    EXPECT_EQ(FileSize(dir.file("x.mp3")), 42u);
    EXPECT_THROW(FileSize(dir.file("nope")), FileError);
    EXPECT_THROW(FileSize(dir.path()), FileError);
    WriteAll(dir.file("y.mp3"), test::Pattern(7));
    try {
        RenameWithoutReplacing(dir.file("x.mp3"), dir.file("y.mp3"));
        ADD_FAILURE() << "renamed over an existing file";
    } catch (const FileError& e) {
        EXPECT_EQ(e.osError(), EEXIST);
    }
    EXPECT_EQ(ReadAll(dir.file("y.mp3")), test::Pattern(7));
    RenameWithoutReplacing(dir.file("x.mp3"), dir.file("z.mp3"));
    EXPECT_EQ(ReadAll(dir.file("z.mp3")), test::Pattern(42));
    EXPECT_TRUE(RemoveFile(dir.file("z.mp3")));
    EXPECT_FALSE(RemoveFile(dir.file("z.mp3")));
    EXPECT_THROW(RemoveFile(dir.path()), FileError);

    EXPECT_EQ(DirectoryOf("a/b/c.mp3"), "a/b");
    EXPECT_EQ(DirectoryOf("/c.mp3"), "/");
    EXPECT_EQ(DirectoryOf("c.mp3"), ".");
    EXPECT_EQ(BaseNameOf("a/b/c.mp3"), "c.mp3");
    EXPECT_EQ(BaseNameOf("c.mp3"), "c.mp3");
    EXPECT_EQ(ExtensionOf("a.b/c.tar.gz"), ".gz");
    EXPECT_EQ(ExtensionOf("a.b/c"), "");
    EXPECT_EQ(ExtensionOf("dir/.hidden"), "");
#if defined(_WIN32)
    EXPECT_EQ(DirectoryOf("C:\\music\\a.mp3"), "C:\\music");
    EXPECT_EQ(DirectoryOf("C:\\a.mp3"), "C:\\");
    EXPECT_EQ(BaseNameOf("C:\\music/sub\\a.mp3"), "a.mp3");
    EXPECT_EQ(JournalPathFor("C:\\music\\a.mp3"), "C:\\music\\.a.mp3.tagvera-undo");
#endif
}

}  // namespace
}  // namespace tagvera::platform
