// A new file in place of an old one on Windows. There is no file without a name, so the temporary
// file is named from the start; ReplaceFileW swaps it in, carrying the old file's security and
// attributes over (owner and mode have no other counterpart), and leaves the old file untouched
// when it fails. A new target is a move written through.
#include "platform/file_replacement.h"

#include <cerrno>

#include "platform/companion_files.h"
#include "platform/fault_injection.h"
#include "platform/native_windows.h"
#include "platform/safe_write.h"

namespace tagvera::platform {
namespace replacement {
namespace {

using native::LastErrno;
using native::WidePath;

constexpr int kCreateAttempts = 16;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

void Describe(Target& t, const BY_HANDLE_FILE_INFORMATION& info) {
    t.links = info.nNumberOfLinks;
    t.permissions = (info.dwFileAttributes & FILE_ATTRIBUTE_READONLY) ? 0444 : 0666;
}

bool Regular(const BY_HANDLE_FILE_INFORMATION& info) {
    return !(info.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE));
}

// What access(W_OK) tells: whether this process may open the file for writing now.
int WriteAccess(const std::string& path) {
    const HANDLE h = ::CreateFileW(WidePath(path).c_str(), GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING,
                                   FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE) return LastErrno();
    ::CloseHandle(h);
    return 0;
}

}  // namespace

Target Inspect(const std::string& path) {
    Target t;
    t.path = ResolveLastLink(path);
    t.dir = DirectoryOf(t.path);
    const HANDLE h = ::CreateFileW(WidePath(t.path).c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
                                   FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (h == INVALID_HANDLE_VALUE) {
        if (const int err = LastErrno(); err != ENOENT) throw FileError("open", path, err);
        return t;
    }
    BY_HANDLE_FILE_INFORMATION info{};
    const bool ok = ::GetFileInformationByHandle(h, &info);
    const int err = ok ? 0 : LastErrno();
    ::CloseHandle(h);
    if (!ok) throw FileError("open", path, err);
    if (!Regular(info)) throw FileError("open", path, "not a regular file");
    t.exists = true;
    Describe(t, info);
    return t;
}

Target Inspect(FileWriteLock& lock) {
    Target t;
    t.path = lock.path();
    t.dir = DirectoryOf(t.path);
    t.exists = true;
    BY_HANDLE_FILE_INFORMATION info{};
    if (!::GetFileInformationByHandle(lock.file().nativeHandle(), &info)) throw FileError("stat", t.path, LastErrno());
    Describe(t, info);
    lock.file().refresh();
    return t;
}

void RequireWritable(const Target& t) {
    if ((t.permissions & 0222) == 0) throw FileError("open for writing", t.path, "the file is read-only");
    if (const int err = WriteAccess(t.path)) throw FileError("open for writing", t.path, err);
}

TempFile CreateTemp(const Target& t, unsigned permissions) {
    const std::string path = TempPathFor(t.path);
    for (int attempt = 1;; ++attempt) {
        try {
            File f = File::CreateNew(path, permissions);
            f.lockForWriters(false);
            return TempFile{std::move(f), path, true};
        } catch (const FileError& e) {
            if (e.osError() != EEXIST || attempt == kCreateAttempts) throw;
            RemoveUnheldTemp(path, true);
        }
    }
}

void Name(TempFile&) {}

void CopyOwnership(const TempFile&, const Target&) {}

// Without a backup name ReplaceFileW swaps in one rename and leaves everything as it was when it
// fails. It opens the new file for itself alone, so the writer's handle goes first and a new one
// takes up the file's lock after the swap; meanwhile the target's write lock keeps other writers
// away. Renames are written through; the folder cannot be flushed (file.h).
void PutInPlace(const Target& t, TempFile& tmp, bool) {
    if (const int err = fault::Check(fault::Step::Rename)) throw FileError("rename", t.path, err);
    const std::wstring target = native::FullWidePath(t.path), replacement = native::FullWidePath(tmp.path);
    if (!t.exists) {
        if (!::MoveFileExW(replacement.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
            throw FileError("rename", t.path, LastErrno());
        return;
    }
    tmp.file.close();
    if (!::ReplaceFileW(target.c_str(), replacement.c_str(), nullptr,
                        REPLACEFILE_IGNORE_MERGE_ERRORS | REPLACEFILE_IGNORE_ACL_ERRORS, nullptr, nullptr))
        throw FileError("rename", t.path, LastErrno());
    // The swap cannot be undone now: what follows is no failure of the write. ReplaceFileW has no
    // write-through, so the new file's own flush puts its name in NTFS's log too.
    tmp.named = false;
    const HANDLE h = ::CreateFileW(target.c_str(), GENERIC_READ | GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING,
                                   FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE) return;
    ::FlushFileBuffers(h);
    int err = 0;
    if (native::LockForWriters(h, true, err)) tmp.file = File::Adopt(t.path, OpenMode::ReadWrite, h);
    else ::CloseHandle(h);
}

void Discard(TempFile& tmp) noexcept {
    if (!tmp.named) return;
    try {
        tmp.file.close();  // Windows removes no name an open handle holds
        RemoveFile(tmp.path);
    } catch (const FileError&) {
        // Left for the next open: a temporary file that nobody holds is removed there.
    }
}

}  // namespace replacement

bool IsWritableFile(const std::string& path) {
    const DWORD attributes = ::GetFileAttributesW(native::WidePath(path).c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES ||
        (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE | FILE_ATTRIBUTE_READONLY)))
        return false;
    return replacement::WriteAccess(path) == 0;
}

}  // namespace tagvera::platform
