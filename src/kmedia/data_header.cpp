#include "kmedia/data_header.h"

namespace tagvera::kmedia {

DataHeaderObject DataHeaderObject::Read(std::span<const uint8_t> bytes, uint64_t bytesAvailable) {
    ByteReader in(bytes);
    DataHeaderObject d;
    d.header.id = in.u32be();
    d.header.size = in.u32be();
    d.header.version = in.u16be();
    if (d.header.size < ObjectHeader::kSize) throw Error(in.failCode(), "DATA size below its 10-byte header");
    if (d.header.size > bytesAvailable) throw Error(in.failCode(), "DATA runs past the end of the file");
    if (!d.header.KnownVersion()) return d;
    if (d.header.size < kHeaderSize) throw Error(in.failCode(), "DATA size below its 18-byte header");
    d.numPackets = in.u32be();
    d.nextDataHeader = in.u32be();
    return d;
}

void DataHeaderObject::Write(BeWriter& out) const {
    header.Write(out);
    out.u32(numPackets);
    out.u32(nextDataHeader);
}

PacketHeader PacketHeader::Read(ByteReader& in) {
    PacketHeader p;
    p.version = in.u16be();
    if (p.version != 0) return p;
    p.length = in.u16be();
    if (p.length < kSize) throw Error(in.failCode(), "packet shorter than its 12-byte header");
    p.streamNumber = in.u16be();
    p.timestampMs = in.u32be();
    p.groupAndFlags = in.u16be();
    return p;
}

void PacketHeader::Write(BeWriter& out) const {
    out.u16(version);
    out.u16(length);
    out.u16(streamNumber);
    out.u32(timestampMs);
    out.u16(groupAndFlags);
}

}  // namespace tagvera::kmedia
