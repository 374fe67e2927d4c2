// KMAXMLParser: the package's IKMAXMLParser object. The property tree's XML reader makes one with
// CreateXMLParser, initialises it with its response, feeds the document and releases it.
#ifndef TAGVERA_XML_KMA_XML_PARSER_H
#define TAGVERA_XML_KMA_XML_PARSER_H

#include <memory>

#include "component/unknown.h"
#include "tagvera/com_ptr.h"
#include "tagvera/xml.h"
#include "xml/actual_parser.h"

namespace tagvera {

class KMAXMLParser final : public CUnknownIMP, public IKMAXMLParser {
public:
    KMAXMLParser();
    ~KMAXMLParser() override;

    TV_IMPLEMENT_IUNKNOWN
    HRESULT InternalQueryInterface(const GUID& iid, void** out) override;

    HRESULT TV_STDCALL Init(IKMAXMLParserResponse* response, const char* encoding, bool strict) override;
    HRESULT TV_STDCALL Close() override;
    HRESULT TV_STDCALL Parse(IKMABuffer* data, bool last) override;
    HRESULT TV_STDCALL GetCurrentLineNumber(uint32_t* line) override;
    HRESULT TV_STDCALL GetCurrentColumnNumber(uint32_t* column) override;
    HRESULT TV_STDCALL GetCurrentByteIndex(uint32_t* index) override;
    HRESULT TV_STDCALL GetCurrentErrorText(IKMABuffer** text) override;

private:
    ComPtr<IKMAXMLParserResponse> response_;
    std::unique_ptr<KNActualXMLParser> parser_;
    // A response may call back into the parser; the document must not go away under the reader.
    bool parsing_ = false;
    bool closeRequested_ = false;
};

// A new parser with one reference; Init it before feeding.
HRESULT CreateXMLParser(IKMAXMLParser** out);

}  // namespace tagvera

#endif
