#include "kmedia/media_properties.h"

#include <algorithm>

#include "kmedia/logical_stream.h"
#include "kmedia/mime_types.h"

namespace tagvera::kmedia {
namespace {

std::string_view Cut(const std::string& s) { return std::string_view(s).substr(0, 255); }

}  // namespace

MediaPropertiesObject MediaPropertiesObject::Read(std::span<const uint8_t> object) {
    ByteReader in(object);
    MediaPropertiesObject m;
    m.header = ObjectHeader::Read(in);
    if (!m.header.KnownVersion()) return m;
    m.streamNumber = in.u16be();
    m.maxBitRate = in.u32be();
    m.avgBitRate = in.u32be();
    m.maxPacketSize = in.u32be();
    m.avgPacketSize = in.u32be();
    m.startTimeMs = in.u32be();
    m.prerollMs = in.u32be();
    m.durationMs = in.u32be();
    m.streamName = std::string(in.chars(in.u8()));
    m.mimeType = std::string(in.chars(in.u8()));
    const uint32_t n = in.u32be();
    in.require(n, "MDPR type-specific data runs past the object");
    const auto bytes = in.bytes(n);
    m.typeSpecific.assign(bytes.begin(), bytes.end());
    return m;
}

uint32_t MediaPropertiesObject::Size() const {
    if (!header.KnownVersion()) return ObjectHeader::kSize;
    return static_cast<uint32_t>(46 + Cut(streamName).size() + Cut(mimeType).size() + typeSpecific.size());
}

void MediaPropertiesObject::Write(BeWriter& out) const {
    ObjectHeader{header.id, Size(), header.version}.Write(out);
    if (!header.KnownVersion()) return;
    out.u16(streamNumber);
    for (uint32_t v : {maxBitRate, avgBitRate, maxPacketSize, avgPacketSize, startTimeMs, prerollMs, durationMs})
        out.u32(v);
    for (const std::string* s : {&streamName, &mimeType}) {
        out.u8(static_cast<uint8_t>(Cut(*s).size()));
        out.chars(Cut(*s));
    }
    out.u32(static_cast<uint32_t>(typeSpecific.size()));
    out.bytes(typeSpecific);
}

std::string MediaPropertiesObject::Describe() const {
    std::string out = "Object ID:\tKM_MEDIA_PROPERTIES_OBJECT (MDPR)\n";
    const auto line = [&](const char* label, uint64_t value) { out += label + std::to_string(value) + "\n"; };
    line("Object version: ", header.version);
    line("Object size: ", Size());
    line("Stream number: ", streamNumber);
    line("Maximum bit rate: ", maxBitRate);
    line("Average bit rate: ", avgBitRate);
    line("Maximum packet size: ", maxPacketSize);
    line("Average packet size: ", avgPacketSize);
    line("Start time: ", startTimeMs);
    line("Preroll: ", prerollMs);
    line("Duration: ", durationMs);
    out += "Stream name: " + streamName + "\n";
    out += "MIME type: " + mimeType + "\n";
    line("Type specific data size: ", typeSpecific.size());
    if (!IsLogical()) return out;
    try {
        const LogicalStreamRecord r = LogicalStreamRecord::Read(typeSpecific);
        out += "Logical Stream Data\n";
        line("Object size: ", r.Size());
        line("Object version: ", r.version);
        line("Physical stream count: ", r.physicalStreams.size());
        out += "Physical stream numbers and offsets:\n";
        for (size_t i = 0; i < r.physicalStreams.size(); ++i)
            out += "Stream number " + std::to_string(r.physicalStreams[i]) + " starting at " +
                   std::to_string(r.dataOffsets[i]) + "\n";
    } catch (const Error&) {
        out += "Logical Stream Data unreadable\n";
    }
    return out;
}

bool MediaPropertiesObject::IsLogical() const { return StartsWithNoCase(mimeType, "logical-"); }
bool MediaPropertiesObject::IsFileInfo() const { return EqualsNoCase(mimeType, kFileInfoMimeType); }

}  // namespace tagvera::kmedia
