// The one way the library changes a file on disk. Every format writer describes what it wants
// and this helper does the risky part. Its promise: whatever happens during a write (a failed
// call, a full disk, a kill of the process at any moment), the file afterwards holds either its
// old content or the new, byte for byte, once tagvera has opened it again; and a write that
// returned has its new content on stable storage, unless the caller deferred that (Durability).
//
// Two paths:
//  - PatchInPlace: overwrite byte ranges of the existing file, when the caller knows the new bytes
//    fit the space the old ones had (tag padding, `free` atoms, a fixed-size ID3v1 record). An
//    undo journal beside the file (write_journal.h) makes all the patches one change.
//  - RewriteFile: build the new file from pieces (ranges of the original and new bytes) in a
//    temporary file beside the target, then atomically rename it over the original.
// Choosing between them is the caller's business; base/padding_policy.h says which one fits.
//
// Every write holds the file's write lock (file_lock.h) from before it reads the file until the
// new content is in place, and finishes what a killed write left first (interrupted_write.h). A
// writer that reads the file to decide what to write takes a FileWriteLock itself and passes it
// to the calls below; a thread that holds one must not call the path-taking forms for the same
// file (they would refuse with EDEADLK).
//
// Failures throw FileError (platform/file.h): an Error with TV_E_FAIL whose message names the
// step, the path and the OS reason, and whose osError() carries the errno.
#ifndef TAGVERA_PLATFORM_SAFE_WRITE_H
#define TAGVERA_PLATFORM_SAFE_WRITE_H

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/file.h"
#include "platform/file_lock.h"

namespace tagvera::platform {

// ---- in place ----

// New bytes for [offset, offset + bytes.size()) of the existing file. A patch may end past the
// current end of the file (an ID3v1 tag appended at the end) but may not start past it.
struct Patch {
    uint64_t offset = 0;
    std::span<const uint8_t> bytes;
    // Instead of bytes: `moved` bytes the file held at `from` before the edit (a range the edit
    // shifts, copied in bounded chunks from the journal, which holds them when the patches of the
    // edit cover them; otherwise the edit is refused before it begins).
    uint64_t from = 0;
    uint64_t moved = 0;

    uint64_t size() const { return bytes.empty() ? moved : bytes.size(); }
};

// When a write reaches stable storage, and what it promises meanwhile.
enum class Durability {
    // The journal, then the patched file are synced before PatchInPlace returns: old-or-new under
    // a kill or a power loss at any moment, and new once it has returned.
    Synced,
    // Nothing is synced: old-or-new under a kill of the process at any moment (the OS keeps what
    // was written); under a power loss before the caller's later sync (file_system_sync.h), no
    // promise, as for any write in the OS's cache. The journal is zeroed and unnamed as soon as the
    // patches are written (its file kept for the batch's next edit, write_journal.h): kept until
    // the batch's sync, it would still promise nothing, because the OS may write the patches to
    // disk before the journal, and a journal left that long could undo another program's later edit. A rewrite is old-or-new under a power loss too, where it is
    // deferred at all (RewriteFile).
    Deferred,
};

// Applies the patches in order as one change: the old bytes of every patched range and the old
// length go into an undo journal beside the file first, and come back after any failure (and, if
// the process dies, at the next open). So even a patch that only overwrites needs room on the
// disk for those old bytes. Throws before touching anything when the file is missing, read-only,
// or a patch starts past the end.
void PatchInPlace(const std::string& path, std::span<const Patch> patches,
                  Durability durability = Durability::Synced);

// Where an in-place edit leaves the end of the file.
struct EditEnd {
    // Cut the file at this length once the patches are written (a trailer replaced by a shorter
    // one); the bytes cut off go into the journal like patched ones. Unset: the file ends where
    // the old content or the last patch ends, whichever is later. No patch may end past it.
    std::optional<uint64_t> length;
};

// PatchInPlace in two steps, for a writer that reads the file's layout as it is now before it
// knows its patches, through the handle it then writes with: construction takes the write lock
// (or uses the caller's), finishes an interrupted write, checks and opens the file read-write.
class InPlaceEdit {
public:
    explicit InPlaceEdit(const std::string& path);
    explicit InPlaceEdit(FileWriteLock& lock);
    InPlaceEdit(const InPlaceEdit&) = delete;
    InPlaceEdit& operator=(const InPlaceEdit&) = delete;
    File& file() { return file_; }
    // As PatchInPlace, once; closes the file and lets go of a lock of its own.
    void apply(std::span<const Patch> patches, Durability durability = Durability::Synced, EditEnd end = {});

private:
    std::optional<FileWriteLock> ownLock_;
    std::string path_;  // links resolved
    File file_;
};

// ---- rewrite ----

// Where the bytes of a generated piece go; write() may be called any number of times.
class ByteSink {
public:
    virtual void write(std::span<const uint8_t> bytes) = 0;

protected:
    ~ByteSink() = default;
};

// The new file, front to back. Ranges of the original are copied in bounded chunks, so a layout
// for a 10 GB video holds only the new bytes in memory.
class FileLayout {
public:
    // length bytes of the original file starting at offset (checked against its size on write).
    FileLayout& copy(uint64_t offset, uint64_t length);
    // New bytes, copied into the layout.
    FileLayout& bytes(std::span<const uint8_t> data);
    FileLayout& bytes(std::vector<uint8_t>&& data);
    // count bytes of value (padding).
    FileLayout& fill(uint64_t count, uint8_t value = 0);
    // Bytes produced while writing, for output too large to hold (a re-multiplexed stream). The
    // producer may throw; the write then fails like any other step. original holds the file's
    // old content as the write sees it (the undo journal's copy while a file with several names
    // is rewritten in place): a producer that reads the file being rewritten reads it there.
    using Producer = std::function<void(ByteSink& out, ByteSource& original)>;
    FileLayout& generate(Producer producer);

