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
using xml::testing::Escaped;

std::string Attributes(IKMAValues* values) {
    std::string out;
    const char* name = nullptr;
    IKMABuffer* text = nullptr;
    for (HRESULT hr = values->GetFirstStringValue(&name, &text); Succeeded(hr);
         hr = values->GetNextStringValue(&name, &text)) {
        // The buffer holds the value and its NUL.
        const uint32_t size = text->GetSize();
        const char* bytes = reinterpret_cast<const char*>(text->GetBuffer());
        out += " " + std::string(name) + "=\"" + Escaped(std::string_view(bytes, size - 1)) + "\"";
        if (bytes[size - 1] != '\0') out += "(no NUL)";
        text->Release();
    }
    return out;
}

// Records every call; slots a test wants to fail are named in failOn.
class Response final : public IKMAXMLParserResponse {
public:
    Events events;
    std::string failOn;
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
    uint32_t TV_STDCALL AddRef() override { return static_cast<uint32_t>(++refs); }
    uint32_t TV_STDCALL Release() override { return static_cast<uint32_t>(--refs); }

    HRESULT TV_STDCALL OnBeginElement(const char* name, IKMAValues* attributes, uint32_t line,
                                      uint32_t column) override {
        return add("start", "start " + std::string(name) + " @" + std::to_string(line) + ":" +
                                std::to_string(column) + Attributes(attributes));
    }
    HRESULT TV_STDCALL OnEndElement(const char* name, uint32_t a, uint32_t b) override {
        return add("end", "end " + std::string(name) + zeros(a, b));
    }
    HRESULT TV_STDCALL OnCharacterData(IKMABuffer* text, uint32_t a, uint32_t b) override {
        if (onText) onText();
        const uint32_t size = text->GetSize();
        const char* bytes = reinterpret_cast<const char*>(text->GetBuffer());
        return add("text", "text \"" + Escaped(std::string_view(bytes, size - 1)) + "\"" + zeros(a, b));
    }
    HRESULT TV_STDCALL OnProcessingInstruction(const char* target, IKMAValues* attributes, uint32_t a,
                                               uint32_t b) override {
        return add("pi", "pi " + std::string(target) + Attributes(attributes) + zeros(a, b));
    }
    HRESULT TV_STDCALL OnBeginCDataSection(uint32_t line, uint32_t column) override {
        return add("cdata", "cdata-begin @" + std::to_string(line) + ":" + std::to_string(column));
    }
    HRESULT TV_STDCALL OnEndCDataSection(uint32_t a, uint32_t b) override { return add("cdata", "cdata-end" + zeros(a, b)); }
    HRESULT TV_STDCALL OnComment(const char* text, uint32_t a, uint32_t b) override {
        return add("comment", "comment \"" + std::string(text) + "\"" + zeros(a, b));
    }
    HRESULT TV_STDCALL OnDocumentType(const char* root, const char* systemId, const char* publicId, uint32_t line,
                                      uint32_t column) override {
        return add("doctype", "doctype " + std::string(root) + " \"" + systemId + "\" \"" + publicId + "\" @" +
                                  std::to_string(line) + ":" + std::to_string(column));
    }
    HRESULT TV_STDCALL OnEndDocument(uint32_t line, uint32_t column) override {
        return add("end-document", "end-document @" + std::to_string(line) + ":" + std::to_string(column));
    }

private:
    static std::string zeros(uint32_t a, uint32_t b) { return a || b ? " (numbers not 0)" : ""; }
    HRESULT add(const char* kind, std::string line) {
        events.push_back(std::move(line));
        return failOn == kind ? static_cast<HRESULT>(0x80045555u) : TV_S_OK;
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
    EXPECT_EQ(response.events,
              (Events{"pi xml version=\"1.0\"", "doctype r \"r.dtd\" \"\" @1:22", "text \"\\x0A\"",
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
    response.events.clear();
    parser->Init(&response, "Big5", true);
    EXPECT_EQ(Feed("<r>\xB0<x/></r>", true), TV_S_OK);
    EXPECT_EQ(response.events[1], "text \"\\xB0<x/>\"");
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

TEST_F(KMAXMLParser, ATagCutByAPieceWaitsAndTheLastPieceEndsIt) {
    parser->Init(&response, nullptr, true);
    EXPECT_EQ(Feed("<r><a x='1", false), TV_S_OK);
    uint32_t column = 0;
    parser->GetCurrentColumnNumber(&column);
    EXPECT_EQ(column, 4u);
    EXPECT_EQ(Feed("'", true), TV_E_XML_UNTERMINATEDTAG);
    EXPECT_EQ(response.events, (Events{"start r @1:1"}));
}

TEST_F(KMAXMLParser, AFailingResponseStopsTheParseWithItsResult) {
    response.failOn = "start";
    parser->Init(&response, nullptr, true);
    EXPECT_EQ(Feed("<a><b/></a>", true), static_cast<HRESULT>(0x80045555u));
    EXPECT_EQ(response.events.size(), 1u);
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
    EXPECT_EQ(response.events, (Events{"start b @1:1", "end b", "end-document @1:5"}));
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
