// The jukebox block's copy in the file-info stream (the "KJMDTag" name/value record), which a
// metadata write refreshes in place when the new block fits the old value: the file and every
// object keep their sizes, so no packet or index offset moves.
#ifndef TAGVERA_KMEDIA_FILE_INFO_COPY_H
#define TAGVERA_KMEDIA_FILE_INFO_COPY_H

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/byte_source.h"
#include "kmedia/header_walk.h"

namespace tagvera::kmedia {

struct FileInfoCopy {
    uint64_t valueOffset = 0;  // in the file
    uint32_t valueSize = 0;
};

// The copy's value, when it can take a block of blockSize bytes: one section ("KJMDSections"
// absent or below 2) and a buffer at least that long. It is found by the text "KJMDTag", read in
// 2,048-byte pieces through the file-info object, taking the first occurrence whose record says
// it is that buffer (name length 7, buffer type, the value's length), so a stray "KJMDTag" in
// another value is never written over.
std::optional<FileInfoCopy> FindFileInfoCopy(ByteSource& file, const KmHeaders& headers, size_t blockSize);

// What goes over the old value: the block, then zeros to the old value's length (the record's
// length fields stay as they were).
std::vector<uint8_t> FileInfoCopyBytes(std::span<const uint8_t> block, const FileInfoCopy& copy);

}  // namespace tagvera::kmedia

#endif
