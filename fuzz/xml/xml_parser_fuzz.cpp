// The XML parser fed in pieces whose sizes come from the input: the events, the failure and its
// position must be those of the same document read whole. The whole document also goes through
// KMAXMLParser, so the response side (value lists, buffers) is exercised too.
//
// Input: byte 0 picks the mode (bit 0: strict) and the character set (bits 1-4); byte 1 holds how
// many piece sizes follow (low 4 bits); then the piece sizes, one byte each; then the document.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "component/value_objects.h"
#include "tagvera/com_ptr.h"
#include "tagvera/xml.h"
#include "xml/kma_xml_parser.h"
#include "xml/reader.h"

namespace {

using namespace tagvera;

const char* const kCharsets[] = {"US-ASCII", "Default",     "Shift-JIS",  "Big5",  "GB2312",
                                 "EUC-KR",   "ISO-2022-KR", "ISO-8859-1", "UTF-8", "unknown"};

class Log : public xml::Handler {
public:
    std::string text;

    HRESULT startElement(std::string_view name, std::span<const xml::Attribute> attributes, xml::Position at) override {
        add('S', name, at);
        for (const xml::Attribute& a : attributes) {
            add('a', a.name);
            add('v', a.value);
        }
        return TV_S_OK;
    }
    HRESULT endElement(std::string_view name) override { return add('E', name); }
    HRESULT characterData(std::string_view t) override { return add('T', t); }
    HRESULT processingInstruction(std::string_view target, std::span<const xml::Attribute> attributes) override {
        add('P', target);
        for (const xml::Attribute& a : attributes) {
            add('a', a.name);
            add('v', a.value);
        }
        return TV_S_OK;
    }
    HRESULT beginCData(xml::Position at) override { return add('[', {}, at); }
    HRESULT endCData() override { return add(']', {}); }
    HRESULT comment(std::string_view t) override { return add('C', t); }
    HRESULT documentType(std::string_view root, std::string_view systemId, std::string_view publicId,
                         xml::Position at) override {
        add('D', root, at);
        add('s', systemId);
        return add('p', publicId);
    }
    HRESULT endDocument(xml::Position at) override { return add('Z', {}, at); }

private:
    HRESULT add(char kind, std::string_view bytes, xml::Position at = {}) {
        text.push_back(kind);
        text += std::to_string(bytes.size()) + ":";
        text.append(bytes);
        text += std::to_string(at.line) + "," + std::to_string(at.column) + ";";
        return TV_S_OK;
    }
};

struct Result {
    std::string events;
    HRESULT code = TV_S_OK;
    std::string error;
    xml::Position position;
};

Result Run(std::string_view doc, const std::vector<size_t>& pieces, bool strict, const char* charset) {
    Log log;
    xml::ReaderOptions options;
    options.strict = strict;
    // Small bounds, so the fuzzer reaches them.
    options.maxDepth = 64;
    options.maxTokenSize = 4096;
    xml::Reader reader(log, charset, options);
    Result r;
    try {
        size_t at = 0;
        size_t i = 0;
        while (!pieces.empty() && at < doc.size()) {
            const size_t n = std::min(pieces[i++ % pieces.size()], doc.size() - at);
            reader.feed(doc.substr(at, n), false);
            at += n;
        }
        reader.feed(doc.substr(at), true);
    } catch (const Error& e) {
        r.code = e.code();
        r.error = e.what();
    }
    r.events = std::move(log.text);
    r.position = reader.position();
    return r;
}

// Answers every call and reads what it is given, so bad lists or buffers show up under ASan.
class Response final : public IKMAXMLParserResponse {
public:
    HRESULT TV_STDCALL QueryInterface(const GUID&, void** out) override {
        *out = nullptr;
        return TV_E_NOINTERFACE;
    }
    tagvera::RefCount TV_STDCALL AddRef() override { return 2; }
    tagvera::RefCount TV_STDCALL Release() override { return 1; }
    HRESULT TV_STDCALL OnBeginElement(const char* name, IKMAValues* attributes, uint32_t, uint32_t) override {
        sink += std::strlen(name);
        const char* key = nullptr;
        IKMABuffer* value = nullptr;
        for (HRESULT hr = attributes->GetFirstStringValue(&key, &value); Succeeded(hr);
             hr = attributes->GetNextStringValue(&key, &value)) {
            sink += BufferText(value).size() + std::strlen(key);
            value->Release();
        }
        return TV_S_OK;
    }
    HRESULT TV_STDCALL OnEndElement(const char* name, uint32_t, uint32_t) override {
        sink += std::strlen(name);
        return TV_S_OK;
    }
    HRESULT TV_STDCALL OnCharacterData(IKMABuffer* text, uint32_t, uint32_t) override {
        sink += text->GetSize();
        return TV_S_OK;
    }
    HRESULT TV_STDCALL OnProcessingInstruction(const char* target, IKMAValues*, uint32_t, uint32_t) override {
        sink += std::strlen(target);
        return TV_S_OK;
    }
    HRESULT TV_STDCALL OnBeginCDataSection(uint32_t, uint32_t) override { return TV_S_OK; }
    HRESULT TV_STDCALL OnEndCDataSection(uint32_t, uint32_t) override { return TV_S_OK; }
    HRESULT TV_STDCALL OnComment(const char* text, uint32_t, uint32_t) override {
        sink += std::strlen(text);
        return TV_S_OK;
    }
    HRESULT TV_STDCALL OnDocumentType(const char* root, const char* systemId, const char* publicId, uint32_t,
                                      uint32_t) override {
        sink += std::strlen(root) + std::strlen(systemId) + std::strlen(publicId);
        return TV_S_OK;
    }
    HRESULT TV_STDCALL OnEndDocument(uint32_t, uint32_t) override { return TV_S_OK; }

