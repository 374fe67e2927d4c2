#include "xml/kma_xml_parser.h"

#include <new>

#include "base/error.h"

namespace tagvera {

KMAXMLParser::KMAXMLParser() = default;
KMAXMLParser::~KMAXMLParser() = default;

HRESULT KMAXMLParser::InternalQueryInterface(const GUID& iid, void** out) {
    if (!out) return TV_E_POINTER;
    if (iid == IID_IUnknown) return Hand(static_cast<CUnknownIMP*>(this), out);
    if (iid == IID_IKMAXMLParser) return Hand(static_cast<IKMAXMLParser*>(this), out);
    return NoInterface(out);
}

HRESULT KMAXMLParser::Init(IKMAXMLParserResponse* response, const char* encoding, bool strict) {
    if (parsing_) return TV_E_FAIL;
    return Guard([&]() -> HRESULT {
        if (!response) return TV_E_POINTER;
        std::unique_ptr<KNActualXMLParser> parser;
        if (strict) {
            parser = std::make_unique<KNStrictXMLParser>();
        } else {
            parser = std::make_unique<KNLooseXMLParser>();
        }
        const HRESULT hr = parser->Init(response, encoding);
        if (Failed(hr)) return hr;
        parser_ = std::move(parser);
        response_ = ComPtr<IKMAXMLParserResponse>::Share(response);
        closeRequested_ = false;
        return TV_S_OK;
    });
}

HRESULT KMAXMLParser::Close() {
    if (parsing_) {
        closeRequested_ = true;
        return TV_S_OK;
    }
    parser_.reset();
    response_.reset();
    return TV_S_OK;
}

HRESULT KMAXMLParser::Parse(IKMABuffer* data, bool last) {
    if (parsing_) return TV_E_FAIL;
    if (!parser_) return TV_E_FAIL;
    uint8_t* bytes = nullptr;
    uint32_t size = 0;
    if (data) {
        const HRESULT hr = data->Get(&bytes, &size);
        if (Failed(hr)) return hr;
        if (!bytes) size = 0;
    }
    // Held for the call, so a response that drops the last reference does not end the object
    // while it is still reading.
    AddRef();
    parsing_ = true;
    const HRESULT hr = parser_->Parse(bytes, size, last);
    parsing_ = false;
    if (closeRequested_) {
        closeRequested_ = false;
        Close();
    }
    Release();
    return hr;
}

HRESULT KMAXMLParser::GetCurrentLineNumber(uint32_t* line) {
    if (!line) return TV_E_POINTER;
    return parser_ ? parser_->GetCurrentLineNumber(line) : TV_E_FAIL;
}

HRESULT KMAXMLParser::GetCurrentColumnNumber(uint32_t* column) {
    if (!column) return TV_E_POINTER;
    return parser_ ? parser_->GetCurrentColumnNumber(column) : TV_E_FAIL;
}

HRESULT KMAXMLParser::GetCurrentByteIndex(uint32_t* index) {
    return parser_ ? parser_->GetCurrentByteIndex(index) : TV_E_FAIL;
}

HRESULT KMAXMLParser::GetCurrentErrorText(IKMABuffer** text) {
    if (!text) return TV_E_POINTER;
    *text = nullptr;
    return parser_ ? parser_->GetCurrentErrorText(text) : TV_E_FAIL;
}

HRESULT CreateXMLParser(IKMAXMLParser** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    auto* parser = new (std::nothrow) KMAXMLParser();
    if (!parser) return TV_E_OUTOFMEMORY;
    return parser->QueryInterface(IID_IKMAXMLParser, reinterpret_cast<void**>(out));
}

}  // namespace tagvera
