#include "platform/file.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <limits>
#include <utility>

#include "platform/fault_injection.h"

// Offsets must be 64-bit on 32-bit builds too (the build sets _FILE_OFFSET_BITS=64).
static_assert(sizeof(off_t) == 8, "64-bit file offsets required");

namespace tagvera::platform {
namespace {

std::atomic<uint64_t> g_totalBytesRead{0};

// Large requests are cut into pieces every OS accepts in one call.
constexpr size_t kMaxIo = size_t(1) << 30;
constexpr uint64_t kMaxOffset = static_cast<uint64_t>(std::numeric_limits<off_t>::max());

// The injected error for step, or 0; lets every OS call below be written once.
int Injected(fault::Step step) { return fault::Check(step); }

struct stat StatOf(int fd, const std::string& path) {
    struct stat st {};
    if (::fstat(fd, &st) != 0) throw FileError("stat", path, errno);
    return st;
}

}  // namespace

File::File(const std::string& path, OpenMode mode) : path_(path), mode_(mode) {
    if (const int err = Injected(fault::Step::Open)) throw FileError("open", path, err);
    // Non-blocking so that opening a FIFO returns at once (regular files ignore the flag); the
    // caller sees regular() and turns away what is not a file.
    const int flags = (mode == OpenMode::ReadWrite ? O_RDWR : O_RDONLY) | O_CLOEXEC | O_NONBLOCK;
    do {
        fd_ = ::open(path.c_str(), flags);
    } while (fd_ < 0 && errno == EINTR);
    if (fd_ < 0) throw FileError("open", path, errno);
    try {
        const struct stat st = StatOf(fd_, path);
        if (S_ISDIR(st.st_mode)) throw FileError("open", path, EISDIR);
        regular_ = S_ISREG(st.st_mode);
        size_ = static_cast<uint64_t>(st.st_size);
    } catch (...) {
        ::close(fd_);
        fd_ = -1;
        throw;
    }
}

File::File(std::string path, OpenMode mode, Native fd) : path_(std::move(path)), mode_(mode), fd_(fd) {}

File File::CreateNew(const std::string& path, unsigned permissions) {
    if (const int err = Injected(fault::Step::Open)) throw FileError("create", path, err);
    int fd;
    do {
        fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, static_cast<mode_t>(permissions));
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) throw FileError("create", path, errno);
    return File(path, OpenMode::ReadWrite, fd);
}

File File::CreateAnonymous(const std::string& dir, const std::string& path, unsigned permissions) {
    if (const int err = Injected(fault::Step::Link)) throw FileError("create", path, err);
    int fd;
    do {
        fd = ::open(dir.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, static_cast<mode_t>(permissions));
    } while (fd < 0 && errno == EINTR);
    // Kernels before 3.11 take the flag for O_DIRECTORY and answer EISDIR.
    if (fd < 0 && (errno == EISDIR || errno == EINVAL || errno == EOPNOTSUPP)) throw FileError("create", path, EOPNOTSUPP);
    if (fd < 0) throw FileError("create", path, errno);
    return File(path, OpenMode::ReadWrite, fd);
}

File::~File() {
    if (fd_ >= 0) ::close(fd_);
}

File::File(File&& other) noexcept
    : path_(std::move(other.path_)), mode_(other.mode_), fd_(std::exchange(other.fd_, -1)),
      regular_(other.regular_), size_(other.size_), bytesRead_(other.bytesRead_), journal_(other.journal_) {}

File& File::operator=(File&& other) noexcept {
    if (this != &other) {
        if (fd_ >= 0) ::close(fd_);
        path_ = std::move(other.path_);
        mode_ = other.mode_;
        fd_ = std::exchange(other.fd_, -1);
        regular_ = other.regular_;
        size_ = other.size_;
        bytesRead_ = other.bytesRead_;
        journal_ = other.journal_;
    }
    return *this;
}

void File::refresh() {
    if (fd_ < 0) throw FileError("stat", path_, EBADF);
    size_ = static_cast<uint64_t>(StatOf(fd_, path_).st_size);
}

size_t File::readAt(uint64_t offset, std::span<uint8_t> out) {
    if (fd_ < 0) throw FileError("read", path_, EBADF);
    if (const int err = Injected(fault::Step::Read)) throw FileError("read", path_, err);
    size_t done = 0;
    while (done < out.size() && offset <= kMaxOffset - done) {
        const size_t want = std::min(out.size() - done, kMaxIo);
        const ssize_t n = ::pread(fd_, out.data() + done, want, static_cast<off_t>(offset + done));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) throw FileError("read", path_, errno);
        if (n == 0) break;
        done += static_cast<size_t>(n);
    }
    bytesRead_ += done;
    g_totalBytesRead.fetch_add(done, std::memory_order_relaxed);
    return done;
}

