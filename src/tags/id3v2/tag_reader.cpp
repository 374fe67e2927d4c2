#include "tags/id3v2/tag_reader.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "base/byte_reader.h"
#include "base/read_buffer.h"
#include "tags/id3v2/fields.h"
#include "tags/id3v2/frame_ids.h"
#include "tags/id3v2/inflate.h"
#include "tags/id3v2/trailing_tags.h"

namespace tagvera::id3v2 {

uint32_t SynchsafeToInt(const uint8_t* p) {
    return (uint32_t(p[0] & 0x7F) << 21) | (uint32_t(p[1] & 0x7F) << 14) | (uint32_t(p[2] & 0x7F) << 7) | (p[3] & 0x7F);
}

std::vector<uint8_t> RemoveUnsync(std::span<const uint8_t> bytes) {
    std::vector<uint8_t> out;
    out.reserve(bytes.size());
    for (size_t i = 0; i < bytes.size(); ++i) {
        out.push_back(bytes[i]);
        if (bytes[i] == 0xFF && i + 1 < bytes.size() && bytes[i + 1] == 0x00) ++i;
    }
    return out;
}

std::optional<TagHeader> ParseTagHeader(std::span<const uint8_t> b) {
    if (b.size() < kHeaderSize || b[0] != 'I' || b[1] != 'D' || b[2] != '3') return std::nullopt;
    if (b[3] == 0xFF || b[4] == 0xFF) return std::nullopt;
    if ((b[6] | b[7] | b[8] | b[9]) & 0x80) return std::nullopt;
    TagHeader h;
    h.major = b[3];
    h.revision = b[4];
    h.flags = b[5];
    h.bodySize = SynchsafeToInt(b.data() + 6);
    return h;
}

namespace {

constexpr uint8_t kTagUnsync = 0x80;
constexpr uint8_t kTagExtended = 0x40;
constexpr uint8_t kTagFooter = 0x10;

// Padding runs to kilobytes in most tags: eight bytes at a time.
bool IsAllZero(std::span<const uint8_t> b) {
    size_t i = 0;
    for (; i + 8 <= b.size(); i += 8) {
        uint64_t word;
        std::memcpy(&word, b.data() + i, 8);
        if (word != 0) return false;
    }
    for (; i < b.size(); ++i)
        if (b[i] != 0) return false;
    return true;
}

std::span<const uint8_t> Rest(const ByteReader& r) { return {r.current(), r.remaining()}; }

// How a tag spells its frame sizes: v2.2 in three bytes, v2.3 (and some v2.4 writers) as plain
// 32-bit numbers, v2.4 synchsafe.
enum class FrameSizes : uint8_t { V22, Plain, Synchsafe };

FrameSizes FrameSizesOf(uint8_t major, bool plainV24Sizes) {
    if (major == 2) return FrameSizes::V22;
    return major == 4 && !plainV24Sizes ? FrameSizes::Synchsafe : FrameSizes::Plain;
}

size_t FrameHeaderSize(FrameSizes sizes) { return sizes == FrameSizes::V22 ? 6 : kHeaderSize; }

struct FrameHeader {
    std::string_view id;  // into the reader's bytes
    uint32_t size = 0;
    uint16_t flags = 0;  // none in v2.2
    // False when a synchsafe size has a high bit set; size then holds the low seven bits of each byte.
    bool synchsafe = true;
};

// The one decoding of a frame header; the reader must hold FrameHeaderSize(sizes) bytes.
FrameHeader ReadFrameHeader(ByteReader& r, FrameSizes sizes) {
    FrameHeader h;
    if (sizes == FrameSizes::V22) {
        h.id = r.chars(3);
        h.size = r.u24be();
        return h;
    }
    h.id = r.chars(4);
    const auto size = r.bytes(4);
    if (sizes == FrameSizes::Synchsafe) {
        h.synchsafe = ((size[0] | size[1] | size[2] | size[3]) & 0x80) == 0;
        h.size = SynchsafeToInt(size.data());
    } else {
        h.size = ByteReader(size).u32be();
    }
    h.flags = r.u16be();
    return h;
}

// Walks v2.4 frame headers with one reading of the sizes; true when every header is a frame id
// and the walk ends at the end of the data or at zero padding.
bool WalkV24(std::span<const uint8_t> body, FrameSizes sizes, size_t& frames) {
    ByteReader r(body);
    frames = 0;
    while (r.remaining() >= kHeaderSize) {
        if (*r.current() == 0) break;
        const FrameHeader h = ReadFrameHeader(r, sizes);
        if (!IsValidFrameId(h.id) || !h.synchsafe || h.size > r.remaining()) return false;
        r.skip(h.size);
        ++frames;
    }
    return IsAllZero(Rest(r));
}

// Most v2.4 writers use synchsafe frame sizes; some write plain ones. Choose the reading under
// which the frames line up.
bool DetectPlainV24Sizes(std::span<const uint8_t> body) {
    size_t synchFrames = 0, plainFrames = 0;
    if (WalkV24(body, FrameSizes::Synchsafe, synchFrames)) return false;
    if (WalkV24(body, FrameSizes::Plain, plainFrames)) return true;
    return plainFrames > synchFrames;
}

// v2.2 PIC gives a three-letter image format where APIC has a MIME type.
std::vector<uint8_t> PicToApic(const std::vector<uint8_t>& pic) {
    if (pic.size() < 5) return pic;
    std::string format(reinterpret_cast<const char*>(pic.data() + 1), 3);
    std::string upper = format;
    for (char& c : upper) c = static_cast<char>((c >= 'a' && c <= 'z') ? c - 32 : c);
    std::string mime;
    if (upper == "JPG") mime = "image/jpeg";
    else if (upper == "-->") mime = "-->";
    else {
        mime = "image/";
        for (char c : format) mime += static_cast<char>((c >= 'A' && c <= 'Z') ? c + 32 : c);
        while (!mime.empty() && (mime.back() == ' ' || mime.back() == 0)) mime.pop_back();
    }
    std::vector<uint8_t> out;
    out.reserve(pic.size() + mime.size());
    out.push_back(pic[0]);
    out.insert(out.end(), mime.begin(), mime.end());
    out.push_back(0);
    out.insert(out.end(), pic.begin() + 4, pic.end());
    return out;
}

// A picture whose payload is its fields and data as they stand: no compression, encryption,
// grouping, unsynchronisation or data length in front (v2.3 and v2.4 spell these differently).
bool PlainPictureFlags(uint8_t major, uint16_t flags) {
    return major == 3 ? (flags & 0x00E0) == 0 : (flags & 0x004F) == 0;
}

class FrameWalker {
public:
    FrameWalker(Tag& tag, const ReadLimits& limits, std::span<const PictureCut> cuts)
        : tag_(tag), limits_(limits), cuts_(cuts) {}

