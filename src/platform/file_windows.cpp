// The file layer through the wide Win32 calls: paths converted from UTF-8, binary always, reads
// and writes at an OVERLAPPED offset so no file position is shared, and every handle opened with
// all three share modes, so that readers read while a writer holds the file and a rewrite may put
// a new file under a name that is held open.
#include "platform/file.h"

#include <atomic>
#include <cerrno>
#include <limits>
#include <utility>

#include "platform/fault_injection.h"
#include "platform/native_windows.h"

namespace tagvera::platform {
namespace {

using native::LastErrno;
using native::WidePath;

std::atomic<uint64_t> g_totalBytesRead{0};

// A DWORD counts the bytes of one call.
constexpr size_t kMaxIo = size_t(1) << 30;
constexpr uint64_t kMaxOffset = static_cast<uint64_t>(std::numeric_limits<int64_t>::max());
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

int Injected(fault::Step step) { return fault::Check(step); }

OVERLAPPED At(uint64_t offset) {
    OVERLAPPED at{};
    at.Offset = static_cast<DWORD>(offset);
    at.OffsetHigh = static_cast<DWORD>(offset >> 32);
    return at;
}

uint64_t SizeOf(HANDLE h, const std::string& path) {
    LARGE_INTEGER size{};
    if (!::GetFileSizeEx(h, &size)) throw FileError("stat", path, LastErrno());
    return static_cast<uint64_t>(size.QuadPart);
}

// What stat tells on POSIX, links followed: a handle that asks for no access opens anything,
// folders included, and is held up by no share mode.
bool Examine(const std::string& path, BY_HANDLE_FILE_INFORMATION& info, int& error) {
    const HANDLE h = ::CreateFileW(WidePath(path).c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
                                   FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (h == INVALID_HANDLE_VALUE) {
        error = LastErrno();
        return false;
    }
    const bool ok = ::GetFileInformationByHandle(h, &info);
    error = ok ? 0 : LastErrno();
    ::CloseHandle(h);
    return ok;
}

bool IsFolder(const BY_HANDLE_FILE_INFORMATION& info) { return info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY; }

}  // namespace

File::File(const std::string& path, OpenMode mode) : path_(path), mode_(mode) {
    if (const int err = Injected(fault::Step::Open)) throw FileError("open", path, err);
    const DWORD access = GENERIC_READ | (mode == OpenMode::ReadWrite ? GENERIC_WRITE : 0);
    const HANDLE h = ::CreateFileW(WidePath(path).c_str(), access, kShareAll, nullptr, OPEN_EXISTING,
                                   FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE) {
        const int err = LastErrno();
        // A folder refuses a file's open as access denied; say what it is.
        const DWORD attributes = ::GetFileAttributesW(WidePath(path).c_str());
        const bool folder = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
        throw FileError("open", path, folder ? EISDIR : err);
    }
    fd_ = h;
    try {
        regular_ = ::GetFileType(h) == FILE_TYPE_DISK;
        size_ = regular_ ? SizeOf(h, path) : 0;
    } catch (...) {
        ::CloseHandle(std::exchange(fd_, kClosed));
        throw;
    }
}

File::File(std::string path, OpenMode mode, Native fd) : path_(std::move(path)), mode_(mode), fd_(fd) {}

File File::CreateNew(const std::string& path, unsigned permissions) {
    if (const int err = Injected(fault::Step::Open)) throw FileError("create", path, err);
    // Of the permission bits only "nobody may write" has a counterpart: the read-only attribute.
    const DWORD attributes = (permissions & 0222) ? FILE_ATTRIBUTE_NORMAL : FILE_ATTRIBUTE_READONLY;
    const HANDLE h = ::CreateFileW(WidePath(path).c_str(), GENERIC_READ | GENERIC_WRITE, kShareAll, nullptr,
                                   CREATE_NEW, attributes, nullptr);
    if (h == INVALID_HANDLE_VALUE) throw FileError("create", path, LastErrno());
    return File(path, OpenMode::ReadWrite, h);
}

// Windows has no file without a name; the helper then makes a named one, which recovery removes
// after a kill.
File File::CreateAnonymous(const std::string&, const std::string& path, unsigned) {
    if (const int err = Injected(fault::Step::Link)) throw FileError("create", path, err);
    throw FileError("create", path, EOPNOTSUPP);
}

File::~File() {
    if (fd_ != kClosed) ::CloseHandle(fd_);
}

File::File(File&& other) noexcept
    : path_(std::move(other.path_)), mode_(other.mode_), fd_(std::exchange(other.fd_, kClosed)),
      regular_(other.regular_), size_(other.size_), bytesRead_(other.bytesRead_), journal_(other.journal_) {}

File& File::operator=(File&& other) noexcept {
    if (this != &other) {
        if (fd_ != kClosed) ::CloseHandle(fd_);
        path_ = std::move(other.path_);
        mode_ = other.mode_;
        fd_ = std::exchange(other.fd_, kClosed);
        regular_ = other.regular_;
        size_ = other.size_;
        bytesRead_ = other.bytesRead_;
        journal_ = other.journal_;
    }
    return *this;
}

void File::refresh() {
    if (fd_ == kClosed) throw FileError("stat", path_, EBADF);
    size_ = SizeOf(fd_, path_);
}

size_t File::readAt(uint64_t offset, std::span<uint8_t> out) {
    if (fd_ == kClosed) throw FileError("read", path_, EBADF);
    if (const int err = Injected(fault::Step::Read)) throw FileError("read", path_, err);
    size_t done = 0;
    while (done < out.size() && offset <= kMaxOffset - done) {
        const DWORD want = static_cast<DWORD>(std::min(out.size() - done, kMaxIo));
        OVERLAPPED at = At(offset + done);
        DWORD n = 0;
        if (!::ReadFile(fd_, out.data() + done, want, &n, &at)) {
            if (::GetLastError() == ERROR_HANDLE_EOF) break;
            throw FileError("read", path_, LastErrno());
        }
        if (n == 0) break;
        done += n;
    }
    bytesRead_ += done;
    g_totalBytesRead.fetch_add(done, std::memory_order_relaxed);
    return done;
}

void File::writeAt(uint64_t offset, std::span<const uint8_t> bytes) {
    if (fd_ == kClosed || !writable()) throw FileError("write", path_, EBADF);
    if (offset > kMaxOffset || bytes.size() > kMaxOffset - offset) throw FileError("write", path_, EFBIG);
    if (const int err = Injected(journal_ ? fault::Step::Journal : fault::Step::Write)) throw FileError("write", path_, err);
    size_t done = 0;
    while (done < bytes.size()) {
        const DWORD want = static_cast<DWORD>(std::min(bytes.size() - done, kMaxIo));
        OVERLAPPED at = At(offset + done);
        DWORD n = 0;
        if (!::WriteFile(fd_, bytes.data() + done, want, &n, &at)) throw FileError("write", path_, LastErrno());
        if (n == 0) throw FileError("write", path_, EIO);
        done += n;
    }
    if (offset + done > size_) size_ = offset + done;
}

void File::truncate(uint64_t size) {
    if (fd_ == kClosed || !writable()) throw FileError("truncate", path_, EBADF);
    if (size > kMaxOffset) throw FileError("truncate", path_, EFBIG);
    if (const int err = Injected(journal_ ? fault::Step::Journal : fault::Step::Write)) throw FileError("truncate", path_, err);
    FILE_END_OF_FILE_INFO end{};
    end.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
    if (!::SetFileInformationByHandle(fd_, FileEndOfFileInfo, &end, sizeof end))
        throw FileError("truncate", path_, LastErrno());
    size_ = size;
}

void File::sync() {
    if (fd_ == kClosed) throw FileError("fsync", path_, EBADF);
    if (const int err = Injected(journal_ ? fault::Step::Journal : fault::Step::Fsync)) throw FileError("fsync", path_, err);
    if (!::FlushFileBuffers(fd_)) throw FileError("fsync", path_, LastErrno());
}

void File::close() {
    if (fd_ == kClosed) return;
    if (!::CloseHandle(std::exchange(fd_, kClosed)) && writable()) throw FileError("close", path_, LastErrno());
}

FileIdentity File::identity() const {
    BY_HANDLE_FILE_INFORMATION info{};
    if (!::GetFileInformationByHandle(fd_, &info)) throw FileError("stat", path_, LastErrno());
    return {info.dwVolumeSerialNumber, uint64_t(info.nFileIndexHigh) << 32 | info.nFileIndexLow};
}

bool File::lockForWriters(bool wait) {
    int err = 0;
    if (native::LockForWriters(fd_, wait, err)) return true;
    if (err) throw FileError("lock", path_, err);
    return false;
}

uint64_t TotalBytesRead() { return g_totalBytesRead.load(std::memory_order_relaxed); }
void ResetTotalBytesRead() { g_totalBytesRead.store(0, std::memory_order_relaxed); }

bool PathExists(const std::string& path) {
    BY_HANDLE_FILE_INFORMATION info{};
    int err = 0;
    return Examine(path, info, err);
}

bool IsDirectory(const std::string& path) {
    BY_HANDLE_FILE_INFORMATION info{};
    int err = 0;
    return Examine(path, info, err) && IsFolder(info);
}

bool IsRegularFile(const std::string& path) {
    BY_HANDLE_FILE_INFORMATION info{};
    int err = 0;
    return Examine(path, info, err) && !IsFolder(info) && !(info.dwFileAttributes & FILE_ATTRIBUTE_DEVICE);
}

uint64_t FileSize(const std::string& path) {
    BY_HANDLE_FILE_INFORMATION info{};
    int err = 0;
    if (!Examine(path, info, err)) throw FileError("stat", path, err);
    if (IsFolder(info)) throw FileError("stat", path, EISDIR);
    return uint64_t(info.nFileSizeHigh) << 32 | info.nFileSizeLow;
}

std::optional<FileIdentity> IdentityOf(const std::string& path) {
    BY_HANDLE_FILE_INFORMATION info{};
    int err = 0;
    if (!Examine(path, info, err)) return std::nullopt;
    return FileIdentity{info.dwVolumeSerialNumber, uint64_t(info.nFileIndexHigh) << 32 | info.nFileIndexLow};
}

bool RemoveFile(const std::string& path) {
    const std::wstring wide = WidePath(path);
    if (::DeleteFileW(wide.c_str())) return true;
    DWORD err = ::GetLastError();
    if (err == ERROR_FILE_NOT_FOUND || err == ERROR_PATH_NOT_FOUND) return false;
    // A name goes whatever its file's mode, as unlink has it: the read-only attribute first.
    const DWORD attributes = ::GetFileAttributesW(wide.c_str());
    if (err == ERROR_ACCESS_DENIED && attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) &&
        !(attributes & FILE_ATTRIBUTE_DIRECTORY) && ::SetFileAttributesW(wide.c_str(), attributes & ~FILE_ATTRIBUTE_READONLY)) {
        if (::DeleteFileW(wide.c_str())) return true;
        err = ::GetLastError();
        ::SetFileAttributesW(wide.c_str(), attributes);
    }
    throw FileError("remove", path, native::ErrnoFrom(err));
}

// Without MOVEFILE_REPLACE_EXISTING the move refuses a name that exists, in one step.
void RenameWithoutReplacing(const std::string& from, const std::string& to) {
    if (const int err = Injected(fault::Step::Rename)) throw FileError("rename", from, err);
    if (!::MoveFileExW(WidePath(from).c_str(), WidePath(to).c_str(), MOVEFILE_WRITE_THROUGH))
        throw FileError("rename to '" + to + "' from", from, LastErrno());
    SyncFolder(DirectoryOf(to));
}

// A folder has no handle to flush; the moves that change it are written through instead.
void SyncFolder(const std::string& dir) {
    if (const int err = Injected(fault::Step::Dirsync)) throw FileError("sync directory", dir, err);
}

}  // namespace tagvera::platform
