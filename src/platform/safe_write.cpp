#include "platform/safe_write.h"

#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string_view>

#include "platform/fault_injection.h"
#include "platform/file.h"

namespace tagvera::platform {
namespace {

constexpr size_t kChunk = size_t(1) << 20;  // copy and write-buffer size
constexpr size_t kMaxNameInTemp = 200;      // keeps temporary names under NAME_MAX
constexpr size_t kRandomHex = 16;
constexpr int kCreateAttempts = 16;

// ---- the target ----

struct Target {
    std::string path;  // symbolic links resolved
    std::string dir;
    std::string name;
    bool exists = false;
    struct stat st {};
};

// Only a link in the last component matters: the temporary file goes beside the file it points
// to. Links in the folders leading there resolve the same for every call below.
Target Inspect(const std::string& path) {
    Target t;
    t.path = path;
    struct stat link {};
    if (::lstat(path.c_str(), &link) == 0 && S_ISLNK(link.st_mode)) {
        std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
        if (real) t.path = real.get();
    }
    t.dir = DirectoryOf(t.path);
    t.name = BaseNameOf(t.path);
    if (S_ISREG(link.st_mode)) {
        t.exists = true;
        t.st = link;
    } else if (::stat(t.path.c_str(), &t.st) == 0) {
        t.exists = true;
        if (!S_ISREG(t.st.st_mode)) throw FileError("open", path, "not a regular file");
    } else if (errno != ENOENT) {
        throw FileError("open", path, errno);
    }
    return t;
}

void RequireWritable(const Target& t, const std::string& shownPath) {
    if ((t.st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0)
        throw FileError("open for writing", shownPath, "the file is read-only");
    if (::access(t.path.c_str(), W_OK) != 0) throw FileError("open for writing", shownPath, errno);
}

// ---- temporary files ----

std::string TempPrefix(const std::string& name) {
    return "." + name.substr(0, kMaxNameInTemp) + kTempInfix;
}

// A temporary file of this helper for any target: ".<name>.tagvera-<hex>.tmp".
bool IsAnyTemp(std::string_view entry) {
    const std::string_view infix = kTempInfix, suffix = kTempSuffix;
    if (entry.size() < 1 + infix.size() + kRandomHex + suffix.size() || entry.front() != '.') return false;
    if (entry.substr(entry.size() - suffix.size()) != suffix) return false;
    const std::string_view hex = entry.substr(entry.size() - suffix.size() - kRandomHex, kRandomHex);
    if (!std::all_of(hex.begin(), hex.end(), [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); }))
        return false;
    return entry.substr(entry.size() - suffix.size() - kRandomHex - infix.size(), infix.size()) == infix;
}

bool IsOurTemp(std::string_view entry, const std::string& prefix) {
    return entry.size() == prefix.size() + kRandomHex + std::char_traits<char>::length(kTempSuffix) &&
           entry.substr(0, prefix.size()) == prefix && IsAnyTemp(entry);
}

// ---- folders already swept ----
// Listing a folder of thousands of songs for each file of a batch costs more than the write
// itself. A folder whose time stamps are those of a sweep that left no temporary file of any
// target has gained no entry since, so it is not listed again. A time stamp younger than the
// file system's clock tick may be shared by an entry made just after the sweep, so such a sweep
// is not remembered: 100 ms where stamps have fractions of a second (a tick of a few ms), 2 s
// where they are whole seconds (FAT). A miss costs little: the next process lists the folder.

constexpr int64_t kSettledNanoseconds = 100'000'000;
constexpr int64_t kSettledWholeSecondNanoseconds = 2'000'000'000;
constexpr size_t kMaxSweptFolders = 64;

struct FolderStamp {
    dev_t dev;
    ino_t ino;
    struct timespec mtime, ctime;
    bool operator==(const FolderStamp& o) const {
        return dev == o.dev && ino == o.ino && mtime.tv_sec == o.mtime.tv_sec && mtime.tv_nsec == o.mtime.tv_nsec &&
               ctime.tv_sec == o.ctime.tv_sec && ctime.tv_nsec == o.ctime.tv_nsec;
    }
};

std::mutex g_sweptMutex;
std::vector<FolderStamp> g_swept;  // the most recent last

bool StampOf(const std::string& dir, FolderStamp* out) {
    struct stat st {};
    if (::stat(dir.c_str(), &st) != 0) return false;
    *out = FolderStamp{st.st_dev, st.st_ino, st.st_mtim, st.st_ctim};
    return true;
}

bool SweptAlready(const FolderStamp& stamp) {
    std::lock_guard lock(g_sweptMutex);
    return std::find(g_swept.begin(), g_swept.end(), stamp) != g_swept.end();
}

bool Settled(const struct timespec& stamp, const struct timespec& now) {
    const int64_t age = (int64_t(now.tv_sec) - stamp.tv_sec) * 1'000'000'000 + (now.tv_nsec - stamp.tv_nsec);
    return age >= (stamp.tv_nsec == 0 ? kSettledWholeSecondNanoseconds : kSettledNanoseconds);
}

void RememberSwept(const FolderStamp& stamp) {
    struct timespec now {};
    if (::clock_gettime(CLOCK_REALTIME, &now) != 0) return;
    if (!Settled(stamp.mtime, now) || !Settled(stamp.ctime, now)) return;
    std::lock_guard lock(g_sweptMutex);
    std::erase_if(g_swept, [&](const FolderStamp& s) { return s.dev == stamp.dev && s.ino == stamp.ino; });
    if (g_swept.size() == kMaxSweptFolders) g_swept.erase(g_swept.begin());
    g_swept.push_back(stamp);
}

// A writer holds a lock on its temporary file for as long as it needs it; one nobody holds is
// what a killed run left behind.
void RemoveStaleTemps(const Target& t) {
    FolderStamp stamp{};
    const bool stamped = StampOf(t.dir, &stamp);
    if (stamped && SweptAlready(stamp)) return;
    DIR* d = ::opendir(t.dir.c_str());
    if (!d) return;
    const std::string prefix = TempPrefix(t.name);
    const int dirFd = ::dirfd(d);
    bool tempsLeft = false;
    while (const dirent* e = ::readdir(d)) {
        const std::string_view entry = e->d_name;
        if (!IsAnyTemp(entry)) continue;
        if (!IsOurTemp(entry, prefix)) {
            tempsLeft = true;
            continue;
        }
        const int fd = ::openat(dirFd, e->d_name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
        if (fd < 0) {
            tempsLeft = true;
            continue;
        }
        if (::flock(fd, LOCK_EX | LOCK_NB) != 0 || ::unlinkat(dirFd, e->d_name, 0) != 0) tempsLeft = true;
        ::close(fd);
    }
    ::closedir(d);
    // Our own unlinks changed the folder's time stamps: it is remembered when it is listed clean.
    if (stamped && !tempsLeft) RememberSwept(stamp);
}

std::string RandomHex() {
    uint64_t v = 0;
    if (::getrandom(&v, sizeof v, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof v)) {
        static std::atomic<uint64_t> counter{0};
        v = static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()) ^
            (static_cast<uint64_t>(::getpid()) << 32) ^ (counter.fetch_add(1) * 0x9E3779B97F4A7C15ull);
    }
    static const char digits[] = "0123456789abcdef";
    std::string out(kRandomHex, '0');
    for (size_t i = 0; i < kRandomHex; ++i, v >>= 4) out[i] = digits[v & 0xF];
    return out;
}

struct TempFile {
    File file;
    std::string path;
};

TempFile CreateTemp(const Target& t, unsigned permissions) {
    const std::string prefix = (t.dir == "/" ? "/" : t.dir + "/") + TempPrefix(t.name);
    for (int attempt = 1;; ++attempt) {
        std::string path = prefix + RandomHex() + kTempSuffix;
        try {
            File f = File::CreateNew(path, permissions);
            ::flock(f.nativeHandle(), LOCK_EX | LOCK_NB);
            return TempFile{std::move(f), std::move(path)};
        } catch (const FileError& e) {
            if (e.osError() != EEXIST || attempt == kCreateAttempts) throw;
        }
    }
}

// Permission bits, then owner and group where this process may set them (chown first: it clears
// set-id bits). Extended attributes and ACLs are not carried over.
void CopyOwnership(const TempFile& tmp, const struct stat& st) {
    const int fd = tmp.file.nativeHandle();
    if (::fchown(fd, st.st_uid, st.st_gid) != 0 && errno != EPERM) throw FileError("chown", tmp.path, errno);
    if (::fchmod(fd, st.st_mode & 07777) != 0) throw FileError("chmod", tmp.path, errno);
}

// ---- writing ----

class BufferedWriter final : public ByteSink {
public:
    explicit BufferedWriter(File& file) : file_(file) { buffer_.reserve(kChunk); }

