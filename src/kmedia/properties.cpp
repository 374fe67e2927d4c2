#include "kmedia/properties.h"

namespace tagvera::kmedia {

PropertiesObject PropertiesObject::Read(std::span<const uint8_t> object) {
    ByteReader in(object);
    PropertiesObject p;
    p.header = ObjectHeader::Read(in);
    if (!p.header.KnownVersion()) return p;
    p.maxBitRate = in.u32be();
    p.avgBitRate = in.u32be();
    p.maxPacketSize = in.u32be();
    p.avgPacketSize = in.u32be();
    p.numPackets = in.u32be();
    p.durationMs = in.u32be();
    p.prerollMs = in.u32be();
    p.indexOffset = in.u32be();
    p.dataOffset = in.u32be();
    p.numStreams = in.u16be();
    p.flags = in.u16be();
    return p;
}

void PropertiesObject::Write(BeWriter& out) const {
    ObjectHeader{header.id, Size(), header.version}.Write(out);
    if (!header.KnownVersion()) return;
    for (uint32_t v : {maxBitRate, avgBitRate, maxPacketSize, avgPacketSize, numPackets, durationMs, prerollMs,
                       indexOffset, dataOffset})
        out.u32(v);
    out.u16(numStreams);
    out.u16(flags);
}

}  // namespace tagvera::kmedia
