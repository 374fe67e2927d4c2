// The undo journal that makes an in-place write old-or-new. Before the write changes a byte, the
// old bytes of every range it will touch and the file's old length go into a journal beside the
// file (companion_files.h); the write is undone from it after any failure, and after a kill or a
// power loss by the next open of the file (file_lock.h). The journal ends in a checksum over all
// of it: a journal that does not check was itself interrupted, before the write began, and is
// only removed.
//
// Where the writer knows in advance what the ranges will hold (patches), the journal says so
// too, and a write found complete beside its journal is kept rather than undone: that is what
// lets a synced write end without syncing the folder once more for the journal's removal.
//
// Format, little-endian: "TVUNDO1\n", the file's device and inode, its old length, the new
// length and the checksum of the ranges' new bytes (when flags & 1), the range count and flags
// (u32 each), a table of {offset, saved, written} (u64 each), the saved bytes of every range in
// order, and the checksum of everything before it.
//
// A journal is used only on the file it was written for (same device and inode). An in-place edit
// by another program between a crash and tagvera's next open is not seen: the ranges the journal
// holds are put back over it.
//
// The caller holds the file's write lock for the journal's whole life.
//
// A batch's edits (not durable) pass one journal file on from edit to edit instead of creating
// and removing one each, which on ext4 costs an inode allocation per edit. Between edits the file
// waits under its folder's spare name (companion_files.h), locked and with its first bytes zeroed
// so that it never reads as a journal; it takes a file's journal name (a second link) only while
// that file's write lock is held, and has it removed once the edit is done.
#ifndef TAGVERA_PLATFORM_WRITE_JOURNAL_H
#define TAGVERA_PLATFORM_WRITE_JOURNAL_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/byte_source.h"
#include "platform/file.h"

namespace tagvera::platform {

// What the next open found beside a file.
enum class JournalFound {
    None,        // no journal
    Discarded,   // a torn journal (the write never began), or one of a file since replaced
    Kept,        // the write had completed: only its journal was left
    RolledBack,  // the write was undone: the file is as it was before it
};

// Finishes what a journal left beside path (links resolved) says; the caller holds the file's
// write lock. Throws FileError when the journal cannot be read or the file cannot be restored;
// the journal then stays.
JournalFound RecoverFromJournal(const std::string& path);

// Removes the spare journal files this process keeps for its batches; before the batch's sync, so
// that the sync makes their removal durable too. (Also done when the process exits normally.)
void ReleaseSpareJournals() noexcept;
// The spare journal file under this name is this process's own.
bool HoldsSpareJournal(const std::string& sparePath);

class UndoJournal {
public:
    // The write changes [offset, offset + written); the first `saved` of those bytes are old
    // bytes of the file (the rest lies past its end).
    struct Range {
        uint64_t offset = 0;
        uint64_t saved = 0;
        uint64_t written = 0;
    };
    // The file once the write is complete: its length and the checksum of the bytes of every
    // range, in order.
    struct Outcome {
        uint64_t length = 0;
        uint64_t checksum = 0;
    };

    // Saves the old bytes of ranges (read from file, which path names) and its length. When
    // durable, the journal and its name are on stable storage before this returns. Throws
    // FileError with nothing left behind and the file untouched.
    UndoJournal(File& file, const std::string& path, std::vector<Range> ranges, std::optional<Outcome> outcome,
                bool durable);
    UndoJournal(const UndoJournal&) = delete;
    UndoJournal& operator=(const UndoJournal&) = delete;
    // Neither removed nor rolled back (a writer that gave up): the journal stays for the next
    // open, the spare name goes.
    ~UndoJournal() { dropSpare(); }

    // The file's bytes as they were, within the saved ranges.
    ByteSource& oldBytes() { return old_; }

    // The write is complete (and synced, when durable): the journal goes. When durable and the
    // journal has no Outcome, the folder is synced too, or a power loss could bring the journal
    // back and undo a write already reported done. Throws FileError; then roll back.
    void remove(bool durable);
    // Puts the old bytes and length back, syncs the file, and removes the journal. Never throws:
    // if that fails too, the journal stays and the next open finishes the job.
    void rollBack(File& file) noexcept;

private:
    friend JournalFound RecoverFromJournal(const std::string& path);
    // A journal found on disk, checked.
    UndoJournal(std::string path, File journal, std::vector<Range> ranges, uint64_t oldLength, bool hasOutcome);
    // rollBack, throwing.
    void restore(File& file);
    // Takes the spare's name away after a failure: the next edit starts with a new file.
    void dropSpare() noexcept;

    class OldBytes final : public ByteSource {
    public:
        explicit OldBytes(UndoJournal& journal) : journal_(journal) {}
        uint64_t size() const override { return journal_.oldLength_; }
        size_t readAt(uint64_t offset, std::span<uint8_t> out) override;

    private:
        UndoJournal& journal_;
    };

    std::string path_;
    bool spare_ = false;  // also its folder's spare (before journal_, which sets it)
    File journal_;
    std::vector<Range> ranges_;
    std::vector<uint64_t> savedAt_;  // where each range's old bytes start in the journal
    uint64_t oldLength_ = 0;
    bool hasOutcome_ = false;
    bool removed_ = false;
    OldBytes old_{*this};
};



}  // namespace tagvera::platform

#endif
