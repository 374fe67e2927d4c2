#include "kmedia/km_generator.h"

#include <cstring>
#include <fstream>
#include <map>
#include <stdexcept>

#include "kmedia/be_writer.h"
#include "kmedia/codec_headers.h"
#include "kmedia/data_header.h"
#include "kmedia/file_header.h"
#include "kmedia/index_object.h"
#include "kmedia/logical_stream.h"
#include "kmedia/properties.h"
#include "package/importer_kit/property_tree.h"
#include "tags/jukebox/jukebox_parser.h"
#include "tagvera/com_ptr.h"

namespace tagvera::kmedia::testing {
namespace {

MediaPropertiesObject Stream(uint16_t number, uint32_t bitRate, const char* mime) {
    MediaPropertiesObject m;
    m.streamNumber = number;
    m.maxBitRate = m.avgBitRate = bitRate;
    m.maxPacketSize = m.avgPacketSize = 100;
    m.streamName = "stream " + std::to_string(number);
    m.mimeType = mime;
    return m;
}

}  // namespace

MediaPropertiesObject AudioStream(uint16_t number, uint32_t bitRate, const std::string& codec, uint16_t channels,
                                  int codecVersion, uint16_t flavor, uint32_t channelMask) {
    auto m = Stream(number, bitRate, "audio/x-zn-korvaaudio");
    m.typeSpecific = codecVersion == 4 ? MakeKorvaAudio4(codec, channels)
                                       : MakeKorvaAudio5(codec, channels, flavor, channelMask);
    return m;
}

MediaPropertiesObject VideoStream(uint16_t number, uint32_t bitRate, const std::string& codec, uint16_t width,
                                  uint16_t height, uint32_t subVersion) {
    auto m = Stream(number, bitRate, "video/x-zn-korvavideo");
    VideoFormat v;
    v.codec = uint32_t(uint8_t(codec[0])) << 24 | uint32_t(uint8_t(codec[1])) << 16 |
              uint32_t(uint8_t(codec[2])) << 8 | uint8_t(codec[3]);
    v.width = width;
    v.height = height;
    v.bitCount = 12;
    v.frameRate = 25u << 16;
    v.codecData = {0, 0, 0, 0, uint8_t(subVersion >> 24), uint8_t(subVersion >> 16), uint8_t(subVersion >> 8),
                   uint8_t(subVersion)};
    BeWriter out(m.typeSpecific);
    v.Write(out);
    return m;
}

MediaPropertiesObject LosslessStream(uint16_t number) { return Stream(number, 1000, "audio/x-kalf-mpeg4-generic"); }

MediaPropertiesObject FileInfoStream(std::vector<NameValueProperty> properties) {
    auto m = Stream(0, 0, kFileInfoMimeType);
    m.streamName = "";
    LogicalStreamRecord r;
    r.properties = std::move(properties);
    BeWriter out(m.typeSpecific);
    r.Write(out);
    return m;
}

MediaPropertiesObject LogicalStream(uint16_t number, const std::string& mime, std::vector<uint16_t> physical) {
    auto m = Stream(number, 0, mime.c_str());
    LogicalStreamRecord r;
    r.dataOffsets.resize(physical.size());
    r.physicalStreams = std::move(physical);
    BeWriter out(m.typeSpecific);
    r.Write(out);
    return m;
}

uint8_t PayloadByte(uint16_t stream, uint32_t packet, uint32_t i) {
    return static_cast<uint8_t>(stream * 61 + packet * 7 + i * 3 + 1);
}

std::vector<uint8_t> BuildKmFile(const KmFileSpec& spec) {
    std::vector<uint8_t> headers;
    BeWriter hw(headers);
    std::vector<uint16_t> physical;
    for (const auto& s : spec.streams)
        if (!s.IsLogical()) physical.push_back(s.streamNumber);

    const uint32_t packetSize = PacketHeader::kSize + spec.payloadSize;
    const uint32_t numPackets = spec.packetsPerStream * static_cast<uint32_t>(physical.size());

    FileHeaderObject fh;
    if (spec.streamFileHeader) fh.header.id = kIdStreamFileHeader;
    size_t objects = 2 + spec.streams.size() + (spec.unknownVersionObject ? 1 : 0);
    fh.numHeaders = static_cast<uint32_t>(2 + objects + 1);

    PropertiesObject prop;
    prop.numPackets = numPackets;
    prop.durationMs = spec.durationMs;
    prop.numStreams = static_cast<uint16_t>(spec.streams.size());
    prop.maxPacketSize = prop.avgPacketSize = packetSize;
    prop.flags = 1 | 8;

    std::vector<uint8_t> unknown;
    if (spec.unknownVersionObject) {
        BeWriter uw(unknown);
        ObjectHeader{kIdMediaProperties, 30, 1}.Write(uw);
        for (int i = 0; i < 20; ++i) uw.u8(0xEE);
    }
    uint64_t dataOffset = fh.Size() + prop.Size() + spec.content.Size() + unknown.size();
    for (const auto& s : spec.streams) dataOffset += s.Size();
    prop.dataOffset = static_cast<uint32_t>(dataOffset);
    const uint64_t dataSize = DataHeaderObject::kHeaderSize + uint64_t(numPackets) * packetSize;
    prop.indexOffset = spec.withIndex && !physical.empty() ? static_cast<uint32_t>(dataOffset + dataSize) : 0;

    fh.Write(hw);
    prop.Write(hw);
    spec.content.Write(hw);
    for (const auto& s : spec.streams) s.Write(hw);
    hw.bytes(unknown);

    std::vector<uint8_t> out = std::move(headers);
    BeWriter w(out);
    DataHeaderObject data;
    data.header.size = static_cast<uint32_t>(dataSize);
    data.numPackets = numPackets;
    data.Write(w);
    std::map<uint16_t, IndexBuilder> indexes;
    for (uint32_t k = 0; k < spec.packetsPerStream; ++k)
        for (uint16_t s : physical) {
            PacketHeader p;
            p.length = static_cast<uint16_t>(packetSize);
            p.streamNumber = s;
            p.timestampMs = k * 100;
            p.groupAndFlags = k % 2 == 0 ? PacketHeader::kKeyframe : 0;
            indexes[s].AddPacket(s, p.timestampMs, p.Keyframe(), static_cast<uint32_t>(out.size()));
            p.Write(w);
            for (uint32_t i = 0; i < spec.payloadSize; ++i) w.u8(PayloadByte(s, k, i));
        }
    if (spec.withIndex) {
        size_t n = 0;
        for (auto& [stream, builder] : indexes) {
            IndexObject& x = builder.Index();
            ++n;
            x.nextIndexHeader = n < indexes.size() ? static_cast<uint32_t>(out.size() + x.Size()) : 0;
            x.Write(w);
        }
    }
    if (spec.trailerBlock) {
        const auto& block = *spec.trailerBlock;
        const uint32_t total = static_cast<uint32_t>(8 + block.size() + 12 + 128);
        w.chars("KMMD");
        w.u32(total);
        w.bytes(block);
        w.chars("KMJE");
        w.u32(1);
        w.u32(static_cast<uint32_t>(block.size()));
    }
    if (spec.id3v1) w.bytes(*spec.id3v1);
    return out;
}

std::vector<uint8_t> Id3v1Bytes(const std::string& title, const std::string& artist, uint8_t genre, uint8_t track,
                                const std::string& year) {
    std::vector<uint8_t> tag(128, 0);
    std::memcpy(tag.data(), "TAG", 3);
    std::memcpy(tag.data() + 3, title.data(), std::min<size_t>(30, title.size()));
    std::memcpy(tag.data() + 33, artist.data(), std::min<size_t>(30, artist.size()));
    std::memcpy(tag.data() + 93, year.data(), std::min<size_t>(4, year.size()));
    tag[126] = track;
    tag[127] = genre;
    return tag;
}

std::vector<uint8_t> JukeboxBlock(const std::string& title) {
    ComPtr<IMPAKJMDParser> parser;
    ComPtr<IMPAMetaProperty> tree;
    if (Failed(CreateJukeboxParser(nullptr, parser.put())) || Failed(NewPropertyTree(nullptr, tree)))
        throw std::runtime_error("no jukebox parser");
    tree->AddText("Track:Name", title.c_str(), 0, true, nullptr);
    ComPtr<IKMABuffer> block;
    if (Failed(parser->Build(tree.get(), nullptr, 1)) || Failed(parser->GetBlock(block.put())))
        throw std::runtime_error("jukebox block not built");
    uint8_t* data = nullptr;
    uint32_t size = 0;
    block->Get(&data, &size);
    return std::vector<uint8_t>(data, data + size);
}

void WriteFile(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::ofstream f(path, std::ios::binary | std::ios::trunc);
    f.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!f) throw std::runtime_error("cannot write " + path);
}

}  // namespace tagvera::kmedia::testing
