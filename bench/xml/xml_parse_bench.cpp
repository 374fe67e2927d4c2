// Parses generated KJMETADATA documents (nested PROP elements with attributes, pretty printed as
// the tree writes them) with the parser core and with expat, in the same run, and prints the
// throughput of each and how the core's time grows from 1 MB to 10 MB.
//
//     bench_xml_parse [rounds]   (default 15)
#include <expat.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "base/error.h"
#include "component/value_objects.h"
#include "tagvera/com_ptr.h"
#include "tagvera/xml.h"
#include "xml/kma_xml_parser.h"
#include "xml/reader.h"

namespace {

// CPU time of this thread: the machine is shared, and time spent waiting for a core would say
// more about the neighbours than about the parser.
struct Clock {
    using time_point = double;
    static double now() {
        timespec ts{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
        return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
    }
};

// A tree like a jukebox library's: tracks with text, number, flag and binary properties and
// nested groups, written the way WriteXML pretty prints it.
std::string MakeDocument(size_t targetBytes) {
    static const char kRadix41[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDE";
    std::string doc = "<KJMETADATA>";
    uint32_t seed = 12345;
    auto next = [&] { return seed = seed * 1103515245u + 12345u; };
    auto prop = [&](int depth, const std::string& name, const char* type, const char* flags, const std::string& value,
                    bool close) {
        doc += "\r\n";
        doc.append(static_cast<size_t>(depth), '\t');
        doc += "<PROP name=\"" + name + "\" type=\"" + type + "\"";
        if (flags) doc += std::string(" flags=\"") + flags + "\"";
        if (!value.empty()) doc += " value=\"" + value + "\"";
        doc += close ? " />" : ">";
    };
    auto closeGroup = [&](int depth) {
        doc += "\r\n";
        doc.append(static_cast<size_t>(depth), '\t');
        doc += "</PROP>";
    };
    for (int track = 0; doc.size() < targetBytes; ++track) {
        const std::string n = std::to_string(track);
        prop(1, "Track " + n, "group", nullptr, "", false);
        prop(2, "Title", "text", nullptr, "Song number " + n + " &amp; friends", true);
        prop(2, "Artist", "text", "type", "The &quot;Band&quot; " + std::to_string(track % 97), true);
        prop(2, "Album", "text", nullptr, "Album " + std::to_string(track / 12), true);
        prop(2, "Genre", "text", "readonly,type", "Rock", true);
        prop(2, "Track Number", "number", nullptr, std::to_string(track % 12 + 1), true);
        prop(2, "Rating", "flag", nullptr, std::to_string(track & 1), true);
        std::string cover;
        for (int i = 0; i < 60; ++i) cover.push_back(kRadix41[next() % 41]);
        prop(2, "Cover Art", "binary", "private", cover, true);
        prop(2, "Statistics", "group", nullptr, "", false);
        prop(3, "Duration", "number", "readonly", std::to_string(next() % 600000), true);
        prop(3, "Bitrate", "number", "readonly", "192000", true);
        prop(3, "Codec", "text", "readonly", "MPEG-1 Layer 3", true);
        closeGroup(2);
        closeGroup(1);
    }
    doc += "</KJMETADATA>";
    return doc;
}

struct Counts : tagvera::xml::Handler {
    size_t starts = 0;
    size_t attributes = 0;
    size_t textBytes = 0;
    HRESULT startElement(std::string_view, std::span<const tagvera::xml::Attribute> list,
                         tagvera::xml::Position) override {
        ++starts;
        attributes += list.size();
        return tagvera::TV_S_OK;
    }
    HRESULT characterData(std::string_view text) override {
        textBytes += text.size();
        return tagvera::TV_S_OK;
    }
};

size_t g_sink = 0;

double TimeCore(const std::string& doc) {
    Counts counts;
    const auto start = Clock::now();
    tagvera::xml::Reader reader(counts, "US-ASCII", {});
    reader.feed(doc, true);
    const double seconds = Clock::now() - start;
    g_sink += counts.starts + counts.attributes + counts.textBytes;
    return seconds;
}

double TimeCorePieces(const std::string& doc, size_t piece) {
    Counts counts;
    const auto start = Clock::now();
    tagvera::xml::Reader reader(counts, "US-ASCII", {});
    for (size_t at = 0; at < doc.size(); at += piece)
        reader.feed(std::string_view(doc).substr(at, piece), at + piece >= doc.size());
    const double seconds = Clock::now() - start;
    g_sink += counts.starts;
    return seconds;
}

void XMLCALL ExpatStart(void* data, const XML_Char*, const XML_Char** attributes) {
    auto* counts = static_cast<Counts*>(data);
    ++counts->starts;
    for (const XML_Char** a = attributes; *a; a += 2) ++counts->attributes;
}
void XMLCALL ExpatEnd(void*, const XML_Char*) {}
void XMLCALL ExpatText(void* data, const XML_Char*, int length) {
    static_cast<Counts*>(data)->textBytes += static_cast<size_t>(length);
}

double TimeExpat(const std::string& doc) {
    Counts counts;
    const auto start = Clock::now();
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &counts);
    XML_SetElementHandler(parser, ExpatStart, ExpatEnd);
    XML_SetCharacterDataHandler(parser, ExpatText);
    if (XML_Parse(parser, doc.data(), static_cast<int>(doc.size()), 1) != XML_STATUS_OK) {
        std::fprintf(stderr, "expat: %s\n", XML_ErrorString(XML_GetErrorCode(parser)));
        std::exit(1);
    }
    XML_ParserFree(parser);
    const double seconds = Clock::now() - start;
    g_sink += counts.starts + counts.attributes + counts.textBytes;
    return seconds;
}

// Through IKMAXMLParser, with a value list per start tag, as the property tree reads a document.
struct NullResponse final : IKMAXMLParserResponse {
    HRESULT TV_STDCALL QueryInterface(const GUID&, void** out) override {
        *out = nullptr;
        return tagvera::TV_E_NOINTERFACE;
    }
    tagvera::RefCount TV_STDCALL AddRef() override { return 2; }
    tagvera::RefCount TV_STDCALL Release() override { return 1; }
    HRESULT TV_STDCALL OnBeginElement(const char*, IKMAValues*, uint32_t, uint32_t) override { return 0; }
    HRESULT TV_STDCALL OnEndElement(const char*, uint32_t, uint32_t) override { return 0; }
    HRESULT TV_STDCALL OnCharacterData(IKMABuffer*, uint32_t, uint32_t) override { return 0; }
    HRESULT TV_STDCALL OnProcessingInstruction(const char*, IKMAValues*, uint32_t, uint32_t) override { return 0; }
    HRESULT TV_STDCALL OnBeginCDataSection(uint32_t, uint32_t) override { return 0; }
    HRESULT TV_STDCALL OnEndCDataSection(uint32_t, uint32_t) override { return 0; }
    HRESULT TV_STDCALL OnComment(const char*, uint32_t, uint32_t) override { return 0; }
    HRESULT TV_STDCALL OnDocumentType(const char*, const char*, const char*, uint32_t, uint32_t) override { return 0; }
    HRESULT TV_STDCALL OnEndDocument(uint32_t, uint32_t) override { return 0; }
};

double TimeInterface(const std::string& doc) {
    NullResponse response;
    tagvera::ComPtr<IKMABuffer> buffer;
    tagvera::NewBuffer(doc.data(), static_cast<uint32_t>(doc.size()), buffer.put());
    const auto start = Clock::now();
    tagvera::ComPtr<IKMAXMLParser> parser;
    tagvera::CreateXMLParser(parser.put());
    parser->Init(&response, "US-ASCII", true);
    if (parser->Parse(buffer.get(), true) != 0) std::exit(1);
    parser.reset();
    return Clock::now() - start;
}

struct Times {
    std::vector<double> seconds;
    void add(double t) { seconds.push_back(t); }
    double best() const { return *std::min_element(seconds.begin(), seconds.end()); }
    double median() const {
        std::vector<double> sorted = seconds;
        std::sort(sorted.begin(), sorted.end());
        return sorted[sorted.size() / 2];
    }
};

double MBps(size_t bytes, double seconds) { return static_cast<double>(bytes) / 1e6 / seconds; }

void Row(const char* what, size_t bytes, const Times& t) {
    std::printf("%-36s %9.1f %9.1f %9.0f\n", what, t.best() * 1e3, t.median() * 1e3, MBps(bytes, t.best()));
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 15;
    const std::string small = MakeDocument(1000000);
    const std::string large = MakeDocument(10000000);
    std::printf("documents: %zu and %zu bytes; %d rounds\n\n", small.size(), large.size(), rounds);

    // Interleaved, so that every measurement sees the same load on the machine.
    Times coreLarge, expatLarge, coreSmall, expatSmall, pieces, bytewise, viaInterface;
    for (int i = 0; i < rounds; ++i) {
        coreLarge.add(TimeCore(large));
        expatLarge.add(TimeExpat(large));
        for (int j = 0; j < 3; ++j) {
            coreSmall.add(TimeCore(small));
            expatSmall.add(TimeExpat(small));
        }
        pieces.add(TimeCorePieces(large, 4096));
        if (i < 3) bytewise.add(TimeCorePieces(small, 1));
        if (i < 5) viaInterface.add(TimeInterface(large));
    }

    std::printf("%-36s %9s %9s %9s\n", "what", "best ms", "median ms", "MB/s");
    Row("core, 10 MB whole", large.size(), coreLarge);
    Row("expat, 10 MB whole", large.size(), expatLarge);
    Row("core, 1 MB whole", small.size(), coreSmall);
    Row("expat, 1 MB whole", small.size(), expatSmall);
    Row("core, 10 MB in 4 KB pieces", large.size(), pieces);
    Row("core, 1 MB byte by byte", small.size(), bytewise);
    Row("KMAXMLParser with value lists, 10 MB", large.size(), viaInterface);
    std::printf("\ncore / expat throughput, 10 MB: %.2f (best), %.2f (median)\n", expatLarge.best() / coreLarge.best(),
                expatLarge.median() / coreLarge.median());
    std::printf("core time 10 MB / 1 MB: %.2f (best), %.2f (median), for %.2f times the bytes\n",
                coreLarge.best() / coreSmall.best(), coreLarge.median() / coreSmall.median(),
                static_cast<double>(large.size()) / static_cast<double>(small.size()));
    std::printf("expat time 10 MB / 1 MB: %.2f (best), %.2f (median)\n", expatLarge.best() / expatSmall.best(),
                expatLarge.median() / expatSmall.median());
    return g_sink == 0;
}
