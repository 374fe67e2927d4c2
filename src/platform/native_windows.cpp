#include "platform/native_windows.h"

#include <cerrno>

#include "platform/text.h"

namespace tagvera::platform::native {
namespace {

bool Separator(wchar_t c) { return c == L'\\' || c == L'/'; }

}  // namespace

std::wstring WidePath(const std::string& utf8) {
    std::wstring wide = text::Utf8ToWide(utf8);
    if (wide.size() < MAX_PATH - 12 || wide.starts_with(L"\\\\?\\") || wide.starts_with(L"\\\\.\\")) return wide;
    for (wchar_t& c : wide)
        if (c == L'/') c = L'\\';
    // Past the limit only the "\\?\" form works, and it takes the path as it is: absolute only.
    if (wide.size() > 2 && wide[1] == L':' && Separator(wide[2])) return L"\\\\?\\" + wide;
    if (wide.starts_with(L"\\\\")) return L"\\\\?\\UNC\\" + wide.substr(2);
    return wide;
}

std::wstring FullWidePath(const std::string& utf8) {
    const std::wstring wide = WidePath(utf8);
    if (wide.starts_with(L"\\\\?\\")) return wide;
    const DWORD needed = ::GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr);
    if (needed == 0) return wide;
    std::wstring full(needed, L'\0');
    const DWORD written = ::GetFullPathNameW(wide.c_str(), needed, full.data(), nullptr);
    if (written == 0 || written >= needed) return wide;
    full.resize(written);
    return WidePath(text::WideToUtf8(full));
}

int ErrnoFrom(DWORD error) {
    switch (error) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
        case ERROR_BAD_NETPATH:
        case ERROR_INVALID_DRIVE: return ENOENT;
        case ERROR_ACCESS_DENIED:
        case ERROR_PRIVILEGE_NOT_HELD: return EACCES;
        case ERROR_SHARING_VIOLATION: return EBUSY;
        case ERROR_FILE_EXISTS:
        case ERROR_ALREADY_EXISTS: return EEXIST;
        case ERROR_DISK_FULL:
        case ERROR_HANDLE_DISK_FULL: return ENOSPC;
        case ERROR_WRITE_PROTECT: return EROFS;
        case ERROR_INVALID_HANDLE: return EBADF;
        case ERROR_LOCK_VIOLATION: return EWOULDBLOCK;
        case ERROR_NOT_SUPPORTED:
        case ERROR_INVALID_FUNCTION: return EOPNOTSUPP;
        case ERROR_NOT_SAME_DEVICE: return EXDEV;
        case ERROR_TOO_MANY_OPEN_FILES: return EMFILE;
        case ERROR_NOT_ENOUGH_MEMORY:
        case ERROR_OUTOFMEMORY: return ENOMEM;
        case ERROR_DIRECTORY: return ENOTDIR;
        case ERROR_DIR_NOT_EMPTY: return ENOTEMPTY;
        case ERROR_FILENAME_EXCED_RANGE: return ENAMETOOLONG;
        case ERROR_INVALID_NAME:
        case ERROR_INVALID_PARAMETER: return EINVAL;
        default: return EIO;
    }
}

int LastErrno() { return ErrnoFrom(::GetLastError()); }

bool LockForWriters(HANDLE file, bool wait, int& error) {
    OVERLAPPED at{};
    at.Offset = 0xFFFFFFFE;
    at.OffsetHigh = 0x7FFFFFFF;
    const DWORD flags = LOCKFILE_EXCLUSIVE_LOCK | (wait ? 0 : LOCKFILE_FAIL_IMMEDIATELY);
    error = 0;
    if (::LockFileEx(file, flags, 0, 1, 0, &at)) return true;
    const DWORD why = ::GetLastError();
    if (!wait && (why == ERROR_LOCK_VIOLATION || why == ERROR_IO_PENDING)) return false;
    error = ErrnoFrom(why);
    return false;
}

}  // namespace tagvera::platform::native
