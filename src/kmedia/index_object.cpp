#include "kmedia/index_object.h"

namespace tagvera::kmedia {

IndexObject IndexObject::Read(std::span<const uint8_t> object) {
    ByteReader in(object);
    IndexObject x;
    x.header = ObjectHeader::Read(in);
    if (!x.header.KnownVersion()) return x;
    const uint32_t count = in.u32be();
    x.streamNumber = in.u16be();
    x.nextIndexHeader = in.u32be();
    if (count > in.remaining() / IndexRecord::kSize) throw Error(in.failCode(), "INDX claims more records than it holds");
    x.records.reserve(count);
    for (uint32_t i = 0; i < count; ++i) {
        ByteReader rec = in.sub(IndexRecord::kSize);
        IndexRecord r;
        r.version = rec.u16be();
        if (r.version == 0) {
            r.timestampMs = rec.u32be();
            r.offset = rec.u32be();
            r.packetCount = rec.u32be();
        }
        x.records.push_back(r);
    }
    return x;
}

uint32_t IndexObject::Size() const {
    if (!header.KnownVersion()) return ObjectHeader::kSize;
    return static_cast<uint32_t>(kHeaderSize + IndexRecord::kSize * records.size());
}

void IndexObject::Write(BeWriter& out) const {
    ObjectHeader{header.id, Size(), header.version}.Write(out);
    if (!header.KnownVersion()) return;
    out.u32(static_cast<uint32_t>(records.size()));
    out.u16(streamNumber);
    out.u32(nextIndexHeader);
    for (const auto& r : records) {
        out.u16(r.version);
        out.u32(r.timestampMs);
        out.u32(r.offset);
        out.u32(r.packetCount);
    }
}

void IndexBuilder::AddPacket(uint16_t stream, uint32_t timestampMs, bool keyframe, uint32_t offset, bool force) {
    const bool first = packetsSeen_ == 0;
    if (first) index_.streamNumber = stream;
    const bool wanted = first || keyframe || force;
    const bool later = index_.records.empty() || timestampMs > index_.records.back().timestampMs;
    if (wanted && later) index_.records.push_back({0, timestampMs, offset, packetsSeen_});
    ++packetsSeen_;
}

}  // namespace tagvera::kmedia
