#include "kmedia/structure_text.h"

#include <cstdio>

#include "kmedia/codec_headers.h"
#include "kmedia/logical_stream.h"
#include "kmedia/mime_types.h"
#include "tags/id3v1/id3v1_tag.h"
#include "tags/id3v2/json_report.h"

namespace tagvera::kmedia {
namespace {

using Fields = std::vector<std::pair<std::string, std::string>>;  // name, JSON value

std::string Num(uint64_t v) { return std::to_string(v); }
std::string Str(std::string_view s) { return id3v2::JsonQuote(s); }

// Text for people: a JSON string shown bare.
std::string Plain(const std::string& json) {
    if (json.size() >= 2 && json.front() == '"') return json.substr(1, json.size() - 2);
    return json;
}

Fields StreamFields(const MediaPropertiesObject& m) {
    Fields f = {{"stream_number", Num(m.streamNumber)}, {"max_bit_rate", Num(m.maxBitRate)},
                {"avg_bit_rate", Num(m.avgBitRate)},    {"start_time", Num(m.startTimeMs)},
                {"preroll", Num(m.prerollMs)},          {"duration", Num(m.durationMs)},
                {"stream_name", Str(m.streamName)},     {"mime_type", Str(m.mimeType)},
                {"type_specific_len", Num(m.typeSpecific.size())}};
    try {
        switch (ClassifyMimeType(m.mimeType)) {
            case StreamKind::Video: {
                const auto v = VideoFormat::Read(m.typeSpecific);
                f.push_back({"codec", Str(FourCCText(v.codec))});
                f.push_back({"width", Num(v.width)});
                f.push_back({"height", Num(v.height)});
                break;
            }
            case StreamKind::Audio: {
                const auto a = KorvaAudioHeader::Read(m.typeSpecific);
                f.push_back({"codec_header_version", Num(a.version)});
                if (!a.codec.empty()) f.push_back({"codec", Str(a.codec)});
                f.push_back({"channels", Num(a.channels)});
                break;
            }
            case StreamKind::Logical: {
                const auto r = LogicalStreamRecord::Read(m.typeSpecific);
                f.push_back({"physical_streams", Num(r.physicalStreams.size())});
                std::string props = "[";
                for (const auto& p : r.properties) {
                    if (props.size() > 1) props += ",";
                    uint32_t n = 0;
                    const std::string value = p.AsNumber(&n) ? Num(n)
                                              : p.type == NameValueProperty::kText
                                                  ? Str(std::string(p.value.begin(), p.value.end()))
                                                  : Str(std::to_string(p.value.size()) + " bytes");
                    props += "{\"name\":" + Str(p.name) + ",\"type\":" + Num(p.type) + ",\"value\":" + value + "}";
                }
                f.push_back({"properties", props + "]"});
                break;
            }
            default: break;
        }
    } catch (const Error& e) {
        f.push_back({"type_specific_error", Str(e.what())});
    }
    return f;
}

Fields ObjectFields(const FileLayout& l, const ObjectPlace& place, size_t& stream, size_t& index) {
    const KmHeaders& h = l.headers;
    if (!place.header.KnownVersion() && !(place.header.id == kIdFileHeader || place.header.id == kIdStreamFileHeader))
        return {{"skipped", "\"unknown version\""}};
    switch (place.header.id) {
        case kIdFileHeader:
        case kIdStreamFileHeader:
            return {{"file_version", Num(h.fileHeader.fileVersion)}, {"num_headers", Num(h.fileHeader.numHeaders)}};
        case kIdProperties: {
            if (!h.properties) return {};
            const auto& p = *h.properties;
            return {{"max_bit_rate", Num(p.maxBitRate)}, {"avg_bit_rate", Num(p.avgBitRate)},
                    {"num_packets", Num(p.numPackets)},  {"duration", Num(p.durationMs)},
                    {"preroll", Num(p.prerollMs)},       {"index_offset", Num(p.indexOffset)},
                    {"data_offset", Num(p.dataOffset)},  {"num_streams", Num(p.numStreams)},
                    {"flags", Num(p.flags)}};
        }
        case kIdContent: {
            if (!h.content) return {};
            const auto& c = *h.content;
            return {{"title", Str(c.title)}, {"author", Str(c.author)}, {"copyright", Str(c.copyright)},
                    {"comment", Str(c.comment)}};
        }
        case kIdMediaProperties:
            return stream < h.streams.size() ? StreamFields(h.streams[stream++]) : Fields{};
        case kIdData:
            if (!h.data) return {};
            return {{"num_packets", Num(h.data->numPackets)}, {"next_data_header", Num(h.data->nextDataHeader)}};
        case kIdIndex: {
            if (index >= h.indexes.size()) return {};
            const auto& x = h.indexes[index++];
            std::string records = "[";
            for (const auto& r : x.records) {
                if (records.size() > 1) records += ",";
                records += "[" + Num(r.timestampMs) + "," + Num(r.offset) + "," + Num(r.packetCount) + "]";
            }
            return {{"stream_number", Num(x.streamNumber)}, {"num_indices", Num(x.records.size())},
                    {"next_index_header", Num(x.nextIndexHeader)}, {"records", records + "]"}};
        }
        default: return {};
    }
}

}  // namespace

FileLayout ReadFileLayout(ByteSource& file) {
    FileLayout l;
    l.fileSize = file.size();
    l.headers = ReadKmHeaders(file, WalkOptions{.readIndexes = true});
    l.trailer = FindTrailer(file);
    l.id3v1 = EndsWithId3v1Tag(file);
    return l;
}

std::string LayoutText(const FileLayout& l, const std::string& path) {
    std::string out = path + ": KorvaMedia, " + Num(l.fileSize) + " bytes\n";
    size_t stream = 0, index = 0;
    for (const auto& place : l.headers.places) {
        out += "  " + FourCCText(place.header.id) + " at " + Num(place.offset) + ", " + Num(place.header.size) +
               " bytes, version " + Num(place.header.version) + "\n";
        for (const auto& [name, value] : ObjectFields(l, place, stream, index))
            out += "      " + name + ": " + Plain(value) + "\n";
    }
    if (l.trailer)
        out += "  jukebox trailer: block at " + Num(l.trailer->blockOffset) + ", " + Num(l.trailer->blockSize) +
               " bytes" + (l.trailer->hasHeader ? "" : " (no KMMD header)") + "\n";
    if (l.id3v1) out += "  ID3v1 tag at " + Num(l.fileSize - 128) + "\n";
    for (const auto& p : l.headers.problems) out += "warning: " + p + "\n";
    return out;
}

std::string LayoutJson(const FileLayout& l) {
    std::string out = "{\"size\":" + Num(l.fileSize) + ",\"objects\":[";
    size_t stream = 0, index = 0;
    bool first = true;
    for (const auto& place : l.headers.places) {
        if (!first) out += ",";
        first = false;
        out += "{\"id\":" + Str(FourCCText(place.header.id)) + ",\"offset\":" + Num(place.offset) +
               ",\"size\":" + Num(place.header.size) + ",\"version\":" + Num(place.header.version);
        for (const auto& [name, value] : ObjectFields(l, place, stream, index)) out += ",\"" + name + "\":" + value;
        out += "}";
    }
    out += "],\"trailer\":";
    out += l.trailer ? "{\"block_offset\":" + Num(l.trailer->blockOffset) + ",\"block_size\":" +
                           Num(l.trailer->blockSize) + ",\"kmmd\":" + (l.trailer->hasHeader ? "true" : "false") + "}"
                     : "null";
    out += std::string(",\"id3v1\":") + (l.id3v1 ? "true" : "false") + ",\"warnings\":[";
    for (size_t i = 0; i < l.headers.problems.size(); ++i)
        out += (i ? "," : "") + Str(l.headers.problems[i]);
    return out + "]}\n";
}

}  // namespace tagvera::kmedia
