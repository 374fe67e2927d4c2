// Reads the tags of a file and checks their structure before anything else sees them: every
// size is checked against the bytes that remain, counts and inflated sizes are capped.
#ifndef TAGVERA_TAGS_ID3V2_TAG_READER_H
#define TAGVERA_TAGS_ID3V2_TAG_READER_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "base/byte_source.h"
#include "tags/id3v2/tag.h"

namespace tagvera::id3v2 {

inline constexpr size_t kHeaderSize = 10;

struct ReadLimits {
    size_t maxFrames = 4096;                     // per tag
    size_t maxTagsInRow = 8;                     // tags directly following each other
    size_t maxInflatedFrame = 64u << 20;         // one compressed frame, inflated
    size_t maxInflatedTag = 128u << 20;          // all compressed frames of a tag, inflated
};

// Pictures from this size on may stay in the file until their data is asked for (ReadOptions):
// a cover is most of a tag, and neither reading a library's tags nor placing a new tag needs it.
inline constexpr uint32_t kDeferPicturesFrom = 16 * 1024;

struct ReadOptions {
    bool prepended = true;  // ID3v2 tags at the start
    bool appended = true;   // an ID3v2 tag with footer, Lyrics3 and ID3v1 at the end
    // Pictures (APIC) of at least this many bytes in a plain tag at the start leave their data in
    // the file (Frame::deferred) and are not read; 0 reads everything.
    uint32_t deferPicturesFrom = 0;
    ReadLimits limits;
};

// A picture frame of a tag whose data was not read: where its header starts in the tag's bytes,
// and how many bytes of its payload (the fields before the data) were.
struct PictureCut {
    size_t frameStart = 0;
    size_t kept = 0;
};

struct TagHeader {
    uint8_t major = 0, revision = 0, flags = 0;
    uint32_t bodySize = 0;  // bytes after the header, footer excluded
    uint64_t totalSize() const { return kHeaderSize + bodySize + ((major == 4 && (flags & 0x10)) ? kHeaderSize : 0); }
};

// The header at the start of bytes (at least 10 of them), or nothing when they are not one:
// "ID3", a version byte other than 0xFF and a synchsafe size.
std::optional<TagHeader> ParseTagHeader(std::span<const uint8_t> bytes);

// One whole tag, header first. Throws Error for a tag that cannot be read at all (unknown
// major version, a broken extended header); bad frames are skipped and listed in Tag::skipped.
// cuts name the pictures whose data tagBytes does not hold (what a tag read with
// deferPicturesFrom left out); their frames get Frame::deferred.
Tag ParseTag(std::span<const uint8_t> tagBytes, uint64_t offset = 0, const ReadLimits& limits = {},
             std::span<const PictureCut> cuts = {});

// Every tag of a file. Throws Error when the first tag claims more bytes than the file has.
FileTags ReadFileTags(ByteSource& source, const ReadOptions& options = {});

// Reads the data a deferred frame left in the file onto the end of its payload, after checking
// that the frame's header there is still the one read. Throws Error when the file has changed.
void LoadDeferredData(Frame& frame, ByteSource& source);
// The check alone, for a writer that copies the data from the file: throws Error when the header
// at d.frameOffset is no longer the one read.
void CheckDeferredFrame(const std::string& sourceId, const Frame::Deferred& d, ByteSource& source);

// Undoes unsynchronisation (FF 00 -> FF).
std::vector<uint8_t> RemoveUnsync(std::span<const uint8_t> bytes);
uint32_t SynchsafeToInt(const uint8_t* p);

}  // namespace tagvera::id3v2

#endif
