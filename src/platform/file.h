// A file on disk as a ByteSource: positional reads and writes with 64-bit offsets, no shared
// file position, failures as FileError naming the path and the OS reason.
#ifndef TAGVERA_PLATFORM_FILE_H
#define TAGVERA_PLATFORM_FILE_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "base/byte_source.h"
#include "base/error.h"

namespace tagvera::platform {

// An operating-system failure on a path. Still an Error (TV_E_FAIL), so guards need nothing
// special; writers that care (a full disk, a read-only file) look at osError().
class FileError : public Error {
public:
    // step is the operation that failed ("open", "write", "rename", ...); osError an errno value.
    FileError(const std::string& step, const std::string& path, int osError);
    FileError(const std::string& step, const std::string& path, const std::string& reason);
    int osError() const noexcept { return osError_; }
    const std::string& path() const noexcept { return path_; }
    const std::string& step() const noexcept { return step_; }

private:
    std::string step_;
    std::string path_;
    int osError_ = 0;
};

// Which file a handle or a name stands for: device and inode (on Windows the volume's serial
// number and the file index), the same for every name and handle of one file.
struct FileIdentity {
    uint64_t device = 0;
    uint64_t inode = 0;
    bool operator==(const FileIdentity&) const = default;
};

enum class OpenMode {
    Read,       // reading only; fails on a missing file
    ReadWrite,  // reading and writing an existing file; never creates or truncates
};

// Others may read and write the same file meanwhile (on Windows this means opening with
// FILE_SHARE_READ | FILE_SHARE_WRITE, and FILE_SHARE_DELETE so that a rewrite may put a new file
// under the name of one held open). Not copyable; movable. Not safe to share between threads
// while one of them writes.
class File final : public ByteSource {
public:
#if defined(_WIN32)
    using Native = void*;  // a HANDLE; null when closed
#else
    using Native = int;  // a descriptor; -1 when closed
#endif

    File(const std::string& path, OpenMode mode);
    // Creates a file that must not exist yet (exclusive create, close-on-exec), opened read-write
    // with the given permission bits (before the umask).
    static File CreateNew(const std::string& path, unsigned permissions);
    // A file without a name in folder dir (O_TMPFILE), opened read-write with the given permission
    // bits; it vanishes with its last descriptor unless linked into a folder. path is the name it
    // is meant to take, for messages. Fails with osError EOPNOTSUPP where the file system or the
    // OS cannot make one.
    static File CreateAnonymous(const std::string& dir, const std::string& path, unsigned permissions);
#if defined(_WIN32)
    // Takes over a handle opened outside the fault hooks: the safe-write helper's own after its
    // swap, which no failure may undo.
    static File Adopt(const std::string& path, OpenMode mode, Native handle) { return File(path, mode, handle); }
#endif
    ~File() override;
    File(File&& other) noexcept;
    File& operator=(File&& other) noexcept;
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    // The size seen at open, kept current by this object's own writes; refresh() rereads it
    // when someone else may have changed the file.
    uint64_t size() const override { return size_; }
    void refresh();

    // Up to out.size() bytes at offset; short only at the end of the file; 0 at or past the end.
    size_t readAt(uint64_t offset, std::span<uint8_t> out) override;
    // All of bytes at offset (the file grows when it ends past the current end).
    void writeAt(uint64_t offset, std::span<const uint8_t> bytes);
    // Cuts or extends the file to size bytes.
    void truncate(uint64_t size);
    // Data and metadata on stable storage (fsync; FlushFileBuffers on Windows).
    void sync();
    void close();

    bool isOpen() const { return fd_ != kClosed; }
    // False for a FIFO, a device or a socket (opening one never waits for a peer).
    bool regular() const { return regular_; }
    bool writable() const { return mode_ == OpenMode::ReadWrite; }
    const std::string& path() const { return path_; }
    // The holder linked the file under another name: messages name that one from now on.
    void renamed(std::string path) { path_ = std::move(path); }
    // Bytes this object has read so far, for benchmarks and read-budget tests.
    uint64_t bytesRead() const { return bytesRead_; }
    // The descriptor or HANDLE, for the safe-write helper.
    Native nativeHandle() const { return fd_; }
    // Which file this is (fstat; GetFileInformationByHandle on Windows).
    FileIdentity identity() const;
    // The writers' advisory lock on this open file (file_lock.h): flock, or on Windows LockFileEx
    // on one byte far past any real end. False when another writer holds it and wait is false.
    bool lockForWriters(bool wait);
    // Counts this file's writes and syncs as fault::Step::Journal instead of Write and Fsync, so
    // that tests can fail an undo journal apart from the file it protects.
    void countAsJournal() { journal_ = true; }

private:
#if defined(_WIN32)
    static constexpr Native kClosed = nullptr;
#else
    static constexpr Native kClosed = -1;
#endif
    File(std::string path, OpenMode mode, Native fd);

    std::string path_;
    OpenMode mode_;
    Native fd_ = kClosed;
    bool regular_ = true;
    uint64_t size_ = 0;
    uint64_t bytesRead_ = 0;
    bool journal_ = false;
};

// Bytes read by every File of the process since start or the last reset.
uint64_t TotalBytesRead();
void ResetTotalBytesRead();

// Small questions a host or importer asks about a path. None of them throws for a missing path.
bool PathExists(const std::string& path);
bool IsDirectory(const std::string& path);
bool IsRegularFile(const std::string& path);
// Throws FileError when the path cannot be examined.
uint64_t FileSize(const std::string& path);
// The file the path names (links followed); nullopt when it cannot be examined.
std::optional<FileIdentity> IdentityOf(const std::string& path);
// True when the file was removed, false when it did not exist; FileError on any other failure.
bool RemoveFile(const std::string& path);
// Gives the file a new name, never replacing another file: FileError (EEXIST) when to exists, and
// from keeps its name after any failure. The folder holding both is synced.
void RenameWithoutReplacing(const std::string& from, const std::string& to);
// Puts the folder's entries (a file created, renamed or removed in it) on stable storage. A file
// system that cannot sync a folder at all is no failure. (Windows cannot sync a folder through a
// handle: its renames are written through instead, and NTFS logs a created file's name with the
// file's own flush.)
void SyncFolder(const std::string& dir);
// The directory part and the last component of a path ("a/b.mp3" -> "a", "b.mp3"; "b" -> ".").
// On Windows a backslash separates too, and a drive's root keeps its separator (C:\b -> C:\ ).
std::string DirectoryOf(const std::string& path);
std::string BaseNameOf(const std::string& path);
// A file name's extension with its dot, or "" ("a/b.tar.gz" -> ".gz", "a/.hidden" -> "").
std::string ExtensionOf(const std::string& path);

}  // namespace tagvera::platform

#endif
