// tagvera info: what a host sees in media files, the property tree their importer builds and the
// statistics, as text, as JSON (--json) or as the tree's own "KJMETADATA" document (--xml).
#include <algorithm>
#include <cstdio>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "cli/args.h"
#include "cli/jobs.h"
#include "cli/result_words.h"
#include "cli/command_registry.h"
#include "cli/json.h"
#include "cli/media_file.h"
#include "cli/property_view.h"
#include "cli/structure_report.h"
#include "host/result_text.h"
#include "tagvera/metaprop_serialize.h"
#include "tagvera/vocabulary.h"

namespace tagvera::cli {
namespace {

constexpr uint32_t kClipped = 0xFFFFFFFFu;

// The statistics a player shows, as the tree holds them.
struct Statistics {
    std::optional<uint32_t> lengthMs, bitRate, channels, sampleRate, fileSize, vbr;
    bool sizeClipped = false;
    bool lengthClipped = false;
};

Statistics ReadStatistics(const MediaFile& media) {
    auto number = [&](const char* name) -> std::optional<uint32_t> {
        auto node = ChildAt(media.tree.get(), std::string(kGroupStatistics) + ":" + name);
        return node ? NumberOf(node.get()) : std::nullopt;
    };
    Statistics s;
    s.lengthMs = number(kPropLength);
    s.bitRate = number(kPropQuality);
    s.channels = number(kPropChannels);
    s.sampleRate = number("SampleRate");
    s.fileSize = number(kPropFileSize);
    s.vbr = number(kPropVBR);
    s.sizeClipped = s.fileSize == kClipped && media.actualSize > kClipped;
    s.lengthClipped = s.lengthMs == kClipped;
    return s;
}

std::string Duration(uint32_t ms) {
    char text[48];
    const uint32_t seconds = ms / 1000;
    if (seconds >= 3600)
        std::snprintf(text, sizeof text, "%u:%02u:%02u.%03u", seconds / 3600, seconds / 60 % 60, seconds % 60, ms % 1000);
    else
        std::snprintf(text, sizeof text, "%u:%02u.%03u", seconds / 60, seconds % 60, ms % 1000);
    return text;
}

std::string ChannelText(uint32_t channels) {
    if (channels == 1) return "mono";
    if (channels == 2) return "stereo";
    return std::to_string(channels) + " channels";
}

// ---- text ----

// A statistic with its unit, and a note when the 32-bit figure was clipped.
std::string StatisticText(const std::string& name, uint32_t value, const MediaFile& media) {
    const std::string n = std::to_string(value);
    if (name == kPropLength)
        return value == kClipped ? n + " ms (clipped: too long for 32 bits)" : n + " ms (" + Duration(value) + ")";
    if (name == kPropQuality) return n + " bit/s";
    if (name == "SampleRate") return n + " Hz";
    if (name == kPropVBR) return n + (value ? " (variable bit rate)" : " (constant bit rate)");
    if (name == kPropFileSize) {
        if (value == kClipped && media.actualSize > kClipped)
            return n + " bytes (clipped: the file has " + std::to_string(media.actualSize) + " bytes)";
        return n + " bytes";
    }
    return n;
}

std::string ValueText(IMPAMetaProperty* node, bool statistic, const MediaFile& media) {
    const uint32_t type = TypeOf(node);
    std::string text;
    switch (type) {
        case kTypeNumber:
            if (auto n = NumberOf(node)) text = statistic ? StatisticText(NameOf(node), *n, media) : std::to_string(*n);
            break;
        case kTypeFlag: text = ValueOf(node).empty() || ValueOf(node)[0] == 0 ? "no" : "yes"; break;
        case kTypeBinary: text = "<" + std::to_string(ValueOf(node).size()) + " bytes>"; break;
        case kTypeTextList: {
            // People lists pair a role with a name.
            const auto entries = ListEntries(node);
            for (size_t i = 0; i < entries.size(); ++i) {
                if (i) text += entries.size() % 2 == 0 && i % 2 ? ": " : "; ";
                text += OneLine(entries[i]);
            }
            break;
        }
        case kTypeReference:
        case kTypeFileReference:
        case kTypeDataReference: {
            auto size = ChildAt(node, kPropDataSize);
            auto mime = ChildAt(node, kPropMimeType);
            std::string what = mime ? TextOf(mime.get()) : "";
            const auto bytes = size ? NumberOf(size.get()) : std::nullopt;
            if (type == kTypeDataReference && !bytes) what += (what.empty() ? "" : ", ") + std::to_string(ValueOf(node).size()) + " bytes";
            if (bytes) what += (what.empty() ? "" : ", ") + std::to_string(*bytes) + " bytes";
            if (type == kTypeFileReference) what += (what.empty() ? "" : ", ") + std::string("file ") + TextOf(node);
            text = "[" + (what.empty() ? std::string("data") : what) + (type == kTypeReference ? ", on demand]" : "]");
            break;
        }
        case kTypeGroup:
        case kTypeNone: break;
        default: text = OneLine(TextOf(node)); break;
    }
    // Most values have no children: the lookup by name is left to those that do.
    uint32_t childNames = 0;
    if (Succeeded(node->GetChildNameCount(&childNames)) && childNames)
        if (auto language = ChildAt(node, "Language")) text += " (" + TextOf(language.get()) + ")";
    return text;
}

// A file's text is put together in one string and written once: a stream insertion per piece
// costs more than the piece.
void PrintNode(std::string& out, IMPAMetaProperty* node, int depth, bool statistic, const MediaFile& media) {
    const std::string name = NameOf(node);
    out.append(size_t(depth) * 2, ' ');
    out += name;
    if (IsGroup(node)) {
        out += '\n';
        const bool statistics = statistic || (depth == 1 && name == kGroupStatistics);
        for (const auto& child : ChildrenOf(node)) PrintNode(out, child.get(), depth + 1, statistics, media);
        return;
    }
    out += ": ";
    out += ValueText(node, statistic, media);
    out += '\n';
}

void PrintSummary(std::string& out, const MediaFile& media, const Statistics& s) {
    std::vector<std::string> parts;
    if (s.lengthMs) parts.push_back(s.lengthClipped ? "duration clipped" : Duration(*s.lengthMs));
    if (s.bitRate) parts.push_back(std::to_string((*s.bitRate + 500) / 1000) + " kbit/s" +
                                   (s.vbr ? (*s.vbr ? " VBR" : " CBR") : ""));
    if (s.channels) parts.push_back(ChannelText(*s.channels));
    if (s.sampleRate) parts.push_back(std::to_string(*s.sampleRate) + " Hz");
    parts.push_back(std::to_string(media.actualSize) + " bytes");
    out += "  ";
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i) out += ", ";
        out += parts[i];
    }
    out += '\n';
    if (media.result == TV_S_INCOMPLETE) {
        out += "  statistics incomplete";
        if (s.sizeClipped) out += ": FileSize clipped to 32 bits";
        out += '\n';
    }
}