    void walk(std::span<const uint8_t> body) {
        const FrameSizes sizes = FrameSizesOf(tag_.major, tag_.plainFrameSizes);
        ByteReader r(body);
        while (r.remaining() >= FrameHeaderSize(sizes)) {
            const size_t at = r.offset();
            if (*r.current() == 0) {
                tag_.paddingSize = static_cast<uint32_t>(r.remaining());
                if (!IsAllZero(Rest(r))) tag_.skipped.push_back("non-zero bytes in the padding");
                return;
            }
            const FrameHeader h = ReadFrameHeader(r, sizes);
            const std::string id(h.id);
            if (!IsValidFrameId(id)) {
                tag_.skipped.push_back("bytes that are not a frame at offset " + std::to_string(at) + "; rest of tag ignored");
                return;
            }
            if (tag_.frames.size() >= limits_.maxFrames) {
                tag_.skipped.push_back("more than " + std::to_string(limits_.maxFrames) + " frames; rest ignored");
                return;
            }
            if (h.size > r.remaining()) {
                tag_.skipped.push_back(id + ": frame of " + std::to_string(h.size) + " bytes is larger than the " +
                                       std::to_string(r.remaining()) + " bytes left in the tag");
                return;
            }
            const auto data = r.bytes(h.size);
            if (h.size == 0) {
                tag_.skipped.push_back(id + ": empty frame");
                continue;
            }
            try {
                addFrame(id, h.flags, data, CutAt(at));
            } catch (const Error& e) {
                tag_.skipped.push_back(id + ": " + e.what());
            }
        }
        if (!r.empty() && !IsAllZero(Rest(r))) {
            tag_.skipped.push_back("trailing bytes after the last frame");
            tag_.paddingDirty = true;
        }
        tag_.paddingSize = static_cast<uint32_t>(r.remaining());
    }

private:
    // The cut of the frame whose header is at pos in the body (which starts right after the tag
    // header: a tag with cuts has no extended header and no unsynchronisation).
    const PictureCut* CutAt(size_t pos) {
        while (nextCut_ < cuts_.size() && cuts_[nextCut_].frameStart < kHeaderSize + pos) ++nextCut_;
        return nextCut_ < cuts_.size() && cuts_[nextCut_].frameStart == kHeaderSize + pos ? &cuts_[nextCut_] : nullptr;
    }

