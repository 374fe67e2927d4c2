// KMAXMLParser through its interface, as the property tree and hosts use it: Init, Parse in pieces,
// the response calls with value lists and buffers, the position and error-text getters, Close.
#include <gtest/gtest.h>

#include <functional>

#include "component/value_objects.h"
#include "tagvera/com_ptr.h"
#include "tagvera/xml.h"
#include "xml/event_log.h"
#include "xml/kma_xml_parser.h"

namespace tagvera {
namespace {

using Events = std::vector<std::string>;

// A value list's strings as the reader's attributes; each buffer holds its value and a NUL.
struct Attributes {
    explicit Attributes(IKMAValues* values) {
        const char* name = nullptr;
        IKMABuffer* text = nullptr;
        for (HRESULT hr = values->GetFirstStringValue(&name, &text); Succeeded(hr);
             hr = values->GetNextStringValue(&name, &text)) {
            const char* bytes = reinterpret_cast<const char*>(text->GetBuffer());
            EXPECT_EQ(bytes[text->GetSize() - 1], '\0') << name;
            owned.emplace_back(name, std::string(bytes, text->GetSize() - 1));
            text->Release();
        }
        for (const auto& [n, v] : owned) list.push_back({n, v});
    }
    std::vector<std::pair<std::string, std::string>> owned;
    std::vector<xml::Attribute> list;
};

// Hands every call to an event log, so the events read as the reader's own; the numbers the
// interface passes without meaning must be zero.
class Response final : public IKMAXMLParserResponse {
public:
    xml::testing::EventLog log;
    std::function<void()> onText;
    int refs = 1;

    HRESULT TV_STDCALL QueryInterface(const GUID& iid, void** out) override {
        if (iid == IID_IUnknown || iid == IID_IKMAXMLParserResponse) {
            *out = this;
            AddRef();
            return TV_S_OK;
        }
        *out = nullptr;
        return TV_E_NOINTERFACE;
    }
    tagvera::RefCount TV_STDCALL AddRef() override { return static_cast<tagvera::RefCount>(++refs); }
    tagvera::RefCount TV_STDCALL Release() override { return static_cast<tagvera::RefCount>(--refs); }

    HRESULT TV_STDCALL OnBeginElement(const char* name, IKMAValues* attributes, uint32_t line,
                                      uint32_t column) override {
        return log.startElement(name, Attributes(attributes).list, {line, column});
    }
    HRESULT TV_STDCALL OnEndElement(const char* name, uint32_t a, uint32_t b) override {
        return zeros(a, b, log.endElement(name));
    }
    HRESULT TV_STDCALL OnCharacterData(IKMABuffer* text, uint32_t a, uint32_t b) override {
        if (onText) onText();
        return zeros(a, b, log.characterData({reinterpret_cast<const char*>(text->GetBuffer()), text->GetSize() - 1}));
    }
    HRESULT TV_STDCALL OnProcessingInstruction(const char* target, IKMAValues* attributes, uint32_t a,
                                               uint32_t b) override {
        return zeros(a, b, log.processingInstruction(target, Attributes(attributes).list));
    }
    HRESULT TV_STDCALL OnBeginCDataSection(uint32_t line, uint32_t column) override {
        return log.beginCData({line, column});
    }
    HRESULT TV_STDCALL OnEndCDataSection(uint32_t a, uint32_t b) override { return zeros(a, b, log.endCData()); }
    HRESULT TV_STDCALL OnComment(const char* text, uint32_t a, uint32_t b) override {
        return zeros(a, b, log.comment(text));
    }
    HRESULT TV_STDCALL OnDocumentType(const char* root, const char* systemId, const char* publicId, uint32_t line,
                                      uint32_t column) override {
        return log.documentType(root, systemId, publicId, {line, column});
    }
    HRESULT TV_STDCALL OnEndDocument(uint32_t line, uint32_t column) override {
        return log.endDocument({line, column});
    }

private:
    HRESULT zeros(uint32_t a, uint32_t b, HRESULT hr) {
        EXPECT_EQ(a | b, 0u) << log.events.back();
        return hr;
    }
};

HRESULT Feed(IKMAXMLParser* parser, std::string_view text, bool last) {
    ComPtr<IKMABuffer> buffer;
    EXPECT_EQ(NewBuffer(text.data(), static_cast<uint32_t>(text.size()), buffer.put()), TV_S_OK);
    return parser->Parse(buffer.get(), last);
}

// A parser made through the entry point, its response declared first so that it outlives it.
class KMAXMLParser : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(CreateXMLParser(parser.put()), TV_S_OK); }
    HRESULT Feed(std::string_view text, bool last) { return tagvera::Feed(parser.get(), text, last); }
    std::string ErrorText() {
        ComPtr<IKMABuffer> text;
        return Failed(parser->GetCurrentErrorText(text.put())) ? "(none)" : BufferText(text.get());
    }
    Response response;
    ComPtr<IKMAXMLParser> parser;
};

