// Renders frames as a plain ID3v2.3 tag: no unsynchronisation, no compression, no extended header.
#ifndef TAGVERA_TAGS_ID3V2_TAG_WRITER_H
#define TAGVERA_TAGS_ID3V2_TAG_WRITER_H

#include <cstdint>
#include <string>
#include <vector>

#include "base/byte_source.h"
#include "base/error.h"
#include "tags/id3v2/tag.h"

namespace tagvera::id3v2 {

// The largest ID3v2 tag body (everything after the 10-byte header).
inline constexpr uint64_t kMaxTagBody = (uint64_t(1) << 28) - 1;

// A tag rendered with the data of deferred pictures still in the file the frames were read from:
// a cover of hundreds of megabytes is copied from there when the tag is written, never held.
struct RenderedTag {
    struct Kept {
        size_t at = 0;         // where in bytes the data goes
        std::string sourceId;  // the frame's id in the file, checked again before the copy
        Frame::Deferred data;
    };
    std::vector<uint8_t> bytes;  // the tag without the kept data
    std::vector<Kept> kept;      // in the order of `at`
    uint64_t padding = 0;        // zero bytes after the frames, counted in the header's size

    uint64_t size() const;  // the whole tag, padding included
    bool empty() const { return bytes.empty(); }
};

// A tag larger than an ID3v2 header can say: a write failure the user can act on (by writing
// less), so it has its own type, for the write report to say so.
class TagTooLarge : public Error {
public:
    using Error::Error;
};

// Header, frames in order, then padding zero bytes. Throws Error when a frame id is not four
// valid characters, TagTooLarge when the tag would pass kMaxTagBody.
std::vector<uint8_t> RenderV23Tag(const std::vector<Frame>& frames, size_t padding);
// The same without padding, and with deferred frames' data left where it is. The size limit is
// checked when the padding is known (SetTagPadding).
RenderedTag RenderV23Kept(const std::vector<const Frame*>& frames);
// Sets the tag's padding and the size in its header. Throws TagTooLarge when the tag would pass
// kMaxTagBody.
void SetTagPadding(RenderedTag& tag, uint64_t padding);
// The whole tag in memory, its kept data read from source (the file the frames were read from).
// Throws Error when the file has changed there.
std::vector<uint8_t> LoadRenderedTag(const RenderedTag& tag, ByteSource& source);

// One frame: v2.3 header (status, encryption and group flags as the frame has them) and payload.
void AppendV23Frame(std::vector<uint8_t>& out, const Frame& frame);
void PutSynchsafe(uint8_t* p, uint32_t value);

}  // namespace tagvera::id3v2

#endif
