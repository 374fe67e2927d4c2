#include "kmedia/metadata_write.h"

#include "base/error.h"
#include "kmedia/file_info_copy.h"
#include "kmedia/header_walk.h"
#include "kmedia/trailer.h"

namespace tagvera::kmedia {

KmMetadataEdit PlanKmMetadataWrite(ByteSource& file, std::span<const uint8_t> block,
                                   const std::function<void(Id3v1Tag&)>& updateTag) {
    // With the index objects, which the media's end takes in: a chain that does not read leaves
    // the file's end in doubt, and the write is refused like one of a damaged file.
    const KmHeaders headers = ReadKmHeaders(file, {.readIndexes = true});
    KmMetadataEdit edit;
    edit.mediaEnd = headers.End();
    // Without its data object, or with objects that claim more than the file holds, what follows
    // the media cannot be told apart from it: the next reader would walk into a trailer added
    // there, and the next write would stack a second one.
    if (!headers.data) throw Error(TV_E_FAIL, "the file has no data object to write the tags after");
    // Objects that overlap (a data object found where the properties say, inside another) mean a
    // walk that ran to the end of the file: it would run on into the trailer.
    uint64_t end = 0;
    for (const auto& place : headers.places) {
        if (place.offset < end) throw Error(TV_E_FAIL, "the file's objects overlap");
        end = place.offset + place.header.size;
    }
    if (edit.mediaEnd > file.size()) throw Error(TV_E_FAIL, "the file is shorter than its objects say");
    const uint64_t cut = MetadataAreaStart(file, edit.mediaEnd);
    edit.replacedBytes = file.size() - cut;
    const std::optional<Id3v1Tag> old = MetadataAreaId3v1(file, edit.mediaEnd);
    edit.id3v1Created = !old;
    Id3v1Tag tag = old.value_or(BlankId3v1Tag());
    updateTag(tag);
    if (const auto copy = FindFileInfoCopy(file, headers, block.size())) {
        edit.pieces.push_back({copy->valueOffset, FileInfoCopyBytes(block, *copy)});
        edit.copyRefreshed = true;
    }
    edit.pieces.push_back({cut, RenderTrailer(block, tag)});
    edit.trailerBytes = edit.pieces.back().bytes.size();
    edit.length = cut + edit.trailerBytes;
    return edit;
}

KmMetadataEdit WriteKmMetadata(platform::FileWriteLock& lock, std::span<const uint8_t> block,
                               const std::function<void(Id3v1Tag&)>& updateTag, platform::Durability durability) {
    const KmMetadataEdit edit = PlanKmMetadataWrite(lock.file(), block, updateTag);
    std::vector<platform::Patch> patches;
    for (const auto& piece : edit.pieces) patches.push_back({piece.offset, piece.bytes});
    platform::InPlaceEdit(lock).apply(patches, durability, {edit.length});
    return edit;
}

}  // namespace tagvera::kmedia
