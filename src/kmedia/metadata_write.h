// Writing a KorvaMedia file's metadata without re-laying it: the trailer and ID3v1 tag after the
// media replaced by new ones, and the file-info copy of the block refreshed where the new block
// fits it. All of it is one in-place edit through the safe-write helper: a failure or a kill at
// any moment leaves the old file or the new one, and the packets never move.
#ifndef TAGVERA_KMEDIA_METADATA_WRITE_H
#define TAGVERA_KMEDIA_METADATA_WRITE_H

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "base/byte_source.h"
#include "platform/file_lock.h"
#include "platform/safe_write.h"
#include "tags/id3v1/id3v1_tag.h"

namespace tagvera::kmedia {

// The edit, worked out from the file as it is: new bytes at offsets, then the file's new length.
struct KmMetadataEdit {
    struct Piece {
        uint64_t offset = 0;
        std::vector<uint8_t> bytes;
    };
    std::vector<Piece> pieces;  // the file-info copy (when refreshed), then the trailer and tag
    uint64_t length = 0;
    uint64_t mediaEnd = 0;      // where the last object ends; the trailer starts here or later
    uint64_t trailerBytes = 0;  // "KMMD" to the end of the file
    uint64_t replacedBytes = 0; // what followed the media before: the old trailer and tag
    bool copyRefreshed = false;
    bool id3v1Created = false;  // the file had no ID3v1 tag; the trailer's layout ends in one
};

// The block and an ID3v1 tag (the file's own, or a blank one, as updateTag leaves it) in place of
// the file's metadata area. Throws Error for a file that is not KorvaMedia or does not read, has
// no data object, or is shorter than its objects.
KmMetadataEdit PlanKmMetadataWrite(ByteSource& file, std::span<const uint8_t> block,
                                   const std::function<void(Id3v1Tag&)>& updateTag);

// Plans and applies the edit on the locked file, synced before it returns unless durability
// defers that. Throws Error (E_FAIL, FileError) with the file untouched: a file that is not
// KorvaMedia, read-only, or whose write fails.
KmMetadataEdit WriteKmMetadata(platform::FileWriteLock& lock, std::span<const uint8_t> block,
                               const std::function<void(Id3v1Tag&)>& updateTag,
                               platform::Durability durability = platform::Durability::Synced);

}  // namespace tagvera::kmedia

#endif