    void addFrame(const std::string& id, uint16_t flags, std::span<const uint8_t> data, const PictureCut* cut) {
        if (cut) {
            // Only the fields before the data were read; the data stays in the file.
            if (id != "APIC" || !PlainPictureFlags(tag_.major, flags) || cut->kept > data.size())
                throw Error(TV_E_FAIL, "picture left in the file does not match its frame");
            Frame f;
            f.sourceId = f.id = id;
            f.version = tag_.major;
            f.statusFlags = static_cast<uint16_t>(tag_.major == 3 ? flags & 0xE000 : (flags & 0x7000) << 1);
            f.payload.assign(data.begin(), data.begin() + static_cast<ptrdiff_t>(cut->kept));
            // Where the tag says it starts in the file is the caller's, the rest is the tag's.
            const char* beyond = "picture beyond the end of a file";
            const uint64_t frameOffset = CheckedSum(tag_.offset, cut->frameStart, TV_E_FAIL, beyond);
            f.deferred = Frame::Deferred{frameOffset, static_cast<uint32_t>(data.size()), tag_.major == 4,
                                         CheckedSum(frameOffset, kHeaderSize + cut->kept, TV_E_FAIL, beyond),
                                         static_cast<uint32_t>(data.size() - cut->kept)};
            tag_.frames.push_back(std::move(f));
            return;
        }
        Frame f;
        f.sourceId = id;
        f.version = tag_.major;
        if (tag_.major == 2) {
            f.id = UpgradeV22Id(id);
            // Without a later spelling (or encrypted v2.2 meta frames) there is nothing to map it to.
            if (f.id.empty()) throw Error(TV_E_FAIL, "v2.2 frame without a v2.3 equivalent");
            f.payload.assign(data.begin(), data.end());
            if (f.id == "APIC") f.payload = PicToApic(f.payload);
        } else if (tag_.major == 3) {
            f.id = id;
            readV3Flags(f, flags, data);
        } else {
            f.id = id;
            readV4Flags(f, flags, data);
        }
        tag_.frames.push_back(std::move(f));
    }

    void readV3Flags(Frame& f, uint16_t flags, std::span<const uint8_t> data) {
        f.statusFlags = flags & 0xE000;
        ByteReader r(data, TV_E_FAIL);
        uint32_t inflatedSize = 0;
        const bool compressed = flags & 0x0080;
        if (compressed) inflatedSize = r.u32be();
        if (flags & 0x0040) {
            f.encrypted = true;
            f.encryptionMethod = r.u8();
        }
        if (flags & 0x0020) f.group = r.u8();
        const auto rest = r.bytes(r.remaining());
        if (f.encrypted) {
            f.payload.assign(rest.begin(), rest.end());
            return;
        }
        if (compressed) {
            f.payload = inflate(rest, inflatedSize);
            if (f.payload.size() != inflatedSize) throw Error(TV_E_FAIL, "inflated size differs from the frame's claim");
        } else {
            f.payload.assign(rest.begin(), rest.end());
        }
    }

