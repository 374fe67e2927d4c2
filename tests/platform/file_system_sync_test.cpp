// Deferred writes and the one sync that makes a batch of them durable.
#include "platform/file_system_sync.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "platform/fault_injection.h"
#include "platform/file.h"
#include "platform/rename_ordering.h"
#include "platform/safe_write.h"
#include "platform/scratch_dir.h"

namespace tagvera::platform {
namespace {

using test::Pattern;
using test::ReadAll;
using test::ScratchDir;
using test::WriteAll;

std::vector<std::string> MakeFiles(const ScratchDir& dir, size_t n) {
    std::vector<std::string> paths;
    for (size_t i = 0; i < n; ++i) {
        paths.push_back(dir.file("song" + std::to_string(i) + ".mp3"));
        WriteAll(paths.back(), Pattern(4000, static_cast<uint32_t>(i)));
    }
    return paths;
}

// fsyncs and file-system syncs made by f.
template <class F>
unsigned SyncsDuring(F&& f) {
    fault::StartCounting();
    f();
    const unsigned n = fault::Calls(fault::Step::Fsync);
    fault::Reset();
    return n;
}

TEST(DeferredPatch, WritesTheBytesWithoutSyncing) {
    ScratchDir dir;
    const auto paths = MakeFiles(dir, 1);
    const uint8_t head[] = {'I', 'D', '3'}, tail[] = {'T', 'A', 'G'};
    const Patch patches[] = {{0, head}, {4000, tail}};
    EXPECT_EQ(SyncsDuring([&] { PatchInPlace(paths[0], patches, Durability::Deferred); }), 0u);
    auto want = Pattern(4000, 0);
    std::copy(head, head + 3, want.begin());
    want.insert(want.end(), tail, tail + 3);
    EXPECT_EQ(ReadAll(paths[0]), want);
    EXPECT_EQ(SyncsDuring([&] { PatchInPlace(paths[0], patches); }), 1u) << "synced by default";
}

// A rewrite is deferred only where the rename alone keeps old-or-new over a power loss.
TEST(DeferredRewrite, SkipsItsSyncsOnlyWhereTheRenameOrdersTheData) {
    ScratchDir dir;
    const auto paths = MakeFiles(dir, 1);
    const unsigned syncs = SyncsDuring([&] {
        RewriteFile(paths[0], FileLayout().bytes(Pattern(100, 9)).copy(0, 4000), HardLinks::KeepInPlace,
                    Durability::Deferred);
    });
    EXPECT_EQ(syncs, RenameWritesDataFirst(dir.path()) ? 0u : 1u);
    auto want = Pattern(100, 9);
    const auto old = Pattern(4000, 0);
    want.insert(want.end(), old.begin(), old.end());
    EXPECT_EQ(ReadAll(paths[0]), want);

    const struct {
        const char* type;
        const char* options;
        bool ordered;
    } kMounts[] = {
        {"ext4", "rw,errors=remount-ro", true},   {"ext4", "rw,noauto_da_alloc", false},
        {"ext4", "rw,data=writeback", false},     {"ext4", "rw,data=ordered,nodelalloc", true},
        {"ext3", "rw", false},                    {"xfs", "rw,attr2,inode64", false},
        {"tmpfs", "rw,size=100k", true},          {"btrfs", "rw,space_cache=v2", false},
    };
    for (const auto& m : kMounts) EXPECT_EQ(MountWritesDataFirst(m.type, m.options), m.ordered) << m.type << " " << m.options;
}

TEST(FileSystemSyncs, AFewFilesAreSyncedOneByOne) {
    ScratchDir dir;
    const auto paths = MakeFiles(dir, 3);
    FileSystemSyncs syncs;
    for (const auto& p : paths) syncs.add(p);
    EXPECT_FALSE(syncs.empty());
    EXPECT_EQ(SyncsDuring([&] { syncs.syncAll(); }), 3u);
    EXPECT_TRUE(syncs.empty());
    EXPECT_EQ(SyncsDuring([&] { syncs.syncAll(); }), 0u);
}

#if !defined(_WIN32)  // Windows flushes a volume only for an administrator: file by file there
TEST(FileSystemSyncs, ManyFilesOfOneFileSystemAreSyncedOnce) {
    ScratchDir dir, other;
    const auto paths = MakeFiles(dir, FileSystemSyncs::kFilesSyncedOneByOne + 5);
    // A second folder on the same file system changes nothing.
    const auto more = MakeFiles(other, 4);
    FileSystemSyncs syncs;
    for (const auto& p : paths) syncs.add(p);
    for (const auto& p : more) syncs.add(p);
    EXPECT_EQ(SyncsDuring([&] { syncs.syncAll(); }), 1u);
}
#endif

TEST(FileSystemSyncs, AFailedSyncIsReportedAndTheRestStillSynced) {
    ScratchDir dir;
    const auto paths = MakeFiles(dir, 3);
    FileSystemSyncs syncs;
    for (const auto& p : paths) syncs.add(p);
    syncs.add(dir.file("vanished.mp3"));
    fault::Scoped fail(fault::Step::Fsync, 2, EIO);
    try {
        syncs.syncAll();
        FAIL() << "a failed sync went unreported";
    } catch (const FileError& e) {
        EXPECT_EQ(e.osError(), EIO) << e.what();
        EXPECT_EQ(e.path(), paths[1]);
    }
    EXPECT_EQ(fault::Calls(fault::Step::Fsync), 3u);
    EXPECT_TRUE(syncs.empty());
}

}  // namespace
}  // namespace tagvera::platform
