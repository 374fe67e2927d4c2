#include "platform/companion_files.h"

#if defined(_WIN32)
#include "platform/native_windows.h"
#include "platform/text.h"
#else
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <cerrno>
#include <cstdlib>
#include <memory>

#include "platform/checksum.h"
#include "platform/file.h"

namespace tagvera::platform {
namespace {

// Names up to this long are kept whole; longer ones are cut and end in a hash of the whole name,
// so that the companion's name stays under NAME_MAX and two long names never share it.
constexpr size_t kWholeName = 200;
constexpr size_t kCutName = 180;

std::string CompanionPath(const std::string& file, const char* suffix) {
    std::string name = BaseNameOf(file);
    if (name.size() > kWholeName) {
        Checksum sum;
        sum.add({reinterpret_cast<const uint8_t*>(name.data()), name.size()});
        static const char digits[] = "0123456789abcdef";
        std::string hex(16, '0');
        uint64_t v = sum.value();
        for (char& c : hex) c = digits[v & 0xF], v >>= 4;
        name = name.substr(0, kCutName) + "~" + hex;
    }
    // The folder part as the path spells it, separator included.
    const std::string folder = file.substr(0, file.size() - BaseNameOf(file).size());
    return folder + "." + name + suffix;
}

#if !defined(_WIN32)
bool SameFile(const struct stat& a, const struct stat& b) { return a.st_dev == b.st_dev && a.st_ino == b.st_ino; }
#endif

}  // namespace

std::string JournalPathFor(const std::string& file) { return CompanionPath(file, ".tagvera-undo"); }
std::string TempPathFor(const std::string& file) { return CompanionPath(file, ".tagvera-new.tmp"); }
std::string SpareJournalPathFor(const std::string& file) {
    return file.substr(0, file.size() - BaseNameOf(file).size()) + ".tagvera-undo-spare";
}

#if defined(_WIN32)
// A symbolic link is a reparse point; the file it leads to is named by the handle that followed it.
std::string ResolveLastLink(const std::string& path) {
    const std::wstring wide = native::WidePath(path);
    const DWORD attributes = ::GetFileAttributesW(wide.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_REPARSE_POINT)) return path;
    const HANDLE h = ::CreateFileW(wide.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                   OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (h == INVALID_HANDLE_VALUE) return path;
    std::wstring real(MAX_PATH, L'\0');
    DWORD n = ::GetFinalPathNameByHandleW(h, real.data(), static_cast<DWORD>(real.size()), FILE_NAME_NORMALIZED);
    if (n >= real.size()) {
        real.resize(n + 1);
        n = ::GetFinalPathNameByHandleW(h, real.data(), static_cast<DWORD>(real.size()), FILE_NAME_NORMALIZED);
    }
    ::CloseHandle(h);
    if (n == 0 || n >= real.size()) return path;
    real.resize(n);
    // The "\\?\" form comes back; the plain one where it fits, as the caller spelled its own.
    if (real.starts_with(L"\\\\?\\UNC\\")) real = L"\\\\" + real.substr(8);
    else if (real.starts_with(L"\\\\?\\")) real = real.substr(4);
    return text::WideToUtf8(real);
}

bool RemoveUnheldTemp(const std::string& tempPath, bool wait) {
    // The name itself, never a file it might lead to; DELETE to remove the file this handle holds.
    const HANDLE h = ::CreateFileW(native::WidePath(tempPath).c_str(), GENERIC_READ | DELETE,
                                   FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                   FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (h == INVALID_HANDLE_VALUE) return native::LastErrno() == ENOENT;
    int err = 0;
    bool free = false;
    BY_HANDLE_FILE_INFORMATION held{}, named{};
    if (native::LockForWriters(h, wait, err) && ::GetFileInformationByHandle(h, &held)) {
        // The writer we waited for may have renamed its file away, and another taken the name.
        const HANDLE again = ::CreateFileW(native::WidePath(tempPath).c_str(), 0,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                           OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
        if (again == INVALID_HANDLE_VALUE) {
            free = native::LastErrno() == ENOENT;
        } else {
            if (::GetFileInformationByHandle(again, &named) && held.dwVolumeSerialNumber == named.dwVolumeSerialNumber &&
                held.nFileIndexHigh == named.nFileIndexHigh && held.nFileIndexLow == named.nFileIndexLow) {
                FILE_DISPOSITION_INFO gone{TRUE};
                free = ::SetFileInformationByHandle(h, FileDispositionInfo, &gone, sizeof gone);
            }
            ::CloseHandle(again);
        }
    }
    ::CloseHandle(h);
    return free;
}
#else
std::string ResolveLastLink(const std::string& path) {
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) return path;
    std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
    return real ? std::string(real.get()) : path;
}

bool RemoveUnheldTemp(const std::string& tempPath, bool wait) {
    const int fd = ::open(tempPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (fd < 0) return errno == ENOENT;
    int rc;
    do {
        rc = ::flock(fd, wait ? LOCK_EX : LOCK_EX | LOCK_NB);
    } while (rc != 0 && errno == EINTR);
    bool free = false;
    struct stat held {}, named {};
    if (rc == 0 && ::fstat(fd, &held) == 0) {
        // The writer we waited for may have renamed its file away, and another taken the name.
        if (::lstat(tempPath.c_str(), &named) != 0) {
            free = errno == ENOENT;
        } else if (SameFile(held, named)) {
            free = ::unlink(tempPath.c_str()) == 0 || errno == ENOENT;
        }
    }
    ::close(fd);
    return free;
}
#endif

}  // namespace tagvera::platform
