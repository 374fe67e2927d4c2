// Making a batch of deferred writes (in place or rewritten, with Durability::Deferred) durable at
// the end of the batch instead of after each file. A batch tool notes each file it wrote and
// syncs before it reports success.
//
// Each fsync of a file costs a journal commit; one sync of the whole file system costs one
// commit for all of them, but also writes whatever else other programs left in the cache there.
// So a file system with a few files noted gets an fsync per file, one with many a single sync.
#ifndef TAGVERA_PLATFORM_FILE_SYSTEM_SYNC_H
#define TAGVERA_PLATFORM_FILE_SYSTEM_SYNC_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tagvera::platform {

class FileSystemSyncs {
public:
    // Above this many files on one file system, it is synced as a whole.
    static constexpr size_t kFilesSyncedOneByOne = 16;

    // Notes a file written (a path that cannot be examined counts as a file system of its own).
    void add(const std::string& path);
    bool empty() const { return systems_.empty(); }

    // Syncs what was noted (Linux: fsync per file and its folder, or syncfs; Windows, which flushes
    // a volume only for an administrator: FlushFileBuffers per file) and forgets it. Throws FileError naming the first file that failed (its data may
    // not be on disk); the rest is still synced and forgotten.
    void syncAll();

private:
    struct FileSystem {
        uint64_t device = 0;
        bool known = false;        // device is the file system's id
        bool whole = false;        // too many files: sync the file system through paths[0]
        std::vector<std::string> paths;
    };
    FileSystem& systemOf(const std::string& path);

    std::vector<FileSystem> systems_;
    std::string lastFolder_;  // the folder of the last file noted, on systems_[lastSystem_]
    size_t lastSystem_ = 0;
};

}  // namespace tagvera::platform

#endif
