#include "kmedia/logical_stream.h"

namespace tagvera::kmedia {

LogicalStreamRecord LogicalStreamRecord::Read(std::span<const uint8_t> data) {
    ByteReader in(data);
    LogicalStreamRecord r;
    const uint32_t size = in.u32be();
    if (size < 6 || size > data.size()) throw Error(in.failCode(), "logical stream record size does not fit");
    ByteReader rec(data.first(size));
    rec.skip(4);
    r.version = rec.u16be();
    if (r.version != 0) return r;
    const uint16_t streams = rec.u16be();
    // Counts are checked against the bytes that hold them before anything is allocated.
    rec.require(size_t(streams) * 6, "physical stream list runs past the record");
    for (uint16_t i = 0; i < streams; ++i) r.physicalStreams.push_back(rec.u16be());
    for (uint16_t i = 0; i < streams; ++i) r.dataOffsets.push_back(rec.u32be());
    const uint16_t rules = rec.u16be();
    rec.require(size_t(rules) * 2, "rule map runs past the record");
    for (uint16_t i = 0; i < rules; ++i) r.ruleToStream.push_back(rec.u16be());
    const uint16_t props = rec.u16be();
    rec.require(size_t(props) * 6, "property list runs past the record");
    for (uint16_t i = 0; i < props; ++i) r.properties.push_back(NameValueProperty::Read(rec));
    return r;
}

uint32_t LogicalStreamRecord::Size() const {
    if (version != 0) return 6;
    uint64_t n = 2 * (6 + 3 * physicalStreams.size() + ruleToStream.size());
    for (const auto& p : properties) n += p.Size();
    return static_cast<uint32_t>(n);
}

void LogicalStreamRecord::Write(BeWriter& out) const {
    out.u32(Size());
    out.u16(version);
    if (version != 0) return;
    out.u16(static_cast<uint16_t>(physicalStreams.size()));
    for (uint16_t s : physicalStreams) out.u16(s);
    for (size_t i = 0; i < physicalStreams.size(); ++i) out.u32(i < dataOffsets.size() ? dataOffsets[i] : 0);
    out.u16(static_cast<uint16_t>(ruleToStream.size()));
    for (uint16_t s : ruleToStream) out.u16(s);
    out.u16(static_cast<uint16_t>(properties.size()));
    for (const auto& p : properties) p.Write(out);
}

const NameValueProperty* LogicalStreamRecord::Find(std::string_view name) const {
    for (const auto& p : properties)
        if (p.version == 0 && p.name == name) return &p;
    return nullptr;
}

}  // namespace tagvera::kmedia
