// The one way the library changes a file on disk. Every format writer describes what it wants
// and this helper does the risky part, so that a failure at any step (full disk, I/O error, a
// read-only file, a crash) never leaves a truncated or half-written media file behind.
//
// Two paths:
//  - PatchInPlace: overwrite byte ranges of the existing file, when the caller knows the new bytes
//    fit the space the old ones had (tag padding, `free` atoms, a fixed-size ID3v1 record).
//  - RewriteFile: build the new file from pieces (ranges of the original and new bytes) in a
//    temporary file beside the target, then atomically rename it over the original.
// Choosing between them is the caller's business; base/padding_policy.h says which one fits.
//
// Failures throw FileError (platform/file.h): an Error with TV_E_FAIL whose message names the
// step, the path and the OS reason, and whose osError() carries the errno.
#ifndef TAGVERA_PLATFORM_SAFE_WRITE_H
#define TAGVERA_PLATFORM_SAFE_WRITE_H

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "platform/file.h"

namespace tagvera::platform {

// ---- in place ----

// New bytes for [offset, offset + bytes.size()) of the existing file. A patch may end past the
// current end of the file (an ID3v1 tag appended at the end) but may not start past it.
struct Patch {
    uint64_t offset = 0;
    std::span<const uint8_t> bytes;
};

// When an in-place write reaches stable storage. An fsync there adds durability, not atomicity:
// the patches are the same few bytes either way. A batch tool may leave them to one sync of the
// file system at the end of its run (file_system_sync.h) instead of one fsync per file.
enum class Durability {
    Synced,    // fsynced before PatchInPlace returns
    Deferred,  // in the OS's cache until the caller's later sync (or the OS's own write-back)
};

// Applies the patches in order and, when Synced, fsyncs the file. Before writing, the bytes each
// patch overwrites are saved; if a write or the fsync fails they are written back and the file
// cut to its old length (best effort: a crash at that moment can still leave a mix, which is why
// only small, same-size edits belong here). Throws before touching anything when the file is
// missing, read-only, or a patch starts past the end. Stale temporary files of the target are
// removed too (a folder this process swept, unchanged since, is not listed again).
void PatchInPlace(const std::string& path, std::span<const Patch> patches,
                  Durability durability = Durability::Synced);

// PatchInPlace in two steps, for a writer that reads the file's layout as it is now before it
// knows its patches, through the handle it then writes with: the checks and the sweep happen (and
// throw) on construction, which opens the file for reading and writing.
class InPlaceEdit {
public:
    explicit InPlaceEdit(const std::string& path);
    File& file() { return file_; }
    // As PatchInPlace, once; closes the file.
    void apply(std::span<const Patch> patches, Durability durability = Durability::Synced);

private:
    std::string path_;
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
    // producer may throw; the write then fails like any other step.
    FileLayout& generate(std::function<void(ByteSink&)> producer);

    // Bytes the layout adds up to, not counting generated pieces.
    uint64_t knownSize() const;

    struct Piece {
        enum class Kind { Copy, Bytes, Fill, Generate } kind;
        uint64_t offset = 0;  // Copy: where in the original
        uint64_t length = 0;  // Copy, Fill: how many bytes
        uint8_t value = 0;    // Fill
        std::vector<uint8_t> data;
        std::function<void(ByteSink&)> producer;
    };
    const std::vector<Piece>& pieces() const { return pieces_; }

private:
    std::vector<Piece> pieces_;
};

// Writes the layout into a new temporary file beside path (".<name>.tagvera-<random>.tmp",
// created exclusively, with the original's permission bits, owner and group where allowed),
// fsyncs it, renames it over path and fsyncs the directory. A symbolic link is followed: the file
// it points to is replaced and the link kept. On failure the original is byte-identical and the
// temporary file is gone. Temporary files that an earlier, killed run left for the same target
// are removed first. Handles opened on path before the call still see the old content: reopen.
// (Windows: ReplaceFileW / MoveFileExW with MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH,
// and the importer's own handle must have been opened with FILE_SHARE_DELETE or closed first.)
void RewriteFile(const std::string& path, const FileLayout& layout);

// Replaces (or creates) path with exactly bytes, through the same temporary-file-and-rename
// steps. A new file gets newFilePermissions (before the umask); an existing one keeps its own.
void WriteFileAtomically(const std::string& path, std::span<const uint8_t> bytes,
                         unsigned newFilePermissions = 0644);

// True when the file exists and may be written: its permission bits allow writing for someone
// and the OS grants this process write access. A file without any write bit counts as read-only
// even for a privileged user, like the read-only attribute on Windows.
bool IsWritableFile(const std::string& path);

// The prefix and suffix of this helper's temporary files, for tools that clean directories.
inline constexpr const char* kTempInfix = ".tagvera-";
inline constexpr const char* kTempSuffix = ".tmp";

}  // namespace tagvera::platform

#endif
