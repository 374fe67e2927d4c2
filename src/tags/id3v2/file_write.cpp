#include "tags/id3v2/file_write.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <utility>

#include "base/error.h"
#include "base/head_tail_source.h"
#include "base/padding_policy.h"
#include "tags/id3v2/normalize.h"
#include "tags/id3v2/tag_reader.h"
#include "tags/id3v2/tag_writer.h"
#include "platform/file.h"
#include "platform/file_lock.h"
#include "platform/safe_write.h"

namespace tagvera::id3v2 {

namespace {

constexpr uint64_t kId3v1Bytes = 128;
// Padding is written from this block, a slice per patch, so that its size costs no memory.
constexpr size_t kZeroBlock = size_t(1) << 20;

struct Range {
    uint64_t offset, size;
};

// The file without the given ranges, as copy pieces.
void CopyAllBut(platform::FileLayout& layout, uint64_t from, uint64_t to, std::vector<Range> cut) {
    std::sort(cut.begin(), cut.end(), [](const Range& a, const Range& b) { return a.offset < b.offset; });
    uint64_t at = from;
    for (const Range& r : cut) {
        if (r.size == 0 || r.offset + r.size <= at) continue;
        if (r.offset > at) layout.copy(at, std::min(r.offset, to) - at);
        at = std::max(at, r.offset + r.size);
    }
    if (at < to) layout.copy(at, to - at);
}

void ListLost(const std::string& where, const std::vector<std::string>& what, std::vector<std::string>& out) {
    for (const auto& s : what) out.push_back(where + s);
}

// Calls piece(bytes) for the new bytes and kept(data) for the data left in the file, in the order
// they make up the tag, padding excluded.
template <class Bytes, class Kept>
void ForEachPiece(const id3v2::RenderedTag& tag, Bytes&& piece, Kept&& kept) {
    const std::span<const uint8_t> all(tag.bytes);
    size_t from = 0;
    for (const auto& k : tag.kept) {
        piece(all.subspan(from, k.at - from));
        kept(k.data);
        from = k.at;
    }
    piece(all.subspan(from));
}

// The patches that turn the old tag space into tag, padded: data left in the file where the new
// tag has it too is neither written nor journaled; data that shifts is moved through the journal;
// padding is written only where the file does not hold zeros already (before zeroFrom). Padding
// that fits the room the render left goes with the last bytes (one write); more is written from
// the zero block.
std::vector<platform::Patch> InPlacePatches(id3v2::RenderedTag& tag, uint64_t zeroFrom, std::vector<uint8_t>& zeros) {
    const uint64_t framesEnd = tag.size() - tag.padding;
    uint64_t padding = zeroFrom > framesEnd ? std::min(tag.padding, zeroFrom - framesEnd) : 0;
    if (padding <= tag.bytes.capacity() - tag.bytes.size()) {
        tag.bytes.resize(tag.bytes.size() + static_cast<size_t>(padding), 0);
        tag.padding -= padding;
        padding = 0;
    }
    zeros.assign(static_cast<size_t>(std::min<uint64_t>(padding, kZeroBlock)), 0);
    std::vector<platform::Patch> patches;
    uint64_t at = 0;
    ForEachPiece(
        tag,
        [&](std::span<const uint8_t> bytes) {
            if (!bytes.empty()) patches.push_back({at, bytes});
            at += bytes.size();
        },
        [&](const id3v2::Frame::Deferred& data) {
            if (data.offset != at) patches.push_back({at, {}, data.offset, data.size});
            at += data.size;
        });
    for (uint64_t left = padding; left > 0;) {
        const size_t n = static_cast<size_t>(std::min<uint64_t>(left, zeros.size()));
        patches.push_back({at, std::span<const uint8_t>(zeros).first(n)});
        at += n;
        left -= n;
    }
    return patches;
}

// The new bytes are written from the tag itself, which outlives the layout, rather than copied.
void AddToLayout(platform::FileLayout& layout, const id3v2::RenderedTag& tag) {
    ForEachPiece(
        tag,
        [&](std::span<const uint8_t> bytes) {
            if (!bytes.empty()) layout.generate([bytes](platform::ByteSink& out, ByteSource&) { out.write(bytes); });
        },
        [&](const id3v2::Frame::Deferred& data) { layout.copy(data.offset, data.size); });
    layout.fill(tag.padding);
}

uint64_t PatchedBytes(std::span<const platform::Patch> patches) {
    uint64_t total = 0;
    for (const auto& p : patches) total += p.size();
    return total;
}

}  // namespace

Id3v2Placement PlaceId3v2Tags(ByteSource& file) {
    // Where the tags end is all a placement needs of a picture.
    id3v2::ReadOptions read;
    read.deferPicturesFrom = id3v2::kDeferPicturesFrom;
    const id3v2::FileTags tags = id3v2::ReadFileTags(file, read);
    Id3v2Placement p;
    p.fileSize = file.size();
    p.prependedSize = tags.prependedSize;
    p.zeroFrom = p.prependedSize;
    if (!tags.prepended.empty()) {
        const id3v2::Tag& last = tags.prepended.back();
        // Unsynchronisation and a footer put other bytes among or after the zeros.
        const bool plain = !(last.flags & 0x80) && !last.footer && !last.paddingDirty;
        if (plain && last.offset + last.totalSize == p.prependedSize) p.zeroFrom -= last.paddingSize;
    }
    if (tags.appended) {
        p.appendedOffset = tags.appended->offset;
        p.appendedSize = tags.appended->totalSize;
    }
    p.hasId3v1 = tags.id3v1.has_value();
    if (tags.lyrics3) {
        p.lyrics3Size = tags.lyrics3->size;
        p.lyrics3Offset = p.fileSize - (p.hasId3v1 ? kId3v1Bytes : 0) - p.lyrics3Size;
    }
    ListLost("", tags.skipped, p.unreadable);
    for (const auto& tag : tags.prepended) ListLost("ID3v2 tag at " + std::to_string(tag.offset) + ": ", tag.skipped, p.unreadable);
    if (tags.appended) ListLost("ID3v2 tag at the end: ", tags.appended->skipped, p.unreadable);
    ListLost("", id3v2::NormalizeToV23(tags).dropped, p.unreadable);
    return p;
}

Id3v2WriteOutcome WriteId3v2Tag(const std::string& path, id3v2::RenderedTag tag, const Id3v2WriteOptions& options) {
    platform::FileWriteLock lock(path);
    return WriteId3v2Tag(lock, std::move(tag), options);
}

Id3v2WriteOutcome WriteId3v2Tag(platform::FileWriteLock& lock, id3v2::RenderedTag tag,
                                const Id3v2WriteOptions& options) {
    // Opened for writing first: the tags are placed as they are in the file the patch goes into.
    std::optional<platform::InPlaceEdit> edit(std::in_place, lock);
    Id3v2Placement place;
    {
        HeadTailSource probes(edit->file());
        place = PlaceId3v2Tags(probes);
    }
    Id3v2WriteOutcome out;
    out.lost = place.unreadable;
    const uint64_t oldSpace = place.prependedSize;
    if (tag.empty() && oldSpace == 0 && place.appendedSize == 0) return out;
    // Checked on the tags as they are now, under the lock: they may differ from those planned on.
    if (options.keepEverything && !out.lost.empty()) {
        out.refused = true;
        return out;
    }

    // No frames left: the old space keeps a tag of padding only, which every reader skips.
    if (tag.empty()) tag.bytes = id3v2::RenderV23Tag({}, 0);
    // The data left in the file is copied from where the tags were read; it must still be there.
    for (const auto& k : tag.kept) id3v2::CheckDeferredFrame(k.sourceId, k.data, edit->file());
    // A tag beyond what its header can say fails here, before anything is written, with the reason.
    id3v2::SetTagPadding(tag, 0);
    const padding::Plan plan = padding::PlanPadding(tag.size(), oldSpace);
    const auto& record = options.id3v1Record;
    // Over the old record, or appended.
    const uint64_t recordOffset = place.hasId3v1 ? place.fileSize - kId3v1Bytes : place.fileSize;
    // A tag at the end holds frames that are now in ours; keeping it would bring deleted ones back.
    // Old space that several tags took may be more than one tag's header can say.
    const bool fits = plan.inPlace && plan.padding <= id3v2::kHeaderSize + id3v2::kMaxTagBody - tag.size();
    if (fits && place.appendedSize == 0) {
        id3v2::SetTagPadding(tag, plan.padding);
        std::vector<uint8_t> zeros;
        std::vector<platform::Patch> patches = InPlacePatches(tag, place.zeroFrom, zeros);
        if (record) patches.push_back({recordOffset, *record});
        edit->apply(patches, options.deferSync ? platform::Durability::Deferred : platform::Durability::Synced);
        out.written = true;
        out.inPlace = true;
        out.padding = plan.padding;
        out.bytesWritten = PatchedBytes(patches) - (record ? kId3v1Bytes : 0);
        out.id3v1Written = record.has_value();
        return out;
    }
    if (options.inPlaceOnly)
        throw Error(TV_E_FAIL, "the new tag does not fit the space of the old one, and the file may not be rewritten");

    // The rewrite replaces the file: no handle of ours stays open on it (Windows would refuse).
    edit.reset();
    const uint64_t wanted = options.growPadding ? (plan.inPlace ? plan.padding : padding::GrowPadding(tag.size())) : 0;
    // Slack is a convenience: near the size limit the tag gets what still fits.
    const uint64_t padding = std::min(wanted, id3v2::kHeaderSize + id3v2::kMaxTagBody - tag.size());
    id3v2::SetTagPadding(tag, padding);
    platform::FileLayout layout;
    AddToLayout(layout, tag);
    CopyAllBut(layout, oldSpace, record ? recordOffset : place.fileSize, {{place.appendedOffset, place.appendedSize}});
    if (record) layout.bytes(*record);
    platform::RewriteFile(lock, layout, platform::HardLinks::KeepInPlace,
                          options.deferSync ? platform::Durability::Deferred : platform::Durability::Synced);
    out.written = true;
    out.padding = padding;
    out.bytesWritten = layout.knownSize() + tag.bytes.size();
    out.id3v1Written = record.has_value();
    return out;
}

Id3v2WriteOutcome StripId3v2Tags(const std::string& path, std::optional<std::array<uint8_t, 128>> id3v1Record) {
    platform::FileWriteLock lock(path);
    const Id3v2Placement place = PlaceId3v2Tags(lock.file());
    const uint64_t recordOffset = place.fileSize - kId3v1Bytes;
    // Only an existing record is replaced, and only when it changes.
    if (id3v1Record && place.hasId3v1) {
        std::array<uint8_t, kId3v1Bytes> old{};
        if (lock.file().readAt(recordOffset, old) != old.size() || old == *id3v1Record) id3v1Record.reset();
    } else {
        id3v1Record.reset();
    }
    Id3v2WriteOutcome out;
    const bool strip = place.prependedSize != 0 || place.appendedSize != 0 || place.lyrics3Size != 0;
    if (!strip && !id3v1Record) return out;
    out.written = true;
    out.id3v1Written = id3v1Record.has_value();
    if (!strip) {
        const platform::Patch patch{recordOffset, *id3v1Record};
        platform::InPlaceEdit(lock).apply(std::span(&patch, 1));
        out.inPlace = true;
        out.bytesWritten = kId3v1Bytes;
        return out;
    }
    // Both changes in one new file: it replaces the old one whole, or not at all.
    platform::FileLayout layout;
    CopyAllBut(layout, place.prependedSize, id3v1Record ? recordOffset : place.fileSize,
               {{place.appendedOffset, place.appendedSize}, {place.lyrics3Offset, place.lyrics3Size}});
    if (id3v1Record) layout.bytes(*id3v1Record);
    platform::RewriteFile(lock, layout);
    out.stripped = true;
    out.bytesWritten = layout.knownSize();
    out.lost = place.unreadable;
    return out;
}

}  // namespace tagvera::id3v2