void PrintText(std::ostream& stream, const MediaFile& media) {
    const Statistics s = ReadStatistics(media);
    std::string out = media.path;
    out += '\n';
    PrintSummary(out, media, s);
    // The groups in the tree's order, the statistics last.
    ComPtr<IMPAMetaProperty> statistics;
    for (const auto& child : ChildrenOf(media.tree.get())) {
        if (NameOf(child.get()) == kGroupStatistics) statistics = child;
        else PrintNode(out, child.get(), 1, false, media);
    }
    if (statistics) PrintNode(out, statistics.get(), 1, false, media);
    if (const auto leftOut = LeftOutOf(media); !leftOut.empty()) {
        out += "  Also in the file, left out of the tree\n";
        for (const auto& part : leftOut) out += "    " + part.property + ": " + part.part + " " + part.holds + '\n';
    }
    stream.write(out.data(), static_cast<std::streamsize>(out.size()));
}

// ---- JSON ----

void WriteJsonValue(JsonWriter& json, IMPAMetaProperty* node, const std::string& path);

void WriteJsonGroup(JsonWriter& json, IMPAMetaProperty* group, const std::string& path) {
    json.beginObject();
    const auto children = ChildrenOf(group);
    for (size_t i = 0; i < children.size();) {
        const std::string name = NameOf(children[i].get());
        size_t end = i + 1;
        while (end < children.size() && NameOf(children[end].get()) == name) ++end;
        const std::string childPath = path.empty() ? name : path + ":" + name;
        json.key(name);
        if (end - i == 1) {
            WriteJsonValue(json, children[i].get(), childPath);
        } else {
            json.beginArray();
            for (size_t k = i; k < end; ++k) WriteJsonValue(json, children[k].get(), childPath);
            json.endArray();
        }
        i = end;
    }
    json.endObject();
}

