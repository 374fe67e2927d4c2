// Records what a Reader reports as one line per event, so tests compare whole documents at once.
#ifndef TAGVERA_TESTS_XML_EVENT_LOG_H
#define TAGVERA_TESTS_XML_EVENT_LOG_H

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "xml/reader.h"

namespace tagvera::xml::testing {

// Printable ASCII as is; quotes, backslashes and every other byte as \xHH.
inline std::string Escaped(std::string_view bytes) {
    std::string out;
    for (const char c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        if (b >= 0x20 && b < 0x7F && c != '"' && c != '\\') {
            out.push_back(c);
        } else {
            char hex[5];
            std::snprintf(hex, sizeof hex, "\\x%02X", b);
            out += hex;
        }
    }
    return out;
}

inline std::string At(Position p) { return "@" + std::to_string(p.line) + ":" + std::to_string(p.column); }

class EventLog : public Handler {
public:
    std::vector<std::string> events;
    // Set to make the given callback fail.
    std::string failOn;
    HRESULT failWith = TV_E_FAIL;

    HRESULT startElement(std::string_view name, std::span<const Attribute> attributes, Position at) override {
        std::string line = "start " + Escaped(name) + " " + At(at);
        for (const Attribute& a : attributes) line += " " + Escaped(a.name) + "=\"" + Escaped(a.value) + "\"";
        return add("start", line);
    }
    HRESULT endElement(std::string_view name) override { return add("end", "end " + Escaped(name)); }
    HRESULT characterData(std::string_view text) override { return add("text", "text \"" + Escaped(text) + "\""); }
    HRESULT processingInstruction(std::string_view target, std::span<const Attribute> attributes) override {
        std::string line = "pi " + Escaped(target);
        for (const Attribute& a : attributes) line += " " + Escaped(a.name) + "=\"" + Escaped(a.value) + "\"";
        return add("pi", line);
    }
    HRESULT beginCData(Position at) override { return add("cdata", "cdata-begin " + At(at)); }
    HRESULT endCData() override { return add("cdata", "cdata-end"); }
    HRESULT comment(std::string_view text) override { return add("comment", "comment \"" + Escaped(text) + "\""); }
    HRESULT documentType(std::string_view root, std::string_view systemId, std::string_view publicId,
                         Position at) override {
        return add("doctype", "doctype " + Escaped(root) + " system=\"" + Escaped(systemId) + "\" public=\"" +
                                  Escaped(publicId) + "\" " + At(at));
    }
    HRESULT endDocument(Position at) override { return add("end-document", "end-document " + At(at)); }

private:
    HRESULT add(const char* kind, std::string line) {
        events.push_back(std::move(line));
        return failOn == kind ? failWith : TV_S_OK;
    }
};

struct Outcome {
    std::vector<std::string> events;
    HRESULT code = TV_S_OK;
    Position position;
    std::string error;
};

// Feeds doc in pieces that end at the given cut offsets (ascending), the last piece marked last.
inline Outcome ParsePieces(std::string_view doc, const std::vector<size_t>& cuts, ReaderOptions options = {},
                           std::string_view encoding = {}) {
    EventLog log;
    Reader reader(log, encoding, options);
    Outcome outcome;
    size_t from = 0;
    try {
        for (const size_t cut : cuts) {
            reader.feed(doc.substr(from, cut - from), false);
            from = cut;
        }
        reader.feed(doc.substr(from), true);
    } catch (const Error& e) {
        outcome.code = e.code();
        outcome.error = e.what();
    }
    outcome.events = log.events;
    outcome.position = reader.position();
    return outcome;
}

inline Outcome Parse(std::string_view doc, ReaderOptions options = {}, std::string_view encoding = {}) {
    return ParsePieces(doc, {}, options, encoding);
}

inline ReaderOptions Loose() {
    ReaderOptions options;
    options.strict = false;
    return options;
}

}  // namespace tagvera::xml::testing

#endif
