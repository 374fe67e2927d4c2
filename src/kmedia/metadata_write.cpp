#include "kmedia/metadata_write.h"

#include <vector>

#include "base/error.h"
#include "kmedia/file_info_copy.h"
#include "kmedia/header_walk.h"
#include "kmedia/trailer.h"
#include "platform/safe_write.h"

namespace tagvera::kmedia {
namespace {

// With the index objects where they read, so that the media's end takes them in; an index chain
// that does not read leaves the objects before it to say where the media ends.
KmHeaders ReadForWrite(ByteSource& file) {
    try {
        return ReadKmHeaders(file, {.readIndexes = true});
    } catch (const Error& e) {
        if (e.code() != TV_E_FAIL) throw;
    }
    return ReadKmHeaders(file);
}

}  // namespace

KmMetadataWritten WriteKmMetadata(platform::FileWriteLock& lock, std::span<const uint8_t> block,
                                  const std::function<void(Id3v1Tag&)>& updateTag) {
    platform::File& file = lock.file();
    const KmHeaders headers = ReadForWrite(file);
    const uint64_t mediaEnd = headers.End();
    const uint64_t cut = MetadataAreaStart(file, mediaEnd);
    Id3v1Tag tag = MetadataAreaId3v1(file, mediaEnd).value_or(BlankId3v1Tag());
    updateTag(tag);
    const std::vector<uint8_t> tail = RenderTrailer(block, tag);

    std::vector<platform::Patch> patches;
    std::vector<uint8_t> copyBytes;
    const auto copy = FindFileInfoCopy(file, headers, block.size());
    if (copy) {
        copyBytes = FileInfoCopyBytes(block, *copy);
        patches.push_back({copy->valueOffset, copyBytes});
    }
    patches.push_back({cut, tail});
    platform::InPlaceEdit(lock).apply(patches, platform::Durability::Synced, {cut + tail.size()});
    return {tail.size(), copy.has_value()};
}

}  // namespace tagvera::kmedia