void WriteJsonValue(JsonWriter& json, IMPAMetaProperty* node, const std::string& path) {
    switch (const uint32_t type = TypeOf(node)) {
        case kTypeGroup: WriteJsonGroup(json, node, path); return;
        case kTypeNumber:
            if (auto n = NumberOf(node)) json.value(*n);
            else json.null();
            return;
        case kTypeFlag: json.value(!ValueOf(node).empty() && ValueOf(node)[0] != 0); return;
        case kTypeTextList:
            json.beginArray();
            for (const auto& entry : ListEntries(node)) json.value(entry);
            json.endArray();
            return;
        case kTypeBinary: json.beginObject().field("binary_bytes", uint64_t(ValueOf(node).size())).endObject(); return;
        case kTypeNone: json.null(); return;
        case kTypeReference:
        case kTypeFileReference:
        case kTypeDataReference: {
            json.beginObject().field("reference", path);
            if (auto mime = ChildAt(node, kPropMimeType)) json.field("mime_type", TextOf(mime.get()));
            if (auto size = ChildAt(node, kPropDataSize); size && NumberOf(size.get()))
                json.field("size", *NumberOf(size.get()));
            else if (type == kTypeDataReference)
                json.field("size", uint64_t(ValueOf(node).size()));
            json.field("on_demand", type == kTypeReference);
            json.endObject();
            return;
        }
        default: json.value(TextOf(node)); return;
    }
}

void WriteJsonFile(JsonWriter&& json, const MediaFile& media) {
    const Statistics s = ReadStatistics(media);
    json.beginObject().field("path", media.path).field("importer", media.importerClass);
    json.field("result", host::ResultText(media.result)).field("statistics_complete", media.result == TV_S_OK);
    json.key("statistics").beginObject();
    auto optional = [&](const char* name, const std::optional<uint32_t>& v) {
        json.key(name);
        if (v) json.value(*v);
        else json.null();
    };
    optional("duration_ms", s.lengthMs);
    optional("bit_rate", s.bitRate);
    json.key("vbr");
    if (s.vbr) json.value(*s.vbr != 0);
    else json.null();
    optional("channels", s.channels);
    optional("sample_rate", s.sampleRate);
    optional("file_size", s.fileSize);
    json.field("file_size_on_disk", media.actualSize);
    std::vector<std::string> clipped;
    if (s.sizeClipped) clipped.push_back("file_size");
    if (s.lengthClipped) clipped.push_back("duration_ms");
    json.field("clipped", clipped);
    json.endObject();
    json.key("properties");
    WriteJsonGroup(json, media.tree.get(), "");
    json.key("left_out").beginArray();
    for (const auto& part : LeftOutOf(media))
        json.beginObject().field("property", part.property).field("part", part.part).field("holds", part.holds).endObject();
    json.endArray();
    json.endObject();
}

// ---- XML ----

