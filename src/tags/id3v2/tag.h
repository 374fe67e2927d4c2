// What a checked ID3v2 tag holds once its structure is undone: frames with plain payloads
// (unsynchronisation, compression, data-length indicators and group bytes removed), ids in
// the v2.3/v2.4 spelling whatever version the file used.
#ifndef TAGVERA_TAGS_ID3V2_TAG_H
#define TAGVERA_TAGS_ID3V2_TAG_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tags/id3v1/id3v1_tag.h"
#include "tags/id3v1/lyrics3.h"

namespace tagvera::id3v2 {

// Where a frame came from: an ID3v2 tag, or fields of the tags at the end of the file.
enum class FrameOrigin : uint8_t { Id3v2, Id3v1, Lyrics3 };

struct Frame {
    std::string id;        // four characters ("TIT2"), v2.2 ids already mapped
    std::string sourceId;  // the id as the file spelled it ("TT2" in a v2.2 tag)
    uint8_t version = 3;   // major version of the tag it came from (2, 3, 4); field layout follows it
    // Status flags in v2.3 form (0x8000 tag-alter, 0x4000 file-alter, 0x2000 read-only).
    uint16_t statusFlags = 0;
    bool encrypted = false;  // payload still encrypted (method byte kept in encryptionMethod)
    uint8_t encryptionMethod = 0;
    std::optional<uint8_t> group;  // grouping identity, when the frame had one
    FrameOrigin origin = FrameOrigin::Id3v2;
    std::vector<uint8_t> payload;  // the frame's fields, ready to decode

    // The data of a large picture can stay in the file until somebody asks for it (reading a
    // library's tags never needs the covers): payload then ends where the data begins.
    struct Deferred {
        uint64_t frameOffset = 0;  // the frame's header in the file, checked again before loading
        uint32_t frameSize = 0;    // the size its header states
        bool synchsafeSize = false;  // in v2.4 form
        uint64_t offset = 0;       // the data left out of payload
        uint32_t size = 0;
    };
    std::optional<Deferred> deferred;
    uint64_t deferredBytes() const { return deferred ? deferred->size : 0; }
};

struct Tag {
    uint8_t major = 0;     // 2, 3 or 4
    uint8_t revision = 0;
    uint8_t flags = 0;     // header flags as found
    uint64_t offset = 0;   // where the tag starts in the file
    uint64_t totalSize = 0;  // header + body + footer
    uint32_t paddingSize = 0;
    bool paddingDirty = false;  // the padding is not all zero bytes
    bool extendedHeader = false;
    bool crcPresent = false;
    bool footer = false;
    // v2.4 frame sizes were written as plain 32-bit numbers (a common writer bug), and accepted.
    bool plainFrameSizes = false;
    std::vector<Frame> frames;
    // Frames that could not be kept, with the reason ("TXXX: size beyond tag"); reading goes on.
    std::vector<std::string> skipped;

    std::string versionText() const { return "2." + std::to_string(major); }
};

// Every tag of a file: ID3v2 tags at the start (one, or several in a row), an appended ID3v2
// tag with a footer, Lyrics3 and ID3v1 at the end.
struct FileTags {
    std::vector<Tag> prepended;
    std::optional<Tag> appended;
    std::optional<Lyrics3Tag> lyrics3;
    std::optional<Id3v1Tag> id3v1;  // with its padding kept (Id3v1Padding::Keep)
    uint64_t prependedSize = 0;  // bytes before the audio: every prepended tag with its padding
    std::vector<std::string> skipped;  // whole tags that could not be read, with the reason

    const Tag* first() const { return !prepended.empty() ? &prepended.front() : appended ? &*appended : nullptr; }
};

}  // namespace tagvera::id3v2

#endif