void File::writeAt(uint64_t offset, std::span<const uint8_t> bytes) {
    if (fd_ < 0) throw FileError("write", path_, EBADF);
    if (!writable()) throw FileError("write", path_, EBADF);
    if (offset > kMaxOffset || bytes.size() > kMaxOffset - offset) throw FileError("write", path_, EFBIG);
    if (const int err = Injected(journal_ ? fault::Step::Journal : fault::Step::Write)) throw FileError("write", path_, err);
    size_t done = 0;
    while (done < bytes.size()) {
        const size_t want = std::min(bytes.size() - done, kMaxIo);
        const ssize_t n = ::pwrite(fd_, bytes.data() + done, want, static_cast<off_t>(offset + done));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) throw FileError("write", path_, errno);
        if (n == 0) throw FileError("write", path_, EIO);
        done += static_cast<size_t>(n);
    }
    if (offset + done > size_) size_ = offset + done;
}

void File::truncate(uint64_t size) {
    if (fd_ < 0 || !writable()) throw FileError("truncate", path_, EBADF);
    if (size > kMaxOffset) throw FileError("truncate", path_, EFBIG);
    if (const int err = Injected(journal_ ? fault::Step::Journal : fault::Step::Write)) throw FileError("truncate", path_, err);
    int rc;
    do {
        rc = ::ftruncate(fd_, static_cast<off_t>(size));
    } while (rc != 0 && errno == EINTR);
    if (rc != 0) throw FileError("truncate", path_, errno);
    size_ = size;
}

void File::sync() {
    if (fd_ < 0) throw FileError("fsync", path_, EBADF);
    if (const int err = Injected(journal_ ? fault::Step::Journal : fault::Step::Fsync)) throw FileError("fsync", path_, err);
    if (::fsync(fd_) != 0) throw FileError("fsync", path_, errno);
}

FileIdentity File::identity() const {
    const struct stat st = StatOf(fd_, path_);
    return {static_cast<uint64_t>(st.st_dev), static_cast<uint64_t>(st.st_ino)};
}

bool File::lockForWriters(bool wait) {
    int rc;
    do {
        rc = ::flock(fd_, wait ? LOCK_EX : LOCK_EX | LOCK_NB);
    } while (rc != 0 && errno == EINTR);
    if (rc != 0 && errno == EWOULDBLOCK && !wait) return false;
    if (rc != 0) throw FileError("lock", path_, errno);
    return true;
}

void File::close() {
    if (fd_ < 0) return;
    // A failed close can be the first report of a lost write (NFS, some disks); say so.
    const int rc = ::close(std::exchange(fd_, -1));
    if (rc != 0 && errno != EINTR && writable()) throw FileError("close", path_, errno);
}

uint64_t TotalBytesRead() { return g_totalBytesRead.load(std::memory_order_relaxed); }
void ResetTotalBytesRead() { g_totalBytesRead.store(0, std::memory_order_relaxed); }

bool PathExists(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0;
}

bool IsDirectory(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool IsRegularFile(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

uint64_t FileSize(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) throw FileError("stat", path, errno);
    if (S_ISDIR(st.st_mode)) throw FileError("stat", path, EISDIR);
    return static_cast<uint64_t>(st.st_size);
}

std::optional<FileIdentity> IdentityOf(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) return std::nullopt;
    return FileIdentity{static_cast<uint64_t>(st.st_dev), static_cast<uint64_t>(st.st_ino)};
}

bool RemoveFile(const std::string& path) {
    if (::unlink(path.c_str()) == 0) return true;
    if (errno == ENOENT) return false;
    throw FileError("remove", path, errno);
}

void RenameWithoutReplacing(const std::string& from, const std::string& to) {
    if (const int err = Injected(fault::Step::Rename)) throw FileError("rename", from, err);
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) != 0) {
        // A file system without the flag: a second name fails where one exists, then the first goes.
        if (errno != EINVAL && errno != ENOSYS) throw FileError("rename to '" + to + "' from", from, errno);
        if (::link(from.c_str(), to.c_str()) != 0) throw FileError("rename to '" + to + "' from", from, errno);
        if (::unlink(from.c_str()) != 0) {
            const int err = errno;
            ::unlink(to.c_str());
            throw FileError("rename", from, err);
        }
    }
    SyncFolder(DirectoryOf(to));
}

void SyncFolder(const std::string& dir) {
    if (const int err = Injected(fault::Step::Dirsync)) throw FileError("sync directory", dir, err);
    const int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) throw FileError("sync directory", dir, errno);
    const int rc = ::fsync(fd);
    const int err = errno;
    ::close(fd);
    if (rc != 0 && err != EINVAL && err != ENOTSUP) throw FileError("sync directory", dir, err);
}

}  // namespace tagvera::platform
