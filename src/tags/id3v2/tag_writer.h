// Renders frames as a plain ID3v2.3 tag: no unsynchronisation, no compression, no extended header.
#ifndef TAGVERA_TAGS_ID3V2_TAG_WRITER_H
#define TAGVERA_TAGS_ID3V2_TAG_WRITER_H

#include <cstdint>
#include <vector>

#include "tags/id3v2/tag.h"

namespace tagvera::id3v2 {

// Header, frames in order, then padding zero bytes. Throws Error when a frame id is not four
// valid characters or the tag would pass the 256 MB a synchsafe size can say.
std::vector<uint8_t> RenderV23Tag(const std::vector<Frame>& frames, size_t padding);
// One frame: v2.3 header (status, encryption and group flags as the frame has them) and payload.
void AppendV23Frame(std::vector<uint8_t>& out, const Frame& frame);
void PutSynchsafe(uint8_t* p, uint32_t value);

}  // namespace tagvera::id3v2

#endif