    void write(std::span<const uint8_t> bytes) override {
        while (!bytes.empty()) {
            if (buffer_.empty() && bytes.size() >= kChunk) {
                emit(bytes.first(kChunk));
                bytes = bytes.subspan(kChunk);
                continue;
            }
            const size_t n = std::min(bytes.size(), kChunk - buffer_.size());
            buffer_.insert(buffer_.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(n));
            bytes = bytes.subspan(n);
            if (buffer_.size() == kChunk) flush();
        }
    }

    void flush() {
        if (buffer_.empty()) return;
        emit(buffer_);
        buffer_.clear();
    }

private:
    void emit(std::span<const uint8_t> bytes) {
        file_.writeAt(offset_, bytes);
        offset_ += bytes.size();
    }

    File& file_;
    std::vector<uint8_t> buffer_;
    uint64_t offset_ = 0;
};

void CopyRange(File& source, uint64_t offset, uint64_t length, BufferedWriter& out) {
    std::vector<uint8_t> chunk(static_cast<size_t>(std::min<uint64_t>(length, kChunk)));
    while (length > 0) {
        const size_t want = static_cast<size_t>(std::min<uint64_t>(length, chunk.size()));
        const size_t got = source.readAt(offset, std::span(chunk).first(want));
        if (got != want) throw FileError("read", source.path(), "the file shrank while it was being copied");
        out.write(std::span(chunk).first(got));
        offset += got;
        length -= got;
    }
}

void Fill(uint64_t count, uint8_t value, BufferedWriter& out) {
    const std::vector<uint8_t> block(static_cast<size_t>(std::min<uint64_t>(count, kChunk)), value);
    for (; count > 0;) {
        const size_t n = static_cast<size_t>(std::min<uint64_t>(count, block.size()));
        out.write(std::span(block).first(n));
        count -= n;
    }
}

void WritePieces(const FileLayout& layout, File* source, BufferedWriter& out) {
    for (const FileLayout::Piece& p : layout.pieces()) {
        switch (p.kind) {
            case FileLayout::Piece::Kind::Copy: CopyRange(*source, p.offset, p.length, out); break;
            case FileLayout::Piece::Kind::Bytes: out.write(p.data); break;
            case FileLayout::Piece::Kind::Fill: Fill(p.length, p.value, out); break;
            case FileLayout::Piece::Kind::Generate: p.producer(out); break;
        }
    }
    out.flush();
}

void CheckRanges(const FileLayout& layout, uint64_t sourceSize, const std::string& path) {
    for (const FileLayout::Piece& p : layout.pieces()) {
        if (p.kind != FileLayout::Piece::Kind::Copy) continue;
        if (p.offset > sourceSize || p.length > sourceSize - p.offset)
            throw FileError("rewrite", path, "a copied range lies beyond the end of the file");
    }
}

// ---- putting the new file in place ----

void SyncDirectory(const std::string& dir) {
    if (const int err = fault::Check(fault::Step::Dirsync)) throw FileError("sync directory", dir, err);
    const int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) throw FileError("sync directory", dir, errno);
    const int rc = ::fsync(fd);
    const int err = errno;
    ::close(fd);
    // Some file systems cannot sync a directory at all; that is no reason to fail the write.
    if (rc != 0 && err != EINVAL && err != ENOTSUP) throw FileError("sync directory", dir, err);
}

bool ExchangeNames(const std::string& a, const std::string& b) {
    return ::renameat2(AT_FDCWD, a.c_str(), AT_FDCWD, b.c_str(), RENAME_EXCHANGE) == 0;
}

// Swaps the new file in. With an exchange the old content stays reachable under the temporary
// name until the directory is synced, so even that last step can be undone.
void PutInPlace(const Target& t, const std::string& tmpPath) {
    if (const int err = fault::Check(fault::Step::Rename)) throw FileError("rename", t.path, err);
    const bool exchanged = t.exists && ExchangeNames(tmpPath, t.path);
    if (!exchanged && ::rename(tmpPath.c_str(), t.path.c_str()) != 0) throw FileError("rename", t.path, errno);
    try {
        SyncDirectory(t.dir);
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

// The common path of RewriteFile and WriteFileAtomically.
template <class Body>
void ReplaceFile(const Target& t, unsigned newFilePermissions, Body&& writeContent) {
    RemoveStaleTemps(t);
    TempFile tmp = CreateTemp(t, t.exists ? (t.st.st_mode & 0777) : newFilePermissions);
    try {
        if (t.exists) CopyOwnership(tmp, t.st);
        BufferedWriter out(tmp.file);
        writeContent(out);
        tmp.file.sync();
        tmp.file.close();
        PutInPlace(t, tmp.path);
    } catch (...) {
        ::unlink(tmp.path.c_str());
        throw;
    }
}

// ---- in place ----

struct Undo {
    uint64_t offset;
    std::vector<uint8_t> bytes;
};

void Restore(File& file, const std::vector<Undo>& undo, uint64_t oldSize) noexcept {
    try {
        for (auto it = undo.rbegin(); it != undo.rend(); ++it) file.writeAt(it->offset, it->bytes);
        if (file.size() != oldSize) file.truncate(oldSize);
        file.sync();
    } catch (...) {
        // The caller's error is the one worth reporting.
    }
}

}  // namespace

// ---- FileLayout ----

FileLayout& FileLayout::copy(uint64_t offset, uint64_t length) {
    if (length == 0) return *this;
    Piece p{Piece::Kind::Copy};
    p.offset = offset;
    p.length = length;
    pieces_.push_back(std::move(p));
    return *this;
}

FileLayout& FileLayout::bytes(std::span<const uint8_t> data) {
    return bytes(std::vector<uint8_t>(data.begin(), data.end()));
}

FileLayout& FileLayout::bytes(std::vector<uint8_t>&& data) {
    if (data.empty()) return *this;
    Piece p{Piece::Kind::Bytes};
    p.length = data.size();
    p.data = std::move(data);
    pieces_.push_back(std::move(p));
    return *this;
}

FileLayout& FileLayout::fill(uint64_t count, uint8_t value) {
    if (count == 0) return *this;
    Piece p{Piece::Kind::Fill};
    p.length = count;
    p.value = value;
    pieces_.push_back(std::move(p));
    return *this;
}

FileLayout& FileLayout::generate(std::function<void(ByteSink&)> producer) {
    Piece p{Piece::Kind::Generate};
    p.producer = std::move(producer);
    pieces_.push_back(std::move(p));
    return *this;
}

uint64_t FileLayout::knownSize() const {
    uint64_t total = 0;
    for (const Piece& p : pieces_) total += p.length;
    return total;
}

// ---- the three entry points ----

namespace {

File OpenForPatching(const std::string& path) {
    const Target t = Inspect(path);
    if (!t.exists) throw FileError("open", path, ENOENT);
    RequireWritable(t, path);
    RemoveStaleTemps(t);
    return File(t.path, OpenMode::ReadWrite);
}

}  // namespace

InPlaceEdit::InPlaceEdit(const std::string& path) : path_(path), file_(OpenForPatching(path)) {}

void InPlaceEdit::apply(std::span<const Patch> patches, Durability durability) {
    if (!file_.isOpen()) throw FileError("patch", path_, "the edit was applied already");
    const uint64_t oldSize = file_.size();
    std::vector<Undo> undo;
    for (const Patch& p : patches) {
        if (p.offset > oldSize) throw FileError("patch", path_, "a patch starts beyond the end of the file");
        const size_t kept = static_cast<size_t>(std::min<uint64_t>(p.bytes.size(), oldSize - p.offset));
        undo.push_back(Undo{p.offset, file_.readExact(p.offset, kept)});
    }
    try {
        for (const Patch& p : patches) file_.writeAt(p.offset, p.bytes);
        if (durability == Durability::Synced) file_.sync();
    } catch (...) {
        Restore(file_, undo, oldSize);
        throw;
    }
    file_.close();
}

void PatchInPlace(const std::string& path, std::span<const Patch> patches, Durability durability) {
    InPlaceEdit(path).apply(patches, durability);
}

void RewriteFile(const std::string& path, const FileLayout& layout) {
    const Target t = Inspect(path);
    if (!t.exists) throw FileError("open", path, ENOENT);
    RequireWritable(t, path);
    File source(t.path, OpenMode::Read);
    // Shared: keeps another writer's stale-file sweep off the old content while it is parked
    // under a temporary name.
    ::flock(source.nativeHandle(), LOCK_SH | LOCK_NB);
    CheckRanges(layout, source.size(), path);
    ReplaceFile(t, 0, [&](BufferedWriter& out) { WritePieces(layout, &source, out); });
}

void WriteFileAtomically(const std::string& path, std::span<const uint8_t> bytes, unsigned newFilePermissions) {
    const Target t = Inspect(path);
    if (t.exists) RequireWritable(t, path);
    ReplaceFile(t, newFilePermissions, [&](BufferedWriter& out) {
        out.write(bytes);
        out.flush();
    });
}

bool IsWritableFile(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return false;
    return (st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0 && ::access(path.c_str(), W_OK) == 0;
}

}  // namespace tagvera::platform
