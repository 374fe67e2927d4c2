#include "platform/safe_write.h"

#include <algorithm>
#include <cerrno>

#include "platform/checksum.h"
#include "platform/chunked_read.h"
#include "platform/file.h"
#include "platform/file_replacement.h"
#include "platform/rename_ordering.h"
#include "platform/write_journal.h"

namespace tagvera::platform {
namespace {

using namespace replacement;

constexpr char kShrankWhilePatched[] = "the file shrank while it was being patched";

// ---- writing ----

class BufferedWriter final : public ByteSink {
public:
    explicit BufferedWriter(File& file) : file_(file) { buffer_.reserve(kChunk); }

    void write(std::span<const uint8_t> bytes) override {
        // A copied chunk goes out as it is, after what is buffered: moving it into the buffer
        // first would copy every byte of the audio once more.
        if (bytes.size() >= kChunk / 4) {
            flush();
            emit(bytes);
            return;
        }
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

    // Where the bytes written so far end.
    uint64_t end() const { return offset_ + buffer_.size(); }

private:
    void emit(std::span<const uint8_t> bytes) {
        file_.writeAt(offset_, bytes);
        offset_ += bytes.size();
    }

    File& file_;
    std::vector<uint8_t> buffer_;
    uint64_t offset_ = 0;
};

void CopyRange(ByteSource& source, const std::string& name, uint64_t offset, uint64_t length, BufferedWriter& out) {
    ReadInChunks(source, name, offset, length, "the file shrank while it was being copied",
                 [&](std::span<const uint8_t> chunk) { out.write(chunk); });
}

void Fill(uint64_t count, uint8_t value, BufferedWriter& out) {
    const std::vector<uint8_t> block(static_cast<size_t>(std::min<uint64_t>(count, kChunk)), value);
    for (; count > 0;) {
        const size_t n = static_cast<size_t>(std::min<uint64_t>(count, block.size()));
        out.write(std::span(block).first(n));
        count -= n;
    }
}

void WritePieces(const FileLayout& layout, ByteSource& source, const std::string& name, BufferedWriter& out) {
    for (const FileLayout::Piece& p : layout.pieces()) {
        switch (p.kind) {
            case FileLayout::Piece::Kind::Copy: CopyRange(source, name, p.offset, p.length, out); break;
            case FileLayout::Piece::Kind::Bytes: out.write(p.data); break;
            case FileLayout::Piece::Kind::Fill: Fill(p.length, p.value, out); break;
            case FileLayout::Piece::Kind::Generate: p.producer(out, source); break;
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

// The new content in a temporary file, put in place of the target. With a lock, the lock moves
// to the new file. Deferred only where the rename itself keeps old-or-new over a power loss.
template <class Body>
void ReplaceFile(const Target& t, FileWriteLock* lock, unsigned newFilePermissions, Durability durability,
                 Body&& writeContent) {
    const bool deferred = durability == Durability::Deferred && t.exists && RenameWritesDataFirst(t.dir);
    TempFile tmp = CreateTemp(t, t.exists ? (t.permissions & 0777) : newFilePermissions);
    try {
        if (t.exists) CopyOwnership(tmp, t);
        BufferedWriter out(tmp.file);
        writeContent(out);
        if (!deferred) tmp.file.sync();
        Name(tmp);
        PutInPlace(t, tmp, deferred);
    } catch (...) {
        Discard(tmp);
        throw;
    }
    if (lock && tmp.file.isOpen()) lock->follow(std::move(tmp.file));
}

// The new content written over the old in the same file, for a file with several names: the
// journal holds all of the old content, and the copies come from it.
void RewriteInPlace(const Target& t, const FileLayout& layout) {
    File file(t.path, OpenMode::ReadWrite);
    UndoJournal journal(file, t.path, {{0, file.size(), 0}}, std::nullopt, true);
    try {
        BufferedWriter out(file);
        WritePieces(layout, journal.oldBytes(), t.path, out);
        if (file.size() != out.end()) file.truncate(out.end());
        file.sync();
        journal.remove(true);
    } catch (...) {
        journal.rollBack(file);
        throw;
    }
}

// Every byte of [from, from + length) lies in one of the ranges.
bool Covered(const std::vector<UndoJournal::Range>& ranges, uint64_t from, uint64_t length) {
    while (length > 0) {
        const auto in = std::find_if(ranges.begin(), ranges.end(), [&](const UndoJournal::Range& r) {
            return from >= r.offset && from - r.offset < r.saved;
        });
        if (in == ranges.end()) return false;
        const uint64_t n = std::min(length, in->offset + in->saved - from);
        from += n;
        length -= n;
    }
    return true;
}

File OpenForPatching(FileWriteLock& lock) {
    RequireWritable(Inspect(lock));
    return File(lock.path(), OpenMode::ReadWrite);
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

FileLayout& FileLayout::generate(Producer producer) {
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

// ---- in place ----

InPlaceEdit::InPlaceEdit(const std::string& path)
    : ownLock_(std::in_place, path), path_(ownLock_->path()), file_(OpenForPatching(*ownLock_)) {}

InPlaceEdit::InPlaceEdit(FileWriteLock& lock) : path_(lock.path()), file_(OpenForPatching(lock)) {}

void InPlaceEdit::apply(std::span<const Patch> patches, Durability durability, EditEnd end) {
    if (!file_.isOpen()) throw FileError("patch", path_, "the edit was applied already");
    const uint64_t oldSize = file_.size();
    std::vector<UndoJournal::Range> ranges;
    UndoJournal::Outcome outcome{oldSize, 0};
    Checksum written;
    for (const Patch& p : patches) {
        if (p.offset > oldSize) throw FileError("patch", path_, "a patch starts beyond the end of the file");
        if (end.length && (p.offset > *end.length || p.size() > *end.length - p.offset))
            throw FileError("patch", path_, "a patch ends beyond the new end of the file");
        ranges.push_back({p.offset, std::min<uint64_t>(p.size(), oldSize - p.offset), p.size()});
        outcome.length = std::max<uint64_t>(outcome.length, p.offset + p.size());
    }
    if (end.length) {
        outcome.length = *end.length;
        // The cut-off bytes are saved like patched ones: undoing the edit writes them back.
        if (*end.length < oldSize) ranges.push_back({*end.length, oldSize - *end.length, 0});
    }
    // Read before anything changes: a moved range holds its old bytes only until then.
    for (const Patch& p : patches) {
        if (!p.bytes.empty()) {
            written.add(p.bytes);
        } else if (p.moved > 0) {
            if (!Covered(ranges, p.from, p.moved))
                throw FileError("patch", path_, "a moved range lies outside the patched ones");
            ReadInChunks(file_, path_, p.from, p.moved, kShrankWhilePatched, [&](std::span<const uint8_t> c) { written.add(c); });
        }
    }
    outcome.checksum = written.value();
    const bool durable = durability == Durability::Synced;
    UndoJournal journal(file_, path_, std::move(ranges), outcome, durable);
    try {
        for (const Patch& p : patches) {
            if (!p.bytes.empty()) {
                file_.writeAt(p.offset, p.bytes);
                continue;
            }
            uint64_t to = p.offset;
            ReadInChunks(journal.oldBytes(), path_, p.from, p.moved, kShrankWhilePatched, [&](std::span<const uint8_t> c) {
                file_.writeAt(to, c);
                to += c.size();
            });
        }
        // Shortened last: until the cut, a kill finds a file the journal's outcome does not
        // describe, and the edit is undone.
        if (end.length && file_.size() != *end.length) file_.truncate(*end.length);
        if (durable) file_.sync();
        journal.remove(durable);
    } catch (...) {
        journal.rollBack(file_);
        throw;
    }
    file_.close();
    ownLock_.reset();
}

void PatchInPlace(const std::string& path, std::span<const Patch> patches, Durability durability) {
    InPlaceEdit(path).apply(patches, durability);
}

// ---- rewrite ----

HardLinkError::HardLinkError(const std::string& path, uint64_t links)
    : FileError("rewrite", path,
                "refused: the file has " + std::to_string(links) +
                    " hard links, and a new file would leave the other names with the old content"),
      links_(links) {}

void RewriteFile(FileWriteLock& lock, const FileLayout& layout, HardLinks links, Durability durability) {
    const Target t = Inspect(lock);
    RequireWritable(t);
    File& source = lock.file();
    CheckRanges(layout, source.size(), t.path);
    if (t.links > 1 && links == HardLinks::Refuse) throw HardLinkError(t.path, t.links);
    if (t.links > 1 && links == HardLinks::KeepInPlace) return RewriteInPlace(t, layout);
    ReplaceFile(t, &lock, 0, durability, [&](BufferedWriter& out) { WritePieces(layout, source, t.path, out); });
}

void RewriteFile(const std::string& path, const FileLayout& layout, HardLinks links, Durability durability) {
    FileWriteLock lock(path);
    RewriteFile(lock, layout, links, durability);
}

void WriteFileAtomically(const std::string& path, std::span<const uint8_t> bytes, unsigned newFilePermissions) {
    const auto content = FileLayout().generate([bytes](ByteSink& out, ByteSource&) { out.write(bytes); });
    const Target t = Inspect(path);
    if (t.exists) return RewriteFile(path, content);
    ReplaceFile(t, nullptr, newFilePermissions, Durability::Synced, [&](BufferedWriter& out) {
        out.write(bytes);
        out.flush();
    });
}

}  // namespace tagvera::platform
