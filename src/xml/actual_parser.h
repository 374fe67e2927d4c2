// The parser behind KMAXMLParser: the core Reader, with its events turned into calls on an
// IKMAXMLParserResponse (names as NUL-terminated strings, texts in buffers, attributes in value
// lists). KNStrictXMLParser and KNLooseXMLParser choose the mode.
#ifndef TAGVERA_XML_ACTUAL_PARSER_H
#define TAGVERA_XML_ACTUAL_PARSER_H

#include <cstdint>
#include <memory>
#include <string>

#include "tagvera/com_ptr.h"
#include "tagvera/xml.h"
#include "xml/reader.h"

namespace tagvera {

class KNActualXMLParser : private xml::Handler {
public:
    virtual ~KNActualXMLParser();

    // Starts a document; a null or empty encoding means "US-ASCII".
    virtual HRESULT Init(IKMAXMLParserResponse* response, const char* encoding);
    virtual HRESULT Parse(const uint8_t* data, uint32_t size, bool last);
    virtual HRESULT GetCurrentLineNumber(uint32_t* line);
    virtual HRESULT GetCurrentColumnNumber(uint32_t* column);
    virtual HRESULT GetCurrentByteIndex(uint32_t* index) = 0;
    virtual HRESULT GetCurrentErrorText(IKMABuffer** text);

    bool strict() const { return options_.strict; }

protected:
    explicit KNActualXMLParser(const xml::ReaderOptions& options) : options_(options) {}

private:
    HRESULT startElement(std::string_view name, std::span<const xml::Attribute> attributes,
                         xml::Position at) override;
    HRESULT endElement(std::string_view name) override;
    HRESULT characterData(std::string_view text) override;
    HRESULT processingInstruction(std::string_view target, std::span<const xml::Attribute> attributes) override;
    HRESULT beginCData(xml::Position at) override;
    HRESULT endCData() override;
    HRESULT comment(std::string_view text) override;
    HRESULT documentType(std::string_view root, std::string_view systemId, std::string_view publicId,
                         xml::Position at) override;
    HRESULT endDocument(xml::Position at) override;

    HRESULT makeValues(std::span<const xml::Attribute> attributes, ComPtr<IKMAValues>& values);
    // A NUL-terminated copy that lives until the next call with the same slot.
    const char* terminated(std::string& slot, std::string_view text);

    xml::ReaderOptions options_;
    ComPtr<IKMAXMLParserResponse> response_;
    std::unique_ptr<xml::Reader> reader_;
    std::string name_;
    std::string second_;
    std::string third_;
};

class KNStrictXMLParser final : public KNActualXMLParser {
public:
    KNStrictXMLParser();
    HRESULT GetCurrentByteIndex(uint32_t* index) override;
};

class KNLooseXMLParser final : public KNActualXMLParser {
public:
    KNLooseXMLParser();
    HRESULT GetCurrentByteIndex(uint32_t* index) override;
};

}  // namespace tagvera

#endif