    void readV4Flags(Frame& f, uint16_t flags, std::span<const uint8_t> data) {
        // v2.4 status bits sit one place lower than v2.3's.
        f.statusFlags = static_cast<uint16_t>((flags & 0x7000) << 1);
        ByteReader r(data, TV_E_FAIL);
        if (flags & 0x0040) f.group = r.u8();
        if (flags & 0x0004) {
            f.encrypted = true;
            f.encryptionMethod = r.u8();
        }
        std::optional<uint32_t> dataLength;
        if (flags & 0x0001) {
            const auto dli = r.bytes(4);
            dataLength = SynchsafeToInt(dli.data());
        }
        auto rest = r.bytes(r.remaining());
        std::vector<uint8_t> plain;
        // The tag-wide flag is set by writers that unsynchronise every frame without saying so per frame.
        if ((flags & 0x0002) || (tag_.flags & kTagUnsync)) {
            plain = RemoveUnsync(rest);
        } else {
            plain.assign(rest.begin(), rest.end());
        }
        if (f.encrypted) {
            f.payload = std::move(plain);
            return;
        }
        if (flags & 0x0008) {
            f.payload = inflate(plain, dataLength.value_or(0));
            if (dataLength && f.payload.size() != *dataLength) throw Error(TV_E_FAIL, "inflated size differs from the data length indicator");
        } else {
            f.payload = std::move(plain);
        }
    }

    std::vector<uint8_t> inflate(std::span<const uint8_t> data, uint32_t claimed) {
        size_t bound = limits_.maxInflatedFrame;
        if (claimed != 0) {
            if (claimed > bound) throw Error(TV_E_FAIL, "compressed frame claims " + std::to_string(claimed) + " bytes, above the limit");
            bound = claimed;
        }
        bound = std::min(bound, limits_.maxInflatedTag - inflatedSoFar_);
        auto out = InflateBounded(data, bound);
        inflatedSoFar_ += out.size();
        return out;
    }