    // Bytes the layout adds up to, not counting generated pieces.
    uint64_t knownSize() const;

    struct Piece {
        enum class Kind { Copy, Bytes, Fill, Generate } kind;
        uint64_t offset = 0;  // Copy: where in the original
        uint64_t length = 0;  // Copy, Fill: how many bytes
        uint8_t value = 0;    // Fill
        std::vector<uint8_t> data;
        Producer producer;
    };
    const std::vector<Piece>& pieces() const { return pieces_; }

private:
    std::vector<Piece> pieces_;
};

// What RewriteFile does with a file that has other names (hard links). A new file takes only the
// name written: the other names would keep the old content.
enum class HardLinks {
    // The new content goes into the same file, under an undo journal of the whole old content
    // (which needs as much free space as a temporary file would), so every name sees it.
    KeepInPlace,
    // A new file for this name, as for a file with one name; the other names keep the old one.
    Break,
    // HardLinkError before anything is touched.
    Refuse,
};

// RewriteFile refused a file with other names (HardLinks::Refuse).
class HardLinkError : public FileError {
public:
    HardLinkError(const std::string& path, uint64_t links);
    uint64_t links() const noexcept { return links_; }

private:
    uint64_t links_;
};

// Writes the layout into a temporary file beside path, with the original's permission bits, owner
// and group where allowed: an anonymous one (O_TMPFILE) where the file system can make it, else
// ".<name>.tagvera-new.tmp". Syncs it, names it, renames it over path and syncs the directory
// (Deferred: on a file system that writes a renamed file's data before the rename, rename_ordering.h,
// neither sync happens and the caller's later sync makes the new file durable; elsewhere as Synced). A
// symbolic link is followed: the file it points to is replaced and the link kept. On failure the
// original is byte-identical and no temporary file is left; after a kill, none outlives the next
// open. A file with several names is handled as links says. Handles opened on path before the
// call still see the old content (except with KeepInPlace): reopen.
// (Windows: ReplaceFileW / MoveFileExW with MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH,
// and the importer's own handle must have been opened with FILE_SHARE_DELETE or closed first.)
void RewriteFile(const std::string& path, const FileLayout& layout, HardLinks links = HardLinks::KeepInPlace,
                 Durability durability = Durability::Synced);
// The same for a writer that holds the lock; its copies come from lock.file(). The lock moves to
// the new file, so the writer keeps its turn for whatever it does next.
void RewriteFile(FileWriteLock& lock, const FileLayout& layout, HardLinks links = HardLinks::KeepInPlace,
                 Durability durability = Durability::Synced);

// Replaces (or creates) path with exactly bytes, through the same steps as RewriteFile. A new file
// gets newFilePermissions (before the umask); an existing one keeps its own, and its links.
void WriteFileAtomically(const std::string& path, std::span<const uint8_t> bytes,
                         unsigned newFilePermissions = 0644);

// True when the file exists and may be written: its permission bits allow writing for someone
// and the OS grants this process write access. A file without any write bit counts as read-only
// even for a privileged user, like the read-only attribute on Windows.
bool IsWritableFile(const std::string& path);

}  // namespace tagvera::platform

#endif
