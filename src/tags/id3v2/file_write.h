// Putting a rendered ID3v2 tag into an MP3 file, and taking the tags out, through the platform's
// safe-write helper only. The ID3 tag library renders; it never writes a file itself, because its
// own update renames a half-written copy over the original when a write fails.
//
// A tag that fits the space of the tags it replaces (their padding included) is written over
// them in place and the rest of the file is not touched; a large picture whose data stays where
// it was is not written at all. A tag that does not fit makes a new file beside the original (new
// tag, padding for the next edit, the audio copied byte for byte) that is renamed over it. Either
// way a failure leaves the old file as it was, and the data of pictures left in the file by the
// reader is copied from the file in bounded chunks, never held whole.
#ifndef TAGVERA_TAGS_ID3V2_FILE_WRITE_H
#define TAGVERA_TAGS_ID3V2_FILE_WRITE_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/byte_source.h"
#include "platform/file_lock.h"
#include "tags/id3v2/tag_writer.h"

namespace tagvera::id3v2 {

// Where a file's ID3v2 tags are, read again just before writing so that the plan matches the
// file as it is now, not as it was when the tag was linked.
struct Id3v2Placement {
    uint64_t fileSize = 0;
    // Bytes of the ID3v2 tags at the start, padding included; the audio begins here.
    uint64_t prependedSize = 0;
    // Where the zero bytes that end that space begin (the last tag's padding), for a write in
    // place not to write them again; prependedSize when that is not known.
    uint64_t zeroFrom = 0;
    // An ID3v2 tag found by its footer at the end (offset and size; size 0 when there is none).
    uint64_t appendedOffset = 0;
    uint64_t appendedSize = 0;
    // A Lyrics3 block before the ID3v1 record (offset and size; size 0 when there is none).
    uint64_t lyrics3Offset = 0;
    uint64_t lyrics3Size = 0;
    bool hasId3v1 = false;
    // What reading the old tags could not keep ("ID3v2 tag at 0: ...", "XYZ1: empty frame"):
    // a write replaces those tags, so these are lost with it.
    std::vector<std::string> unreadable;
};

// Throws Error when the tags cannot be placed (a first tag that claims more than the file has).
Id3v2Placement PlaceId3v2Tags(ByteSource& file);

struct Id3v2WriteOutcome {
    bool written = false;    // false: nothing to do (no tag before and none now), or refused
    bool refused = false;    // keepEverything, and the file held what the write would lose
    bool stripped = false;   // the tags were removed
    bool inPlace = false;    // over the old tag's space; false: the file was rewritten
    uint64_t bytesWritten = 0;  // in place: the tag's bytes that changed; a rewrite: the whole file
    uint64_t padding = 0;       // zero bytes left after the frames
    std::vector<std::string> lost;  // Id3v2Placement::unreadable of the file written (or not, refused)
    bool id3v1Written = false;  // the ID3v1 record asked for went into the same write
};

struct Id3v2WriteOptions {
    // Leave room after a tag that had to grow (so that the next edit is in place).
    bool growPadding = true;
    // Refuse (Error, nothing written) when the tag does not fit the old space.
    bool inPlaceOnly = false;
    // The write is not synced before returning; the caller syncs later (kMp3WriteDeferSync). A
    // rewrite is, where the file system's rename alone would not keep old-or-new (safe_write.h).
    bool deferSync = false;
    // Write nothing (refused) when the file's tags hold what this write would lose.
    bool keepEverything = false;
    // An ID3v1 record to put into the same write as the tag (one set of patches with one sync, or
    // inside the rewritten copy), over the old record or appended. It goes only with a tag: when
    // there is nothing to write (no tag before and none now) the caller writes it alone.
    std::optional<std::array<uint8_t, 128>> id3v1Record;
};

// Replaces the file's ID3v2 tags (every tag at the start and one with a footer at the end) by tag,
// a tag with no padding as RenderV23Kept makes it from frames read from this file, or by nothing
// when tag is empty (the old space, if any, then holds a tag of padding only, so that nothing
// else has to move). Throws Error (a platform FileError for OS failures) with the file unchanged;
// its message says why (a tag larger than an ID3v2 tag can be, a picture no longer in the file).
// Under the file's write lock, taken here or held by the caller from before it read the tags.
Id3v2WriteOutcome WriteId3v2Tag(const std::string& path, RenderedTag tag, const Id3v2WriteOptions& options = {});
Id3v2WriteOutcome WriteId3v2Tag(platform::FileWriteLock& lock, RenderedTag tag, const Id3v2WriteOptions& options = {});

// Removes every ID3v2 tag and a Lyrics3 block, and puts id3v1Record over the file's ID3v1 record
// when it has one that differs (otherwise the record stays), all in one write under the file's
// write lock. Nothing is written (and the outcome says so) when there is nothing to change.
// Throws Error with the file unchanged.
Id3v2WriteOutcome StripId3v2Tags(const std::string& path,
                                 std::optional<std::array<uint8_t, 128>> id3v1Record = std::nullopt);

}  // namespace tagvera::id3v2

#endif
