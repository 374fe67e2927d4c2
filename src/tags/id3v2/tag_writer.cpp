#include "tags/id3v2/tag_writer.h"

#include <string>

#include "base/error.h"
#include "tags/id3v2/frame_ids.h"
#include "tags/id3v2/tag_reader.h"

namespace tagvera::id3v2 {

namespace {

constexpr uint32_t kMaxSynchsafe = (1u << 28) - 1;
constexpr size_t kPaddingRoom = 64 * 1024;

// The frame's header and the fields held in memory; a deferred frame's size counts its data too.
void AppendHeadAndPayload(std::vector<uint8_t>& out, const Frame& f) {
    if (f.id.size() != 4 || !IsValidFrameId(f.id)) throw Error(TV_E_FAIL, "frame id '" + f.id + "' cannot be written");
    uint16_t flags = f.statusFlags & 0xE000;
    size_t extra = 0;
    if (f.encrypted) flags |= 0x0040, ++extra;
    if (f.group) flags |= 0x0020, ++extra;
    const uint64_t size = f.payload.size() + extra + f.deferredBytes();
    if (size > kMaxSynchsafe) throw Error(TV_E_FAIL, f.id + " frame too large for a tag");
    out.insert(out.end(), f.id.begin(), f.id.end());
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<uint8_t>(size >> shift));
    out.push_back(static_cast<uint8_t>(flags >> 8));
    out.push_back(static_cast<uint8_t>(flags));
    if (f.encrypted) out.push_back(f.encryptionMethod);
    if (f.group) out.push_back(*f.group);
    out.insert(out.end(), f.payload.begin(), f.payload.end());
}

void PutHeader(std::vector<uint8_t>& out, uint64_t body) {
    if (body > kMaxTagBody)
        throw TagTooLarge(TV_E_FAIL, "the tag would take " + std::to_string(kHeaderSize + body) +
                                         " bytes, more than the " + std::to_string(kHeaderSize + kMaxTagBody) +
                                         " an ID3v2 tag can hold");
    out[0] = 'I', out[1] = 'D', out[2] = '3', out[3] = 3, out[4] = 0, out[5] = 0;
    PutSynchsafe(out.data() + 6, static_cast<uint32_t>(body));
}

}  // namespace

void PutSynchsafe(uint8_t* p, uint32_t v) {
    p[0] = static_cast<uint8_t>((v >> 21) & 0x7F);
    p[1] = static_cast<uint8_t>((v >> 14) & 0x7F);
    p[2] = static_cast<uint8_t>((v >> 7) & 0x7F);
    p[3] = static_cast<uint8_t>(v & 0x7F);
}

void AppendV23Frame(std::vector<uint8_t>& out, const Frame& f) {
    if (f.deferred) throw Error(TV_E_FAIL, f.id + ": its data is still in the file and cannot be written");
    AppendHeadAndPayload(out, f);
}

std::vector<uint8_t> RenderV23Tag(const std::vector<Frame>& frames, size_t padding) {
    std::vector<uint8_t> out(kHeaderSize, 0);
    for (const auto& f : frames) AppendV23Frame(out, f);
    const uint64_t body = out.size() - kHeaderSize + uint64_t(padding);
    PutHeader(out, body);
    out.resize(out.size() + padding, 0);
    return out;
}

uint64_t RenderedTag::size() const {
    uint64_t total = bytes.size() + padding;
    for (const Kept& k : kept) total += k.data.size;
    return total;
}

RenderedTag RenderV23Kept(const std::vector<const Frame*>& frames) {
    RenderedTag tag;
    if (frames.empty()) return tag;
    // Room for the padding a write in place usually adds, so that it does not move the bytes;
    // memory reserved and not written costs nothing.
    uint64_t room = kHeaderSize + kPaddingRoom;
    for (const Frame* f : frames) room += kHeaderSize + 2 + f->payload.size();
    tag.bytes.reserve(static_cast<size_t>(room));
    tag.bytes.assign(kHeaderSize, 0);
    for (const Frame* f : frames) {
        AppendHeadAndPayload(tag.bytes, *f);
        if (f->deferred) tag.kept.push_back({tag.bytes.size(), f->sourceId, *f->deferred});
    }
    // The limit is checked with the padding; here the header only has to say something sound.
    const uint64_t body = tag.size() - kHeaderSize;
    if (body <= kMaxTagBody) PutHeader(tag.bytes, body);
    return tag;
}

void SetTagPadding(RenderedTag& tag, uint64_t padding) {
    if (tag.bytes.size() < kHeaderSize) throw Error(TV_E_FAIL, "no tag to pad");
    tag.padding = 0;
    PutHeader(tag.bytes, tag.size() - kHeaderSize + padding);
    tag.padding = padding;
}

std::vector<uint8_t> LoadRenderedTag(const RenderedTag& tag, ByteSource& source) {
    std::vector<uint8_t> out;
    out.reserve(static_cast<size_t>(tag.size()));
    size_t from = 0;
    for (const auto& k : tag.kept) {
        CheckDeferredFrame(k.sourceId, k.data, source);
        out.insert(out.end(), tag.bytes.begin() + static_cast<ptrdiff_t>(from), tag.bytes.begin() + static_cast<ptrdiff_t>(k.at));
        const size_t at = out.size();
        out.resize(at + k.data.size);
        if (source.readAt(k.data.offset, {out.data() + at, k.data.size}) != k.data.size)
            throw Error(TV_E_FAIL, k.sourceId + ": the file has changed since its tag was read");
        from = k.at;
    }
    out.insert(out.end(), tag.bytes.begin() + static_cast<ptrdiff_t>(from), tag.bytes.end());
    out.resize(out.size() + static_cast<size_t>(tag.padding), 0);
    return out;
}

}  // namespace tagvera::id3v2