TEST_F(KMAXMLParser, InterfaceBasics) {
    void* out = nullptr;
    EXPECT_EQ(parser->QueryInterface(IID_IUnknown, &out), TV_S_OK);
    static_cast<IUnknown*>(out)->Release();
    EXPECT_EQ(parser->QueryInterface(IID_IKMAXMLParserResponse, &out), TV_E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(parser->Init(nullptr, nullptr, true), TV_E_POINTER);
    EXPECT_EQ(parser->GetCurrentErrorText(nullptr), TV_E_POINTER);
    EXPECT_EQ(CreateXMLParser(nullptr), TV_E_POINTER);
    // Strict mode keeps no byte index; loose mode leaves the caller's alone.
    uint32_t index = 77;
    parser->Init(&response, nullptr, true);
    EXPECT_EQ(parser->GetCurrentByteIndex(&index), TV_E_NOTIMPL);
    parser->Init(&response, nullptr, false);
    EXPECT_EQ(parser->GetCurrentByteIndex(&index), TV_S_OK);
    EXPECT_EQ(index, 77u);
}

TEST_F(KMAXMLParser, DeliversEveryKindOfEventThroughTheResponse) {
    ASSERT_EQ(parser->Init(&response, nullptr, true), TV_S_OK);
    const std::string doc =
        "<?xml version='1.0'?><!DOCTYPE r SYSTEM 'r.dtd'>\n<r b=\"&lt;2&gt;\" a='1'><!-- note -->"
        "<![CDATA[<x>]]>&amp;<e/></r>";
    EXPECT_EQ(Feed(doc.substr(0, 30), false), TV_S_OK);
    EXPECT_EQ(Feed(doc.substr(30), true), TV_S_OK);
    EXPECT_EQ(response.log.events,
              (Events{"pi xml version=\"1.0\"", "doctype r system=\"r.dtd\" public=\"\" @1:22", "text \"\\x0A\"",
                      "start r @2:1 a=\"1\" b=\"<2>\"", "comment \" note \"", "cdata-begin @2:37", "text \"<x>\"",
                      "cdata-end", "text \"&amp;\"", "start e @2:57", "end e", "end r", "end-document @2:65"}));
    EXPECT_EQ(ErrorText(), "(none)");
}

TEST_F(KMAXMLParser, InitChoosesTheModeAndTheCharacterSet) {
    for (const bool strict : {false, true}) {
        ASSERT_EQ(parser->Init(&response, "US-ASCII", strict), TV_S_OK);
        EXPECT_EQ(Feed("<a><b></B></a>", true), strict ? HRESULT{TV_E_XML_TAGMISMATCH} : HRESULT{TV_S_OK}) << strict;
    }
    // The set named at Init pairs 0xB0 with the "<" after it.
    response.log.events.clear();
    parser->Init(&response, "Big5", true);
    EXPECT_EQ(Feed("<r>\xB0<x/></r>", true), TV_S_OK);
    EXPECT_EQ(response.log.events[1], "text \"\\xB0<x/>\"");
}

TEST_F(KMAXMLParser, ReportsWhereAndWhyItFailed) {
    ASSERT_EQ(parser->Init(&response, nullptr, true), TV_S_OK);
    EXPECT_EQ(Feed("<a>\n  <b>\n  </c>", false), TV_E_XML_TAGMISMATCH);
    uint32_t line = 0, column = 0;
    EXPECT_EQ(parser->GetCurrentLineNumber(&line), TV_S_OK);
    EXPECT_EQ(parser->GetCurrentColumnNumber(&column), TV_S_OK);
    EXPECT_EQ(line, 3u);
    EXPECT_EQ(column, 3u);
    EXPECT_EQ(ErrorText(), "line 3, column 3: end tag </c> does not match the open element <b>");
    // The failure stays.
    EXPECT_EQ(Feed("</b></a>", true), TV_E_XML_TAGMISMATCH);
}

TEST_F(KMAXMLParser, AFailingResponseStopsTheParseWithItsResult) {
    response.log.failOn = "start";
    response.log.failWith = static_cast<HRESULT>(0x80045555u);
    parser->Init(&response, nullptr, true);
    EXPECT_EQ(Feed("<a><b/></a>", true), static_cast<HRESULT>(0x80045555u));
    EXPECT_EQ(response.log.events.size(), 1u);
}

TEST_F(KMAXMLParser, HoldsTheResponseUntilClose) {
    ASSERT_EQ(parser->Init(&response, nullptr, true), TV_S_OK);
    EXPECT_GT(response.refs, 1);
    EXPECT_EQ(parser->Close(), TV_S_OK);
    EXPECT_EQ(response.refs, 1);
    EXPECT_EQ(Feed("<a/>", true), TV_E_FAIL);
    uint32_t line = 0;
    EXPECT_EQ(parser->GetCurrentLineNumber(&line), TV_E_FAIL);
    // Init again after Close starts a new document.
    ASSERT_EQ(parser->Init(&response, nullptr, false), TV_S_OK);
    EXPECT_EQ(Feed("<b/>", true), TV_S_OK);
    parser->GetCurrentLineNumber(&line);
    EXPECT_EQ(line, 1u);
    parser.reset();
    EXPECT_EQ(response.refs, 1);
    EXPECT_EQ(response.log.events, (Events{"start b @1:1", "end b", "end-document @1:5"}));
}

TEST_F(KMAXMLParser, AResponseMayCloseOrReleaseTheParserWhileItReads) {
    IKMAXMLParser* raw = parser.detach();
    raw->Init(&response, nullptr, true);
    response.onText = [&] {
        EXPECT_EQ(raw->Parse(nullptr, true), TV_E_FAIL);  // no reading inside a reading
        raw->Close();
        raw->Release();
    };
    EXPECT_EQ(tagvera::Feed(raw, "<a>x<b/></a>", true), TV_S_OK);
    EXPECT_EQ(response.refs, 1);
}

}  // namespace
}  // namespace tagvera
