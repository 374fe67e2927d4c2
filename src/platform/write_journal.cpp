#include "platform/write_journal.h"

#if !defined(_WIN32)
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <limits>
#include <mutex>

#include "platform/checksum.h"
#include "platform/chunked_read.h"
#include "platform/companion_files.h"
#include "platform/fault_injection.h"

namespace tagvera::platform {
namespace {

constexpr char kMagic[8] = {'T', 'V', 'U', 'N', 'D', 'O', '1', '\n'};
constexpr uint64_t kHeaderBytes = 56, kRangeBytes = 24, kTrailerBytes = 8;
constexpr uint32_t kHasOutcome = 1;
// Patches come by the handful; a count beyond this is damage, not a journal.
constexpr uint32_t kMaxRanges = 4096;
constexpr char kEndedEarly[] = "the file ended before the range did";
constexpr uint64_t kMaxOffset = static_cast<uint64_t>(std::numeric_limits<int64_t>::max());

void Put(std::vector<uint8_t>& out, uint64_t v, int bytes) {
    for (int i = 0; i < bytes; ++i) out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

uint64_t Get(const uint8_t* p, int bytes) {
    uint64_t v = 0;
    for (int i = bytes - 1; i >= 0; --i) v = (v << 8) | p[i];
    return v;
}

// Appends to the journal through one buffer, so that a journal of a few patches is one write.
class Appender {
public:
    // magicLast: the first bytes go out zeroed (the checksum still covers the magic); the caller
    // writes the magic once the rest is in place.
    // expected: the journal's size, so that the buffer grows once.
    Appender(File& file, bool magicLast, uint64_t expected) : file_(file), magicLast_(magicLast) {
        buffer_.reserve(static_cast<size_t>(std::min<uint64_t>(expected, kChunk)));
    }
    void add(std::span<const uint8_t> bytes) {
        sum_.add(bytes);
        buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
        if (buffer_.size() >= kChunk) flush();
    }
    void flush() {
        if (buffer_.empty()) return;
        if (at_ == 0 && magicLast_) std::fill_n(buffer_.begin(), std::min(buffer_.size(), sizeof kMagic), 0);
        file_.writeAt(at_, buffer_);
        at_ += buffer_.size();
        buffer_.clear();
    }
    uint64_t position() const { return at_ + buffer_.size(); }
    uint64_t checksum() const { return sum_.value(); }

private:
    File& file_;
    bool magicLast_;
    std::vector<uint8_t> buffer_;
    uint64_t at_ = 0;
    Checksum sum_;
};

// A journal still open stays readable: a rollback after a failed removal reads it (on Windows its
// name goes when its handle does).
void RemoveJournal(const std::string& path) {
    if (const int err = fault::Check(fault::Step::Journal)) throw FileError("remove", path, err);
    RemoveFile(path);
}

JournalFound Discard(const std::string& journalPath) {
    RemoveJournal(journalPath);
    return JournalFound::Discarded;
}

#if !defined(_WIN32)
// Gives the file one more name. Through /proc, so that it is this file that gets it, whatever its
// other name leads to now; a file whose last name went cannot get one (ENOENT).
bool LinkAlso(const File& file, const std::string& name) {
    const std::string proc = "/proc/self/fd/" + std::to_string(file.nativeHandle());
    return ::linkat(AT_FDCWD, proc.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

// The file a name leads to, the name itself when it is a link; nullopt when there is none.
std::optional<FileIdentity> IdentityOfName(const std::string& name) {
    struct stat st {};
    if (::lstat(name.c_str(), &st) != 0) return std::nullopt;
    return FileIdentity{static_cast<uint64_t>(st.st_dev), static_cast<uint64_t>(st.st_ino)};
}

// Removes the name if it still leads to file (someone may have removed it, and another batch
// taken it since).
void Unname(const std::string& name, const File& file) noexcept {
    try {
        if (IdentityOfName(name) == file.identity()) ::unlink(name.c_str());
    } catch (const FileError&) {
    }
}

// The spare journal files of this process, one per folder its batches edit (a few at most). A
// child of fork() starts without any: its parent's are its parent's.
class SpareJournals {
public:
    ~SpareJournals() { releaseAll(); }

    // The name leads to one of this process's spares, parked or at work.
    bool holds(const std::string& sparePath) {
        // Every open asks; most processes never write, and threads reading side by side must not queue here.
        if (named_.load(std::memory_order_acquire) == 0) return false;
        std::lock_guard lock(mutex_);
        ownOnly();
        const auto found = std::find_if(names_.begin(), names_.end(), [&](const auto& n) { return n.first == sparePath; });
        return found != names_.end() && IdentityOfName(sparePath) == found->second;
    }
    void named(const std::string& sparePath, const File& file) {
        const FileIdentity id = file.identity();
        std::lock_guard lock(mutex_);
        ownOnly();
        names_.emplace_back(sparePath, id);
        named_.store(names_.size(), std::memory_order_release);
    }
    void unname(const std::string& sparePath, const File& file) noexcept {
        Unname(sparePath, file);
        std::lock_guard lock(mutex_);
        ownOnly();
        forget(sparePath);
    }

    std::optional<File> take(const std::string& sparePath) {
        std::lock_guard lock(mutex_);
        ownOnly();
        const auto found = std::find_if(spares_.begin(), spares_.end(), [&](const auto& s) { return s.first == sparePath; });
        if (found == spares_.end()) return std::nullopt;
        std::optional<File> file(std::move(found->second));
        spares_.erase(found);
        return file;
    }

    void put(const std::string& sparePath, File&& file) {
        std::lock_guard lock(mutex_);
        ownOnly();
        if (spares_.size() == kMost) {
            Unname(spares_.front().first, spares_.front().second);
            forget(spares_.front().first);
            spares_.erase(spares_.begin());
        }
        spares_.emplace_back(sparePath, std::move(file));
    }

    void releaseAll() noexcept {
        std::lock_guard lock(mutex_);
        ownOnly();
        for (const auto& [path, file] : spares_) Unname(path, file), forget(path);
        spares_.clear();
    }

private:
    // After a fork, the spares are the parent's: let go of them, names untouched.
    void ownOnly() {
        if (owner_ == ::getpid()) return;
        spares_.clear();
        names_.clear();
        named_.store(0, std::memory_order_release);
        owner_ = ::getpid();
    }
    void forget(const std::string& sparePath) {
        const auto found = std::find_if(names_.begin(), names_.end(), [&](const auto& n) { return n.first == sparePath; });
        if (found != names_.end()) names_.erase(found);
        named_.store(names_.size(), std::memory_order_release);
    }

    static constexpr size_t kMost = 4;
    std::mutex mutex_;
    pid_t owner_ = ::getpid();
    std::vector<std::pair<std::string, File>> spares_;  // parked
    std::vector<std::pair<std::string, FileIdentity>> names_;
    std::atomic<size_t> named_{0};  // names_.size(), for holds() without the lock
};

SpareJournals& Spares() {
    static SpareJournals spares;
    return spares;
}
#endif

// The file for the journal of target at journalPath. Not durable: the folder's spare, linked
// under that name, when this process keeps one; else a new file, which becomes the folder's spare
// where it can be (spare: set when so).
File OpenJournal(const std::string& target, const std::string& journalPath, bool durable, bool& spare) {
#if !defined(_WIN32)
    if (!durable) {
        const std::string sparePath = SpareJournalPathFor(target);
        if (std::optional<File> kept = Spares().take(sparePath)) {
            if (LinkAlso(*kept, journalPath)) {
                spare = true;
                kept->renamed(journalPath);
                return std::move(*kept);
            }
            Spares().unname(sparePath, *kept);
        }
        File journal = File::CreateNew(journalPath, 0600);
        try {
            spare = journal.lockForWriters(false) && LinkAlso(journal, sparePath);
        } catch (const FileError&) {
        }
        if (spare) Spares().named(sparePath, journal);
        return journal;
    }
#else
    (void)target, (void)durable, (void)spare;
#endif
    return File::CreateNew(journalPath, 0600);
}

}  // namespace

void ReleaseSpareJournals() noexcept {
#if !defined(_WIN32)
    Spares().releaseAll();
#endif
}

bool HoldsSpareJournal(const std::string& sparePath) {
#if !defined(_WIN32)
    return Spares().holds(sparePath);
#else
    (void)sparePath;
    return false;
#endif
}

UndoJournal::UndoJournal(File& file, const std::string& path, std::vector<Range> ranges,
                         std::optional<Outcome> outcome, bool durable)
    : path_(JournalPathFor(path)), journal_(OpenJournal(path, path_, durable, spare_)), ranges_(std::move(ranges)),
      oldLength_(file.size()), hasOutcome_(outcome.has_value()) {
    journal_.countAsJournal();
    try {
        const FileIdentity id = file.identity();
        if (ranges_.size() > kMaxRanges) throw FileError("journal", path, "too many ranges");
        for (const Range& r : ranges_) {
            if (r.offset > oldLength_ || r.saved > oldLength_ - r.offset)
                throw FileError("journal", path, "a saved range lies beyond the end of the file");
        }
#if !defined(_WIN32)
        // Whoever may write the file may finish its interrupted write. (On Windows the journal
        // takes its folder's access rules, as the file did.)
        struct stat st {};
        if (::fstat(file.nativeHandle(), &st) != 0) throw FileError("stat", path, errno);
        if (::fchown(journal_.nativeHandle(), st.st_uid, st.st_gid) != 0 && errno != EPERM)
            throw FileError("chown", path_, errno);
        if (::fchmod(journal_.nativeHandle(), st.st_mode & 0666) != 0) throw FileError("chmod", path_, errno);
#endif
        std::vector<uint8_t> head(kMagic, kMagic + sizeof kMagic);
        Put(head, id.device, 8);
        Put(head, id.inode, 8);
        Put(head, oldLength_, 8);
        Put(head, outcome ? outcome->length : 0, 8);
        Put(head, outcome ? outcome->checksum : 0, 8);
        Put(head, ranges_.size(), 4);
        Put(head, outcome ? kHasOutcome : 0, 4);
        for (const Range& r : ranges_) Put(head, r.offset, 8), Put(head, r.saved, 8), Put(head, r.written, 8);
        uint64_t saved = 0;
        for (const Range& r : ranges_) saved += r.saved;
        // A spare holds an older journal's bytes: the magic goes last, once the rest would check.
        Appender out(journal_, spare_, head.size() + saved + kTrailerBytes);
        out.add(head);
        for (const Range& r : ranges_) {
            savedAt_.push_back(out.position());
            ReadInChunks(file, path, r.offset, r.saved, kEndedEarly, [&](std::span<const uint8_t> chunk) { out.add(chunk); });
        }
        std::vector<uint8_t> trailer;
        Put(trailer, out.checksum(), 8);
        out.add(trailer);
        out.flush();
        if (spare_) {
            if (journal_.size() > out.position()) journal_.truncate(out.position());
            journal_.writeAt(0, std::span(reinterpret_cast<const uint8_t*>(kMagic), sizeof kMagic));
        }
        if (durable) {
            journal_.sync();
            SyncFolder(DirectoryOf(path_));
        }
    } catch (...) {
        try {
            RemoveFile(path_);
        } catch (const FileError&) {
        }
        dropSpare();
        throw;
    }
}

UndoJournal::UndoJournal(std::string path, File journal, std::vector<Range> ranges, uint64_t oldLength,
                         bool hasOutcome)
    : path_(std::move(path)), journal_(std::move(journal)), ranges_(std::move(ranges)), oldLength_(oldLength),
      hasOutcome_(hasOutcome) {
    uint64_t at = kHeaderBytes + kRangeBytes * ranges_.size();
    for (const Range& r : ranges_) {
        savedAt_.push_back(at);
        at += r.saved;
    }
}

size_t UndoJournal::OldBytes::readAt(uint64_t offset, std::span<uint8_t> out) {
    if (offset >= journal_.oldLength_) return 0;
    for (size_t i = 0; i < journal_.ranges_.size(); ++i) {
        const Range& r = journal_.ranges_[i];
        if (offset < r.offset || offset - r.offset >= r.saved) continue;
        const uint64_t into = offset - r.offset;
        const size_t n = static_cast<size_t>(std::min<uint64_t>(out.size(), r.saved - into));
        return journal_.journal_.readAt(journal_.savedAt_[i] + into, out.first(n));
    }
    throw FileError("read", journal_.path_, "the journal holds no old bytes there");
}

void UndoJournal::remove(bool durable) {
    // Zeroed before its name goes: a kill between the two leaves a journal that is only discarded.
    if (spare_) journal_.writeAt(0, std::vector<uint8_t>(sizeof kMagic, 0));
    RemoveJournal(path_);
    removed_ = true;
#if !defined(_WIN32)
    if (spare_) Spares().put(SpareJournalPathFor(path_), std::move(journal_));
#endif
    spare_ = false;
    if (durable && !hasOutcome_) SyncFolder(DirectoryOf(path_));
}

void UndoJournal::dropSpare() noexcept {
#if !defined(_WIN32)
    if (spare_) Spares().unname(SpareJournalPathFor(path_), journal_);
#endif
    spare_ = false;
}

void UndoJournal::restore(File& file) {
    // Backwards, so that of two overlapping ranges the older bytes win.
    for (size_t i = ranges_.size(); i-- > 0;) {
        uint64_t to = ranges_[i].offset;
        ReadInChunks(journal_, path_, savedAt_[i], ranges_[i].saved, kEndedEarly, [&](std::span<const uint8_t> chunk) {
            file.writeAt(to, chunk);
            to += chunk.size();
        });
    }
    file.refresh();
    if (file.size() != oldLength_) file.truncate(oldLength_);
    // Even after a deferred write: the caller will not sync a file whose write failed.
    file.sync();
}

void UndoJournal::rollBack(File& file) noexcept {
    dropSpare();
    try {
        restore(file);
        if (!removed_) remove(false);
    } catch (...) {
        // The caller's error is the one worth reporting; the journal left behind finishes the job.
    }
}

JournalFound RecoverFromJournal(const std::string& path) {
    const std::string journalPath = JournalPathFor(path);
    std::optional<File> opened;
    try {
        opened.emplace(journalPath, OpenMode::Read);
    } catch (const FileError& e) {
        if (e.osError() == ENOENT) return JournalFound::None;
        throw;
    }
    File& journal = *opened;
    const uint64_t size = journal.size();
    if (!journal.regular() || size < kHeaderBytes + kTrailerBytes) return Discard(journalPath);
    const std::vector<uint8_t> head = journal.readExact(0, kHeaderBytes);
    if (std::memcmp(head.data(), kMagic, sizeof kMagic) != 0) return Discard(journalPath);
    const uint64_t device = Get(&head[8], 8), inode = Get(&head[16], 8), oldLength = Get(&head[24], 8);
    const uint64_t newLength = Get(&head[32], 8), newChecksum = Get(&head[40], 8);
    const uint64_t count = Get(&head[48], 4), flags = Get(&head[52], 4);
    if (count > kMaxRanges || oldLength > kMaxOffset) return Discard(journalPath);
    const uint64_t tableEnd = kHeaderBytes + count * kRangeBytes;
    if (tableEnd > size - kTrailerBytes) return Discard(journalPath);
    const std::vector<uint8_t> table = journal.readExact(kHeaderBytes, static_cast<size_t>(tableEnd - kHeaderBytes));
    std::vector<UndoJournal::Range> ranges;
    uint64_t savedTotal = 0;
    const uint64_t savedRoom = size - kTrailerBytes - tableEnd;
    for (uint64_t i = 0; i < count; ++i) {
        const uint8_t* p = &table[i * kRangeBytes];
        const UndoJournal::Range r{Get(p, 8), Get(p + 8, 8), Get(p + 16, 8)};
        if (r.offset > oldLength || r.saved > oldLength - r.offset || r.saved > savedRoom - savedTotal)
            return Discard(journalPath);
        savedTotal += r.saved;
        ranges.push_back(r);
    }
    if (savedTotal != savedRoom) return Discard(journalPath);
    Checksum sum;
    ReadInChunks(journal, journalPath, 0, size - kTrailerBytes, kEndedEarly, [&](std::span<const uint8_t> c) { sum.add(c); });
    if (sum.value() != Get(journal.readExact(size - kTrailerBytes, kTrailerBytes).data(), 8)) return Discard(journalPath);

    File file(path, OpenMode::ReadWrite);
    // Replaced since (by another program): the journal's old bytes are of a file that is gone.
    if (file.identity() != FileIdentity{device, inode}) return Discard(journalPath);
    if ((flags & kHasOutcome) && file.size() == newLength) {
        Checksum now;
        bool inside = true;
        for (const UndoJournal::Range& r : ranges) {
            inside = inside && r.offset <= newLength && r.written <= newLength - r.offset;
            if (inside) ReadInChunks(file, path, r.offset, r.written, kEndedEarly, [&](std::span<const uint8_t> c) { now.add(c); });
        }
        if (inside && now.value() == newChecksum) {
            RemoveJournal(journalPath);
            return JournalFound::Kept;
        }
    }
    UndoJournal undo(journalPath, std::move(journal), std::move(ranges), oldLength, (flags & kHasOutcome) != 0);
    undo.restore(file);
    undo.remove(false);
    return JournalFound::RolledBack;
}

}  // namespace tagvera::platform