void PrintXml(std::ostream& out, const MediaFile& media, bool several) {
    auto serialize = QueryAs<IMPAMetaPropertySerialize>(media.tree, IID_IMPAMetaPropertySerialize);
    if (!serialize) throw DataError(media.path, "its tree cannot be written as XML");
    char* text = nullptr;
    uint32_t length = 0;
    if (const HRESULT hr = serialize->WriteXML(&text, &length, true); Failed(hr) || !text)
        throw DataError(media.path, "its tree cannot be written as XML: " + Why(hr));
    std::string document(text, length && text[length - 1] == '\0' ? length - 1 : length);
    delete[] text;
    if (several) {
        // "--" may not appear inside a comment.
        std::string name = media.path;
        for (size_t at = name.find("--"); at != std::string::npos; at = name.find("--", at)) name.replace(at, 2, "- -");
        out << "<!-- " << name << " -->";
    }
    // The pretty form starts with a line break of its own.
    if (!several && !document.empty() && document[0] == '\r') document.erase(0, document[1] == '\n' ? 2 : 1);
    out << document << '\n';
}

int Run(CommandContext& ctx, const Args& args) {
    const ParsedArgs parsed = ParseArgs(args, {"--json", "--xml", "-r", "--recursive"}, kJobsOptions);
    if (parsed.positional.empty()) throw UsageError("name at least one file");
    const bool json = parsed.has("--json");
    const bool xml = parsed.has("--xml");
    if (json && xml) throw UsageError("--json and --xml exclude each other");
    host::Host& host = ctx.host();
    const bool recursive = parsed.has("-r") || parsed.has("--recursive");
    SkippedTypes skipped;
    const auto inputs = CollectInputs(host, parsed.positional, recursive, &skipped);

    std::optional<JsonWriter> writer;
    if (json) writer.emplace(ctx.out).beginObject().key("files").beginArray();
    const size_t fileDepth = writer ? writer->depth() : 0;
    std::vector<char> failed(inputs.size(), 0);
    const auto work = [&](size_t i, std::ostream& out, std::ostream& err) {
        const MediaInput& input = inputs[i];
        try {
            if (!input.error.empty()) throw DataError(input.path, input.error);
            const MediaFile media = ReadMediaFile(host, input);
            if (json) WriteJsonFile(JsonWriter(out, fileDepth), media);
            else if (xml) PrintXml(out, media, inputs.size() > 1);
            else PrintText(out, media);
        } catch (const DataError& e) {
            failed[i] = 1;
            out.flush();
            err << "tagvera: " << e.file() << ": " << e.what() << '\n';
            if (json) JsonWriter(out, fileDepth).beginObject().field("path", e.file()).field("error", std::string(e.what())).endObject();
        }
    };
    // Each file's JSON object is written by a writer of its own, so that files can be read at once.
    const auto shown = [&](size_t) {
        if (json) writer->next();
    };
    RunInOrder(inputs.size(), JobsOf(parsed), ctx.out, ctx.err, work, shown);
    const size_t failures = size_t(std::count(failed.begin(), failed.end(), 1));
    if (json) writer->endArray().endObject();
    // The count goes to the error stream: standard output stays the files' own text or document.
    if (recursive) {
        ctx.err << inputs.size() - failures << " read, " << failures << " failed";
        if (!skipped.empty()) ctx.err << "; passed over, no importer reads them: " << SkippedText(skipped);
        ctx.err << '\n';
    }
    return failures ? kExitDataError : kExitOk;
}

}  // namespace

TAGVERA_REGISTER_COMMAND(CommandSpec{
    "info", "show the tags and statistics of media files",
    "info [--json | --xml] [-r] [-j N] FILE...\n"
    "  Prints, for each file, the property tree its importer builds (titles, artists, albums,\n"
    "  track numbers, genres, comments, lyrics, pictures, links, credits) and the statistics\n"
    "  (duration, bit rate, VBR, channels, sample rate, size). Pictures and lyrics are read on\n"
    "  demand: `tagvera extract` saves them. --json prints the same as JSON, --xml each tree as\n"
    "  its KJMETADATA document; -r reads the files in folders; -j N reads N files at once\n"
    "  (default: one per core), printed in the files' order. Files are never changed.",
    Run});

}  // namespace tagvera::cli
