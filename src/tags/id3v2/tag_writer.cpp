#include "tags/id3v2/tag_writer.h"

#include <string>

#include "base/error.h"
#include "tags/id3v2/frame_ids.h"
#include "tags/id3v2/tag_reader.h"

namespace tagvera::id3v2 {

namespace {
constexpr uint32_t kMaxSynchsafe = (1u << 28) - 1;
}

void PutSynchsafe(uint8_t* p, uint32_t v) {
    p[0] = static_cast<uint8_t>((v >> 21) & 0x7F);
    p[1] = static_cast<uint8_t>((v >> 14) & 0x7F);
    p[2] = static_cast<uint8_t>((v >> 7) & 0x7F);
    p[3] = static_cast<uint8_t>(v & 0x7F);
}

void AppendV23Frame(std::vector<uint8_t>& out, const Frame& f) {
    if (f.id.size() != 4 || !IsValidFrameId(f.id)) throw Error(TV_E_FAIL, "frame id '" + f.id + "' cannot be written");
    if (f.deferred) throw Error(TV_E_FAIL, f.id + ": its data is still in the file and cannot be written");
    uint16_t flags = f.statusFlags & 0xE000;
    size_t extra = 0;
    if (f.encrypted) flags |= 0x0040, ++extra;
    if (f.group) flags |= 0x0020, ++extra;
    const uint64_t size = f.payload.size() + extra;
    if (size > kMaxSynchsafe) throw Error(TV_E_FAIL, f.id + " frame too large for a tag");
    out.insert(out.end(), f.id.begin(), f.id.end());
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<uint8_t>(size >> shift));
    out.push_back(static_cast<uint8_t>(flags >> 8));
    out.push_back(static_cast<uint8_t>(flags));
    if (f.encrypted) out.push_back(f.encryptionMethod);
    if (f.group) out.push_back(*f.group);
    out.insert(out.end(), f.payload.begin(), f.payload.end());
}

std::vector<uint8_t> RenderV23Tag(const std::vector<Frame>& frames, size_t padding) {
    std::vector<uint8_t> out(kHeaderSize, 0);
    for (const auto& f : frames) AppendV23Frame(out, f);
    const uint64_t body = out.size() - kHeaderSize + uint64_t(padding);
    if (body > kMaxSynchsafe) throw Error(TV_E_FAIL, "tag larger than an ID3v2 size can say");
    out.resize(out.size() + padding, 0);
    out[0] = 'I', out[1] = 'D', out[2] = '3', out[3] = 3, out[4] = 0, out[5] = 0;
    PutSynchsafe(out.data() + 6, static_cast<uint32_t>(body));
    return out;
}

}  // namespace tagvera::id3v2
