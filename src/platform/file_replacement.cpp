#include "platform/file_replacement.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/companion_files.h"
#include "platform/fault_injection.h"
#include "platform/safe_write.h"

namespace tagvera::platform {
namespace replacement {
namespace {

constexpr int kCreateAttempts = 16;

void Describe(Target& t, const struct stat& st) {
    t.links = st.st_nlink;
    t.permissions = st.st_mode & 07777;
    t.owner = st.st_uid;
    t.group = st.st_gid;
}

std::string ProcLink(const File& file) { return "/proc/self/fd/" + std::to_string(file.nativeHandle()); }

bool ExchangeNames(const std::string& a, const std::string& b) {
    return ::renameat2(AT_FDCWD, a.c_str(), AT_FDCWD, b.c_str(), RENAME_EXCHANGE) == 0;
}

}  // namespace

Target Inspect(const std::string& path) {
    Target t;
    t.path = ResolveLastLink(path);
    t.dir = DirectoryOf(t.path);
    struct stat st {};
    if (::stat(t.path.c_str(), &st) == 0) {
        t.exists = true;
        if (!S_ISREG(st.st_mode)) throw FileError("open", path, "not a regular file");
        Describe(t, st);
    } else if (errno != ENOENT) {
        throw FileError("open", path, errno);
    }
    return t;
}

Target Inspect(FileWriteLock& lock) {
    Target t;
    t.path = lock.path();
    t.dir = DirectoryOf(t.path);
    t.exists = true;
    struct stat st {};
    if (::fstat(lock.file().nativeHandle(), &st) != 0) throw FileError("stat", t.path, errno);
    Describe(t, st);
    lock.file().refresh();
    return t;
}

void RequireWritable(const Target& t) {
    if ((t.permissions & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0)
        throw FileError("open for writing", t.path, "the file is read-only");
    if (::access(t.path.c_str(), W_OK) != 0) throw FileError("open for writing", t.path, errno);
}

// Nobody else can reach the file yet, so the lock is always free.
TempFile CreateTemp(const Target& t, unsigned permissions) {
    const std::string path = TempPathFor(t.path);
    try {
        File f = File::CreateAnonymous(t.dir, path, permissions);
        // Naming it later goes through /proc; without /proc, a named file from the start.
        if (::access(ProcLink(f).c_str(), F_OK) == 0) {
            f.lockForWriters(false);
            return TempFile{std::move(f), path, false};
        }
    } catch (const FileError& e) {
        if (e.osError() != EOPNOTSUPP) throw;
    }
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

void Name(TempFile& tmp) {
    if (tmp.named) return;
    const std::string link = ProcLink(tmp.file);
    for (int attempt = 1;; ++attempt) {
        if (const int err = fault::Check(fault::Step::Link)) throw FileError("link", tmp.path, err);
        if (::linkat(AT_FDCWD, link.c_str(), AT_FDCWD, tmp.path.c_str(), AT_SYMLINK_FOLLOW) == 0) break;
        if (errno != EEXIST || attempt == kCreateAttempts) throw FileError("link", tmp.path, errno);
        RemoveUnheldTemp(tmp.path, true);
    }
    tmp.named = true;
}

// Owner and group first (chown clears set-id bits), where this process may set them. Extended
// attributes and ACLs are not carried over.
void CopyOwnership(const TempFile& tmp, const Target& t) {
    const int fd = tmp.file.nativeHandle();
    if (::fchown(fd, t.owner, t.group) != 0 && errno != EPERM) throw FileError("chown", tmp.path, errno);
    if (::fchmod(fd, t.permissions) != 0) throw FileError("chmod", tmp.path, errno);
}

// With an exchange the old content stays reachable under the temporary name until the directory
// is synced, so even that last step can be undone. A deferred write renames plainly, the rename
// that makes the file system write the new data first, and leaves the folder to the batch's sync.
void PutInPlace(const Target& t, TempFile& tmp, bool deferred) {
    const std::string& tmpPath = tmp.path;
    if (const int err = fault::Check(fault::Step::Rename)) throw FileError("rename", t.path, err);
    if (deferred) {
        if (::rename(tmpPath.c_str(), t.path.c_str()) != 0) throw FileError("rename", t.path, errno);
        return;
    }
    const bool exchanged = t.exists && ExchangeNames(tmpPath, t.path);
    if (!exchanged && ::rename(tmpPath.c_str(), t.path.c_str()) != 0) throw FileError("rename", t.path, errno);
    try {
        SyncFolder(t.dir);
    } catch (const FileError&) {
        if (exchanged) {
            ExchangeNames(tmpPath, t.path);
        } else if (!t.exists) {
            ::rename(t.path.c_str(), tmpPath.c_str());
        } else {
            throw;  // plain rename on a file system without exchange: nothing left to restore
        }
        throw;
    }
    if (exchanged) ::unlink(tmpPath.c_str());
}

void Discard(TempFile& tmp) noexcept {
    if (tmp.named) ::unlink(tmp.path.c_str());
}

}  // namespace replacement

bool IsWritableFile(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return false;
    return (st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0 && ::access(path.c_str(), W_OK) == 0;
}

}  // namespace tagvera::platform
