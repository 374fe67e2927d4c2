// Writing a KorvaMedia file's metadata without re-laying it: the trailer and ID3v1 tag after the
// media replaced by new ones, and the file-info copy of the block refreshed where the new block
// fits it. All of it is one in-place edit through the safe-write helper: a failure or a kill at
// any moment leaves the old file or the new one, and the packets never move.
#ifndef TAGVERA_KMEDIA_METADATA_WRITE_H
#define TAGVERA_KMEDIA_METADATA_WRITE_H

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "platform/file_lock.h"
#include "tags/id3v1/id3v1_tag.h"

namespace tagvera::kmedia {

struct KmMetadataWritten {
    uint64_t trailerBytes = 0;  // "KMMD" to the end of the file
    bool copyRefreshed = false;
};

// Replaces the metadata area of the locked file with the block and an ID3v1 tag: the file's own
// tag, or a blank one, as updateTag leaves it. Throws Error (E_FAIL, FileError) with the file
// untouched: a file that is not KorvaMedia, read-only, or whose write fails.
KmMetadataWritten WriteKmMetadata(platform::FileWriteLock& lock, std::span<const uint8_t> block,
                                  const std::function<void(Id3v1Tag&)>& updateTag);

}  // namespace tagvera::kmedia

#endif
