#include "kmedia/convert/stream_converter.h"

#include <map>
#include <memory>

#include "kmedia/convert/packet_scan.h"

namespace tagvera::kmedia {
namespace {

struct PacketPlan {
    uint32_t kept = 0;
    uint64_t keptBytes = 0;
    std::map<uint16_t, IndexBuilder> indexes;  // by stream, records at output offsets
};

bool InRange(const ConvertPlan& plan, uint32_t t) {
    return t >= plan.startMs && (plan.endMs == 0 || t <= plan.endMs);
}

std::vector<MediaPropertiesObject> OutputStreams(const KmHeaders& headers, const ConvertPlan& plan) {
    std::vector<MediaPropertiesObject> out;
    bool fileInfoDone = false;
    for (const auto& s : headers.streams) {
        // An object of a version this system does not know cannot be written back as it was read.
        if (!s.header.KnownVersion()) continue;
        MediaPropertiesObject copy = s;
        if (s.IsFileInfo() && plan.fileInfo) {
            LogicalStreamRecord record = LogicalStreamRecord::Read(s.typeSpecific);
            record.properties = *plan.fileInfo;
            copy.typeSpecific.clear();
            BeWriter w(copy.typeSpecific);
            record.Write(w);
            fileInfoDone = true;
        }
        out.push_back(std::move(copy));
    }
    if (plan.fileInfo && !fileInfoDone && !plan.fileInfo->empty()) {
        MediaPropertiesObject info;
        info.mimeType = kFileInfoMimeType;
        LogicalStreamRecord record;
        record.properties = *plan.fileInfo;
        BeWriter w(info.typeSpecific);
        record.Write(w);
        out.push_back(std::move(info));
    }
    return out;
}

}  // namespace

platform::FileLayout ConvertLayout(ByteSource& input, const KmHeaders& headers, const ConvertPlan& plan) {
    if (!headers.data || !headers.data->header.KnownVersion()) throw Error(TV_E_FAIL, "no readable DATA object");
    const std::vector<MediaPropertiesObject> streams = OutputStreams(headers, plan);

    FileHeaderObject fh;
    fh.header.id = headers.fileHeader.header.id;
    fh.fileVersion = plan.fileVersion.value_or(headers.fileHeader.fileVersion);
    // Every object before DATA, and DATA itself, lies within the reader's walk.
    fh.numHeaders = static_cast<uint32_t>(2 + 2 + streams.size() + 1);
    PropertiesObject prop = headers.properties && headers.properties->header.KnownVersion() ? *headers.properties
                                                                                           : PropertiesObject{};
    prop.header = PropertiesObject{}.header;
    prop.flags = plan.flags & PropertiesObject::kKeptFlags;
    prop.numStreams = static_cast<uint16_t>(streams.size());
    ContentObject content = plan.content;
    content.header = ContentObject{}.header;

    uint64_t dataOffset = fh.Size() + prop.Size() + content.Size();
    for (const auto& s : streams) dataOffset += s.Size();

    // Pass 1: which packets stay, how many bytes they take, and the index over them.
    auto packets = std::make_shared<PacketPlan>();
    PacketScan scan(input, headers.dataOffset, *headers.data);
    uint64_t out = dataOffset + DataHeaderObject::kHeaderSize;
    scan.Walk([&](const ScannedPacket& p) {
        if (!InRange(plan, p.header.timestampMs)) return;
        if (out > UINT32_MAX) throw Error(TV_E_FAIL, "output larger than 4 GB");
        packets->indexes[p.header.streamNumber].AddPacket(p.header.streamNumber, p.header.timestampMs,
                                                          p.header.Keyframe(), static_cast<uint32_t>(out));
        ++packets->kept;
        packets->keptBytes += p.header.length;
        out += p.header.length;
    });
    const uint64_t dataSize = DataHeaderObject::kHeaderSize + packets->keptBytes;
    if (dataOffset + dataSize > UINT32_MAX) throw Error(TV_E_FAIL, "output larger than 4 GB");

    prop.numPackets = packets->kept;
    prop.dataOffset = static_cast<uint32_t>(dataOffset);
    prop.indexOffset = packets->indexes.empty() ? 0 : static_cast<uint32_t>(dataOffset + dataSize);
    if (plan.endMs != 0 && prop.durationMs > plan.endMs) prop.durationMs = plan.endMs;
    if (plan.startMs != 0) prop.durationMs = prop.durationMs > plan.startMs ? prop.durationMs - plan.startMs : 0;

    std::vector<uint8_t> head;
    BeWriter w(head);
    fh.Write(w);
    prop.Write(w);
    content.Write(w);
    for (const auto& s : streams) s.Write(w);
    DataHeaderObject data;
    data.header.size = static_cast<uint32_t>(dataSize);
    data.numPackets = packets->kept;
    data.Write(w);

    std::vector<uint8_t> tail;
    BeWriter tw(tail);
    uint64_t at = dataOffset + dataSize;
    size_t n = 0;
    for (auto& [stream, builder] : packets->indexes) {
        IndexObject& x = builder.Index();
        at += x.Size();
        x.nextIndexHeader = ++n < packets->indexes.size() ? static_cast<uint32_t>(at) : 0;
        x.Write(tw);
    }

    platform::FileLayout layout;
    layout.bytes(std::move(head));
    // Pass 2, while the output is written: the same packets, copied as they are.
    ByteSource* source = &input;
    const uint64_t sourceData = headers.dataOffset;
    const DataHeaderObject sourceHeader = *headers.data;
    const ConvertPlan range{.startMs = plan.startMs, .endMs = plan.endMs};
    layout.generate([source, sourceData, sourceHeader, range, packets](platform::ByteSink& sink) {
        PacketScan copy(*source, sourceData, sourceHeader);
        bool keep = false;
        uint32_t written = 0;
        const PacketScan::Consumer consumer = [&](std::span<const uint8_t> bytes) {
            if (keep) sink.write(bytes);
        };
        copy.Walk(
            [&](const ScannedPacket& p) {
                keep = InRange(range, p.header.timestampMs);
                written += keep ? 1 : 0;
            },
            &consumer);
        if (written != packets->kept) throw Error(TV_E_FAIL, "the input changed while it was copied");
    });
    layout.bytes(std::move(tail));
    return layout;
}

}  // namespace tagvera::kmedia
