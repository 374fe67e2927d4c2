#include "kmedia/convert/stream_converter.h"

#include <algorithm>
#include <map>
#include <memory>

#include "kmedia/convert/packet_scan.h"

namespace tagvera::kmedia {
namespace {

constexpr uint64_t kMax32 = UINT32_MAX;

// One input's packets on their way out: where they lie and how their headers change.
struct PacketSource {
    ByteSource* file = nullptr;
    bool rewritten = false;
    uint64_t dataOffset = 0;
    DataHeaderObject data;
    uint32_t shiftMs = 0;
    std::map<uint16_t, uint16_t> renumber;  // the input's stream number -> the output's

    PacketHeader Out(PacketHeader h) const {
        if (h.timestampMs > kMax32 - shiftMs) throw Error(TV_E_FAIL, "joined time line runs past 2^32 ms");
        h.timestampMs += shiftMs;
        if (const auto it = renumber.find(h.streamNumber); it != renumber.end()) h.streamNumber = it->second;
        return h;
    }
};

struct PacketPlan {
    uint32_t kept = 0;
    uint64_t keptBytes = 0;
    std::map<uint16_t, IndexBuilder> indexes;  // by stream, records at output offsets
};

bool InRange(const ConvertPlan& plan, uint32_t t) {
    return t >= plan.startMs && (plan.endMs == 0 || t <= plan.endMs);
}

uint32_t DurationOf(const KmHeaders& h) {
    return h.properties && h.properties->header.KnownVersion() ? h.properties->durationMs : 0;
}

std::vector<uint16_t> PhysicalStreams(const KmHeaders& h) {
    std::vector<uint16_t> out;
    for (const auto& s : h.streams)
        if (s.header.KnownVersion() && !s.IsLogical()) out.push_back(s.streamNumber);
    return out;
}

// Each input after the first starts where the durations before it end; totalMs is the joined length.
std::vector<PacketSource> Sources(std::span<const ConvertInput> inputs, uint32_t& totalMs) {
    const std::vector<uint16_t> first = PhysicalStreams(*inputs.front().headers);
    std::vector<PacketSource> out;
    uint64_t at = 0;
    for (const ConvertInput& in : inputs) {
        const KmHeaders& h = *in.headers;
        if (!h.data || !h.data->header.KnownVersion()) throw Error(TV_E_FAIL, "no readable DATA object");
        PacketSource s{in.file, in.rewritten, h.dataOffset, *h.data, static_cast<uint32_t>(at), {}};
        const std::vector<uint16_t> own = PhysicalStreams(h);
        for (size_t i = 0; i < own.size() && i < first.size(); ++i)
            if (own[i] != first[i]) s.renumber[own[i]] = first[i];
        out.push_back(std::move(s));
        at += DurationOf(h);
        if (at > kMax32) throw Error(TV_E_FAIL, "joined length runs past 2^32 ms");
    }
    totalMs = static_cast<uint32_t>(at);
    return out;
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

platform::FileLayout ConvertLayout(std::span<const ConvertInput> inputs, const ConvertPlan& plan) {
    if (inputs.empty()) throw Error(TV_E_INVALIDARG, "no input to convert");
    const KmHeaders& headers = *inputs.front().headers;
    uint32_t totalMs = 0;
    const std::vector<PacketSource> sources = Sources(inputs, totalMs);
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
    uint64_t out = dataOffset + DataHeaderObject::kHeaderSize;
    for (const PacketSource& source : sources) {
        PacketScan scan(*source.file, source.dataOffset, source.data);
        scan.Walk([&](const ScannedPacket& p) {
            const PacketHeader h = source.Out(p.header);
            if (!InRange(plan, h.timestampMs)) return;
            if (out > kMax32) throw Error(TV_E_FAIL, "output larger than 4 GB");
            packets->indexes[h.streamNumber].AddPacket(h.streamNumber, h.timestampMs, h.Keyframe(),
                                                       static_cast<uint32_t>(out));
            ++packets->kept;
            packets->keptBytes += h.length;
            out += h.length;
        });
    }
    const uint64_t dataSize = DataHeaderObject::kHeaderSize + packets->keptBytes;
    if (dataOffset + dataSize > kMax32) throw Error(TV_E_FAIL, "output larger than 4 GB");

    prop.numPackets = packets->kept;
    prop.dataOffset = static_cast<uint32_t>(dataOffset);
    prop.indexOffset = packets->indexes.empty() ? 0 : static_cast<uint32_t>(dataOffset + dataSize);
    prop.durationMs = totalMs;
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
        const bool last = ++n == packets->indexes.size();
        if (!last && at > kMax32) throw Error(TV_E_FAIL, "index objects end past 4 GB");
        x.nextIndexHeader = last ? 0 : static_cast<uint32_t>(at);
        x.Write(tw);
    }

    platform::FileLayout layout;
    layout.bytes(std::move(head));
    // Pass 2, while the output is written: the same packets, each with its header as it goes out
    // and its payload copied as it is.
    const ConvertPlan range{.startMs = plan.startMs, .endMs = plan.endMs};
    layout.generate([sources, range, packets](platform::ByteSink& sink, ByteSource& original) {
        uint32_t written = 0;
        std::vector<uint8_t> header;
        for (const PacketSource& source : sources) {
            PacketScan copy(source.rewritten ? original : *source.file, source.dataOffset, source.data);
            bool keep = false;
            size_t inputHeaderLeft = 0;
            const PacketScan::Consumer consumer = [&](std::span<const uint8_t> bytes) {
                const size_t skip = std::min(inputHeaderLeft, bytes.size());
                inputHeaderLeft -= skip;
                if (keep && bytes.size() > skip) sink.write(bytes.subspan(skip));
            };
            copy.Walk(
                [&](const ScannedPacket& p) {
                    const PacketHeader h = source.Out(p.header);
                    keep = InRange(range, h.timestampMs);
                    inputHeaderLeft = PacketHeader::kSize;
                    if (!keep) return;
                    ++written;
                    header.clear();
                    BeWriter hw(header);
                    h.Write(hw);
                    sink.write(header);
                },
                &consumer);
        }
        if (written != packets->kept) throw Error(TV_E_FAIL, "the input changed while it was copied");
    });
    layout.bytes(std::move(tail));
    return layout;
}

platform::FileLayout ConvertLayout(ByteSource& input, const KmHeaders& headers, const ConvertPlan& plan,
                                   bool rewritten) {
    const ConvertInput one{&input, &headers, rewritten};
    return ConvertLayout(std::span(&one, 1), plan);
}

}  // namespace tagvera::kmedia
