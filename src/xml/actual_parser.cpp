#include "xml/actual_parser.h"

#include <algorithm>
#include <limits>

#include "base/error.h"
#include "component/value_objects.h"

namespace tagvera {

namespace {

uint32_t Clamp(uint64_t n) { return static_cast<uint32_t>(std::min<uint64_t>(n, std::numeric_limits<uint32_t>::max())); }

xml::ReaderOptions ModeOptions(bool strict) {
    xml::ReaderOptions options;
    options.strict = strict;
    return options;
}

}  // namespace

KNActualXMLParser::~KNActualXMLParser() = default;

HRESULT KNActualXMLParser::Init(IKMAXMLParserResponse* response, const char* encoding) {
    return Guard([&]() -> HRESULT {
        if (!response) return TV_E_POINTER;
        xml::Handler& handler = *this;
        reader_ = std::make_unique<xml::Reader>(handler, encoding ? std::string_view(encoding) : std::string_view(),
                                                options_);
        response_ = ComPtr<IKMAXMLParserResponse>::Share(response);
        return TV_S_OK;
    });
}

HRESULT KNActualXMLParser::Parse(const uint8_t* data, uint32_t size, bool last) {
    return Guard([&]() -> HRESULT {
        if (!reader_) return TV_E_FAIL;
        reader_->feed(data, size, last);
        return TV_S_OK;
    });
}

HRESULT KNActualXMLParser::GetCurrentLineNumber(uint32_t* line) {
    if (!line) return TV_E_POINTER;
    if (!reader_) return TV_E_FAIL;
    *line = Clamp(reader_->position().line);
    return TV_S_OK;
}

HRESULT KNActualXMLParser::GetCurrentColumnNumber(uint32_t* column) {
    if (!column) return TV_E_POINTER;
    if (!reader_) return TV_E_FAIL;
    *column = Clamp(reader_->position().column);
    return TV_S_OK;
}

HRESULT KNActualXMLParser::GetCurrentErrorText(IKMABuffer** text) {
    if (!text) return TV_E_POINTER;
    *text = nullptr;
    if (!reader_ || !reader_->failed()) return TV_E_FAIL;
    return NewTextBuffer(reader_->failureText(), text);
}

const char* KNActualXMLParser::terminated(std::string& slot, std::string_view text) {
    slot.assign(text);
    return slot.c_str();
}

HRESULT KNActualXMLParser::makeValues(std::span<const xml::Attribute> attributes, ComPtr<IKMAValues>& values) {
    HRESULT hr = NewValueList(values.put());
    if (Failed(hr)) return hr;
    for (const xml::Attribute& attribute : attributes) {
        ComPtr<IKMABuffer> text;
        hr = NewTextBuffer(attribute.value, text.put());
        if (Failed(hr)) return hr;
        hr = values->SetStringValue(terminated(second_, attribute.name), text.get());
        if (Failed(hr)) return hr;
    }
    return TV_S_OK;
}

HRESULT KNActualXMLParser::startElement(std::string_view name, std::span<const xml::Attribute> attributes,
                                        xml::Position at) {
    ComPtr<IKMAValues> values;
    const HRESULT hr = makeValues(attributes, values);
    if (Failed(hr)) return hr;
    return response_->OnBeginElement(terminated(name_, name), values.get(), Clamp(at.line), Clamp(at.column));
}

HRESULT KNActualXMLParser::endElement(std::string_view name) {
    return response_->OnEndElement(terminated(name_, name), 0, 0);
}

HRESULT KNActualXMLParser::characterData(std::string_view text) {
    ComPtr<IKMABuffer> buffer;
    const HRESULT hr = NewTextBuffer(text, buffer.put());
    if (Failed(hr)) return hr;
    return response_->OnCharacterData(buffer.get(), 0, 0);
}

HRESULT KNActualXMLParser::processingInstruction(std::string_view target,
                                                 std::span<const xml::Attribute> attributes) {
    ComPtr<IKMAValues> values;
    const HRESULT hr = makeValues(attributes, values);
    if (Failed(hr)) return hr;
    return response_->OnProcessingInstruction(terminated(name_, target), values.get(), 0, 0);
}

HRESULT KNActualXMLParser::beginCData(xml::Position at) {
    return response_->OnBeginCDataSection(Clamp(at.line), Clamp(at.column));
}

HRESULT KNActualXMLParser::endCData() { return response_->OnEndCDataSection(0, 0); }

HRESULT KNActualXMLParser::comment(std::string_view text) {
    return response_->OnComment(terminated(name_, text), 0, 0);
}

HRESULT KNActualXMLParser::documentType(std::string_view root, std::string_view systemId,
                                        std::string_view publicId, xml::Position at) {
    return response_->OnDocumentType(terminated(name_, root), terminated(second_, systemId),
                                     terminated(third_, publicId), Clamp(at.line), Clamp(at.column));
}

HRESULT KNActualXMLParser::endDocument(xml::Position at) {
    return response_->OnEndDocument(Clamp(at.line), Clamp(at.column));
}

KNStrictXMLParser::KNStrictXMLParser() : KNActualXMLParser(ModeOptions(true)) {}

// Byte offsets are not kept.
HRESULT KNStrictXMLParser::GetCurrentByteIndex(uint32_t*) { return TV_E_NOTIMPL; }

KNLooseXMLParser::KNLooseXMLParser() : KNActualXMLParser(ModeOptions(false)) {}

// Loose callers get success and no value: byte offsets are not kept.
HRESULT KNLooseXMLParser::GetCurrentByteIndex(uint32_t*) { return TV_S_OK; }

}  // namespace tagvera
