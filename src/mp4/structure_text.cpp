#include "mp4/structure_text.h"

#include "base/byte_reader.h"
#include "platform/text.h"
#include "tags/id3v2/json_report.h"

namespace tagvera::mp4 {
namespace {

constexpr size_t kShownText = 48;

// The type word of an item's "data" box, and a short look at a text payload.
struct DataFacts {
    bool present = false;
    uint32_t type = 0;
    std::string text;
};

DataFacts FactsOf(const CMp4Editor& e, const Atom& box) {
    DataFacts facts;
    if (box.type != FourCC("data") || box.size < box.header + 8u) return facts;
    const auto bytes = BytesOf(e.movieBytes(), e.movie().offset, box).subspan(box.header);
    facts.present = true;
    facts.type = ByteReader(bytes.subspan(0, 4)).u32be();
    if (facts.type == 1) {
        const auto text = bytes.subspan(8);
        facts.text = text::SanitizeUtf8(std::string_view(reinterpret_cast<const char*>(text.data()),
                                                             std::min(text.size(), kShownText)));
        if (text.size() > kShownText) facts.text += "...";
    }
    return facts;
}

void TextOf(const CMp4Editor& e, const Atom& box, int depth, std::string& out) {
    out += std::string(size_t(depth) * 2, ' ') + FourCCText(box.type) + "  at " + std::to_string(box.offset) + ", " +
           std::to_string(box.size) + " bytes";
    if (box.header == 16) out += " (64-bit size)";
    if (const DataFacts d = FactsOf(e, box); d.present) {
        out += ", type " + std::to_string(d.type);
        if (d.type == 1) out += ": \"" + d.text + "\"";
    }
    out += "\n";
    for (const Atom& child : box.children) TextOf(e, child, depth + 1, out);
}

void JsonOf(const CMp4Editor& e, const Atom& box, std::string& out) {
    out += "{\"type\":" + id3v2::JsonQuote(FourCCText(box.type)) + ",\"offset\":" + std::to_string(box.offset) +
           ",\"size\":" + std::to_string(box.size) + ",\"header_size\":" + std::to_string(box.header);
    if (const DataFacts d = FactsOf(e, box); d.present) out += ",\"data_type\":" + std::to_string(d.type);
    out += ",\"children\":[";
    for (size_t i = 0; i < box.children.size(); ++i) {
        if (i) out += ",";
        JsonOf(e, box.children[i], out);
    }
    out += "]}";
}

// The top-level boxes, the movie box with its tree in place of its bare header.
template <class Each>
void ForTopLevel(const CMp4Editor& e, Each&& each) {
    bool movieShown = false;
    for (const Atom& box : e.topLevel().atoms) {
        const bool isMovie = !movieShown && e.hasMovie() && box.offset == e.movie().offset;
        movieShown |= isMovie;
        each(isMovie ? e.movie() : box);
    }
}

}  // namespace

std::string AtomsText(const CMp4Editor& e) {
    std::string out = std::to_string(e.topLevel().fileSize) + " bytes\n";
    ForTopLevel(e, [&](const Atom& box) { TextOf(e, box, 0, out); });
    if (!e.problem().empty()) out += "warning: " + e.problem() + "\n";
    return out;
}

std::string AtomsJson(const CMp4Editor& e) {
    std::string out = "{\"size\":" + std::to_string(e.topLevel().fileSize) + ",\"boxes\":[";
    bool first = true;
    ForTopLevel(e, [&](const Atom& box) {
        if (!first) out += ",";
        first = false;
        JsonOf(e, box, out);
    });
    out += "],\"warnings\":[";
    if (!e.problem().empty()) out += id3v2::JsonQuote(e.problem());
    out += "]}\n";
    return out;
}

}  // namespace tagvera::mp4