    size_t sink = 0;
};

void ThroughTheInterface(std::string_view doc, bool strict, const char* charset, HRESULT expected) {
    Response response;  // outlives the parser, which holds it
    ComPtr<IKMAXMLParser> parser;
    if (Failed(CreateXMLParser(parser.put()))) std::abort();
    if (Failed(parser->Init(&response, charset, strict))) std::abort();
    ComPtr<IKMABuffer> buffer;
    if (Failed(NewBuffer(doc.data(), static_cast<uint32_t>(doc.size()), buffer.put()))) return;
    const HRESULT hr = parser->Parse(buffer.get(), true);
    // The interface uses the default bounds, so only documents inside the fuzz bounds must agree.
    if (expected == TV_S_OK && hr != TV_S_OK) std::abort();
    ComPtr<IKMABuffer> error;
    if (Failed(hr) && Failed(parser->GetCurrentErrorText(error.put()))) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const bool strict = data[0] & 1;
    const char* charset = kCharsets[(data[0] >> 1) % (sizeof kCharsets / sizeof kCharsets[0])];
    const size_t count = data[1] & 0x0F;
    if (size < 2 + count) return 0;
    std::vector<size_t> pieces;
    for (size_t i = 0; i < count; ++i) pieces.push_back(data[2 + i]);
    // Pieces of size 0 alone would never move on.
    bool moves = false;
    for (const size_t p : pieces) moves = moves || p > 0;
    if (!moves) pieces.clear();
    const std::string_view doc(reinterpret_cast<const char*>(data + 2 + count), size - 2 - count);

    const Result whole = Run(doc, {}, strict, charset);
    const Result split = Run(doc, pieces, strict, charset);
    if (whole.events != split.events || whole.code != split.code || whole.error != split.error ||
        whole.position.line != split.position.line || whole.position.column != split.position.column)
        std::abort();
    const Result byteByByte = Run(doc.substr(0, 512), {1}, strict, charset);
    const Result prefix = Run(doc.substr(0, 512), {}, strict, charset);
    if (byteByByte.events != prefix.events || byteByByte.code != prefix.code) std::abort();

    ThroughTheInterface(doc, strict, charset, whole.code);
    return 0;
}