    Tag& tag_;
    const ReadLimits& limits_;
    std::span<const PictureCut> cuts_;
    size_t nextCut_ = 0;
    size_t inflatedSoFar_ = 0;
};

// v2.3: size (not counting itself: 6 or 10), flags, padding size, CRC when flagged.
size_t SkipV3ExtendedHeader(Tag& tag, std::span<const uint8_t> body) {
    ByteReader r(body, TV_E_FAIL);
    const uint32_t size = r.u32be();
    if (size != 6 && size != 10) throw Error(TV_E_FAIL, "extended header of unknown size " + std::to_string(size));
    r.require(size, "extended header beyond the tag");
    const uint16_t flags = r.u16be();
    tag.crcPresent = (flags & 0x8000) != 0;
    if (tag.crcPresent && size != 10) throw Error(TV_E_FAIL, "extended header flags a CRC it has no room for");
    return 4 + size;
}

// v2.4: synchsafe size counting itself, flag bytes, and per flag its data with a length byte.
size_t SkipV4ExtendedHeader(Tag& tag, std::span<const uint8_t> body) {
    ByteReader r(body, TV_E_FAIL);
    const auto sizeBytes = r.bytes(4);
    if ((sizeBytes[0] | sizeBytes[1] | sizeBytes[2] | sizeBytes[3]) & 0x80)
        throw Error(TV_E_FAIL, "extended header size is not synchsafe");
    const uint32_t size = SynchsafeToInt(sizeBytes.data());
    if (size < 6) throw Error(TV_E_FAIL, "extended header too small");
    if (size > body.size()) throw Error(TV_E_FAIL, "extended header beyond the tag");
    const uint8_t flagBytes = r.u8();
    if (flagBytes != 1) throw Error(TV_E_FAIL, "extended header with unknown flag bytes");
    const uint8_t flags = r.u8();
    tag.crcPresent = (flags & 0x20) != 0;
    return size;
}

// The bytes of one tag; with pictures left out, their data is never read (nor its memory touched).
ReadBuffer WholeTag(ByteSource& source, uint64_t offset, size_t total) {
    ReadBuffer bytes(total);
    if (total > 0 && source.readAt(offset, bytes) != total) throw Error(TV_E_FAIL, "short read");
    return bytes;
}

// How many payload bytes come before a picture's data, when its first bytes hold all its fields.
std::optional<size_t> PictureFieldsLength(std::span<const uint8_t> head) {
    Frame probe;
    probe.id = "APIC";
    probe.payload.assign(head.begin(), head.end());
    const auto f = TryDecodeFields(probe);
    if (!f || f->data.empty()) return std::nullopt;  // the fields may run on past what was read
    return head.size() - f->data.size();
}

// Reads a tag, leaving out the data of large plain pictures (cuts says which). It walks the frame
// headers as the parser will, so that every header the parser meets has been read; a tag whose
// walk is not plain (v2.2, unsynchronised, an extended header, a v2.4 tag whose frame sizes do
// not read as synchsafe) is read whole.
ReadBuffer ReadTagBytes(ByteSource& source, uint64_t offset, const TagHeader& header, uint32_t deferFrom,
                        std::vector<PictureCut>& cuts) {
    constexpr size_t kChunk = 16 * 1024;
    constexpr size_t kPictureHead = 4096;  // MIME type and description fit; else the picture is read
    const size_t total = static_cast<size_t>(header.totalSize());
    const bool plain = (header.major == 3 || header.major == 4) && (header.flags & (kTagUnsync | kTagExtended)) == 0;
    // A tag no larger than the smallest picture left out has none.
    if (deferFrom == 0 || !plain || total <= deferFrom) return WholeTag(source, offset, total);

    ReadBuffer bytes(total);
    size_t loaded = 0;
    auto ensure = [&](size_t end) {
        end = std::min(end, total);
        if (end <= loaded) return;
        const size_t readEnd = std::min(total, std::max(end, loaded + kChunk));
        if (source.readAt(offset + loaded, {bytes.data() + loaded, readEnd - loaded}) != readEnd - loaded)
            throw Error(TV_E_FAIL, "short read");
        loaded = readEnd;
    };
    const size_t bodyEnd = kHeaderSize + header.bodySize;
    size_t pos = kHeaderSize;
    bool walkedToPadding = true;
    const FrameSizes sizes = FrameSizesOf(header.major, false);
    while (bodyEnd - pos >= kHeaderSize) {
        ensure(pos + kHeaderSize);
        if (bytes[pos] == 0) break;
        ByteReader headerBytes(bytes.data() + pos, kHeaderSize);
        const FrameHeader h = ReadFrameHeader(headerBytes, sizes);
        if (!IsValidFrameId(h.id) || !h.synchsafe || h.size > bodyEnd - pos - kHeaderSize) {
            walkedToPadding = false;
            break;
        }
        const size_t size = h.size;
        const size_t dataStart = pos + kHeaderSize;
        if (size >= deferFrom && h.id == "APIC" && PlainPictureFlags(header.major, h.flags)) {
            const size_t head = std::min<size_t>(kPictureHead, size);
            ensure(dataStart + head);
            if (const auto kept = PictureFieldsLength({bytes.data() + dataStart, head})) {
                cuts.push_back({pos, *kept});
                pos = dataStart + size;
                loaded = std::max(loaded, pos);
                continue;
            }
        }
        ensure(dataStart + size);
        pos = dataStart + size;
    }
    ensure(total);
    // v2.4 sizes are read as synchsafe only when that reading walks the whole tag (else the
    // parser tries them as plain numbers, and would walk through what was not read).
    if (header.major == 4 && !cuts.empty() &&
        (!walkedToPadding || !IsAllZero(std::span<const uint8_t>(bytes.data() + pos, bodyEnd - pos)))) {
        cuts.clear();
        return WholeTag(source, offset, total);
    }
    return bytes;
}

}  // namespace

void CheckDeferredFrame(const std::string& sourceId, const Frame::Deferred& d, ByteSource& source) {
    uint8_t head[kHeaderSize];
    bool unchanged = source.readAt(d.frameOffset, head) == kHeaderSize;
    if (unchanged) {
        ByteReader r(head, kHeaderSize);
        const FrameHeader h = ReadFrameHeader(r, d.synchsafeSize ? FrameSizes::Synchsafe : FrameSizes::Plain);
        unchanged = h.id == sourceId && h.size == d.frameSize;
    }
    if (!unchanged) throw Error(TV_E_FAIL, sourceId + ": the file has changed since its tag was read");
}

void LoadDeferredData(Frame& frame, ByteSource& source) {
    if (!frame.deferred) return;
    const Frame::Deferred& d = *frame.deferred;
    CheckDeferredFrame(frame.sourceId, d, source);
    const size_t kept = frame.payload.size();
    frame.payload.resize(kept + d.size);
    if (source.readAt(d.offset, {frame.payload.data() + kept, d.size}) != d.size) {
        frame.payload.resize(kept);
        throw Error(TV_E_FAIL, frame.id + ": the file has changed since its tag was read");
    }
    frame.deferred.reset();
}

Tag ParseTag(std::span<const uint8_t> tagBytes, uint64_t offset, const ReadLimits& limits,
             std::span<const PictureCut> cuts) {
    const auto header = ParseTagHeader(tagBytes);
    if (!header) throw Error(TV_E_FAIL, "not an ID3v2 tag header");
    if (header->major < 2 || header->major > 4)
        throw Error(TV_E_FAIL, "ID3v2." + std::to_string(header->major) + " tags are not defined");
    if (tagBytes.size() < kHeaderSize + header->bodySize) throw Error(TV_E_FAIL, "ID3v2 tag truncated");

    Tag tag;
    tag.major = header->major;
    tag.revision = header->revision;
    tag.flags = header->flags;
    tag.offset = offset;
    tag.totalSize = std::min<uint64_t>(header->totalSize(), tagBytes.size());
    tag.footer = header->major == 4 && (header->flags & kTagFooter);

    std::span<const uint8_t> body = tagBytes.subspan(kHeaderSize, header->bodySize);
    std::vector<uint8_t> unsynced;
    if (tag.major == 2 && (tag.flags & 0x40)) throw Error(TV_E_FAIL, "ID3v2.2 compression is not defined");
    // Before v2.4 unsynchronisation covers the whole tag body, extended header included.
    if (tag.major < 4 && (tag.flags & kTagUnsync)) {
        unsynced = RemoveUnsync(body);
        body = unsynced;
    }
    if (tag.major >= 3 && (tag.flags & kTagExtended)) {
        tag.extendedHeader = true;
        const size_t skip = tag.major == 3 ? SkipV3ExtendedHeader(tag, body) : SkipV4ExtendedHeader(tag, body);
        body = body.subspan(skip);
    }
    if (!cuts.empty() && ((tag.flags & kTagUnsync) || tag.extendedHeader || tag.major < 3))
        throw Error(TV_E_FAIL, "pictures left out of a tag that is not plain");
    if (tag.major == 4) tag.plainFrameSizes = DetectPlainV24Sizes(body);
    FrameWalker(tag, limits, cuts).walk(body);
    return tag;
}

FileTags ReadFileTags(ByteSource& source, const ReadOptions& options) {
    FileTags tags;
    const uint64_t fileSize = source.size();
    if (options.prepended) {
        uint64_t offset = 0;
        while (tags.prepended.size() < options.limits.maxTagsInRow && fileSize - offset >= kHeaderSize) {
            uint8_t head[kHeaderSize];
            if (source.readAt(offset, head) != kHeaderSize) throw Error(TV_E_FAIL, "short read");
            const auto header = ParseTagHeader(head);
            if (!header) break;
            const uint64_t total = header->totalSize();
            if (total > fileSize - offset) {
                const std::string what = "ID3v2 tag at " + std::to_string(offset) + " claims " + std::to_string(total) +
                                         " bytes, the file has " + std::to_string(fileSize - offset);
                if (tags.prepended.empty()) throw Error(TV_E_FAIL, what);
                tags.skipped.push_back(what);
                break;
            }
            // A read that fails is the file's failure, not a damaged tag: it fails the whole read.
            std::vector<PictureCut> cuts;
            const ReadBuffer bytes = ReadTagBytes(source, offset, *header, options.deferPicturesFrom, cuts);
            try {
                tags.prepended.push_back(ParseTag(bytes, offset, options.limits, cuts));
            } catch (const Error& e) {
                // An unreadable tag still has a known size: the audio starts after it.
                tags.skipped.push_back(std::string("ID3v2 tag at ") + std::to_string(offset) + ": " + e.what());
            }
            offset += total;
        }
        tags.prependedSize = offset;
    }
    if (options.appended) ReadTrailingTags(source, tags, options.limits);
    return tags;
}

}  // namespace tagvera::id3v2
