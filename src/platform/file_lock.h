// The advisory lock a tagvera writer holds on a file for its whole read-modify-write, so that two
// writers of one file (processes or threads) take turns instead of one losing the other's change.
// Readers take none and are never held up. Programs other than tagvera do not look at it.
//
// Linux: flock on a descriptor of the file. The lock belongs to the open file, so two handles in
// one process exclude each other too; over NFS the kernel turns it into a byte-range lock.
// (Windows: LockFileEx with LOCKFILE_EXCLUSIVE_LOCK on one byte far past any real end of file, so
// that the range lock, which Windows enforces, never stands in a reader's way.)
//
// The lock is on the file, not its name. A rewrite puts a new file under the name; a writer that
// waited meanwhile gets the lock of a file nobody will open again. So acquiring compares the file
// locked with the one the path names once the lock is held, and starts over when they differ. The
// writer doing the rewrite keeps its turn across it: RewriteFile moves its lock to the new file.
//
// Acquiring also finishes whatever a killed writer left (interrupted_write.h): a holder always
// starts from a whole file.
#ifndef TAGVERA_PLATFORM_FILE_LOCK_H
#define TAGVERA_PLATFORM_FILE_LOCK_H

#include <optional>
#include <string>

#include "platform/file.h"
#include "platform/interrupted_write.h"

namespace tagvera::platform {

class FileWriteLock {
public:
    // Waits while another writer holds the file (a symbolic link is followed). Throws FileError
    // when the file is missing or not a regular file, when an interrupted write cannot be undone,
    // and (EDEADLK) when this thread holds the lock already: a second one would wait for itself.
    explicit FileWriteLock(const std::string& path);
    // The same without waiting: nullopt while another writer holds the file.
    static std::optional<FileWriteLock> TryAcquire(const std::string& path);

    ~FileWriteLock();
    FileWriteLock(FileWriteLock&& other) noexcept;
    FileWriteLock& operator=(FileWriteLock&&) = delete;
    FileWriteLock(const FileWriteLock&) = delete;
    FileWriteLock& operator=(const FileWriteLock&) = delete;

    // The file locked, links resolved: pass it on to the calls that write it.
    const std::string& path() const { return path_; }
    // A handle on the locked file, for reading; its size() is the file's when the lock was taken
    // (refresh() after writing through another handle).
    File& file() { return *file_; }
    // What acquiring found of an interrupted write.
    Recovery recovered() const { return recovered_; }

    // For the safe-write helper: replacement, a file this process already holds the lock on, has
    // just been put under path(). The lock moves to it and the old file's is let go.
    void follow(File&& replacement);

private:
    FileWriteLock() = default;
    // False only without wait, when another writer holds the file.
    bool acquire(const std::string& path, bool wait);

    std::string path_;
    std::optional<File> file_;  // empty once moved from
    FileIdentity held_;         // the file, as locked
    Recovery recovered_ = Recovery::Nothing;
};

}  // namespace tagvera::platform

#endif
