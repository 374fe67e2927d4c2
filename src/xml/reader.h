// The parser core: fed bytes in pieces, it tokenizes them and reports each start tag, end tag, run
// of text, comment, CDATA section, processing instruction and document type to a Handler. Any
// split of the same document gives the same calls. Failures are thrown as tagvera::Error and stay:
// every later feed throws the same one.
#ifndef TAGVERA_XML_READER_H
#define TAGVERA_XML_READER_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tagvera/abi.h"
#include "xml/byte_queue.h"
#include "xml/charset.h"
#include "xml/tag_content.h"
#include "xml/text_position.h"
#include "xml/token_scanner.h"

namespace tagvera::xml {

struct Attribute {
    std::string_view name;
    std::string_view value;  // quoted values with the predefined entities replaced
};

// Views handed to a call are valid during that call only. A failing result stops the parse with it.
class Handler {
public:
    virtual HRESULT startElement(std::string_view name, std::span<const Attribute> attributes, Position at) {
        return TV_S_OK;
    }
    virtual HRESULT endElement(std::string_view name) { return TV_S_OK; }
    // Text as written, or the content of a CDATA section.
    virtual HRESULT characterData(std::string_view text) { return TV_S_OK; }
    virtual HRESULT processingInstruction(std::string_view target, std::span<const Attribute> attributes) {
        return TV_S_OK;
    }
    virtual HRESULT beginCData(Position at) { return TV_S_OK; }
    virtual HRESULT endCData() { return TV_S_OK; }
    virtual HRESULT comment(std::string_view text) { return TV_S_OK; }
    // Strict mode only; ids not given are empty.
    virtual HRESULT documentType(std::string_view root, std::string_view systemId, std::string_view publicId,
                                 Position at) {
        return TV_S_OK;
    }
    virtual HRESULT endDocument(Position at) { return TV_S_OK; }

protected:
    ~Handler() = default;
};

struct ReaderOptions {
    // Strict: attribute values quoted, end tags matched exactly, no duplicate attributes, every
    // element closed by the end, document types reported.
    bool strict = true;
    uint32_t maxDepth = 4096;
    // No single tag, text run, comment or other token may be longer.
    size_t maxTokenSize = size_t{64} << 20;
};

class Reader {
public:
    // An empty encoding name means "US-ASCII"; a declaration at the head of the document wins.
    Reader(Handler& handler, std::string_view encoding, ReaderOptions options = {});
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    void feed(const uint8_t* data, size_t size, bool last);
    void feed(std::string_view text, bool last) {
        feed(reinterpret_cast<const uint8_t*>(text.data()), text.size(), last);
    }

    // Where the next byte to read stands; after a failure, where the fault is.
    Position position() const { return failed_ ? failurePosition_ : position_; }
    const Charset& charset() const { return charset_; }
    bool strict() const { return options_.strict; }
    size_t depth() const { return openOffsets_.size(); }
    bool finished() const { return finished_; }
    bool failed() const { return failed_; }
    HRESULT failureCode() const { return failureCode_; }
    // "line L, column C: what went wrong"; empty unless failed.
    const std::string& failureText() const { return failureText_; }

private:
    void feedUnguarded(const uint8_t* data, size_t size, bool last);
    bool readHead(bool last);
    size_t consume(const uint8_t* data, size_t size, bool last);
    void dispatch(const uint8_t* data, const ScannedToken& token);
    void onElement(const uint8_t* data, const ScannedToken& token);
    void onProcessingInstruction(const uint8_t* data, const ScannedToken& token);
    void onDeclaration(const uint8_t* data, const ScannedToken& token);
    void checkDuplicates(const uint8_t* data, size_t contentOffset);
    void finish(bool insideTag);
    void call(HRESULT result);
    [[noreturn]] void fail(HRESULT code, const std::string& message, Position at);
    [[noreturn]] void failInToken(const uint8_t* token, size_t offset, HRESULT code, const std::string& message);
    void collectAttributes();
    std::string_view openName(size_t index) const;

    Handler& handler_;
    ReaderOptions options_;
    Charset charset_;
    ByteQueue queue_;
    TokenScanner scanner_;
    TagContentParser tags_;
    Position position_;
    bool headRead_ = false;
    bool finished_ = false;

    // Names of the open elements, back to back.
    std::string openNames_;
    std::vector<size_t> openOffsets_;

    std::vector<TagItem> items_;
    std::vector<Attribute> attributes_;
    std::vector<size_t> duplicateOrder_;

    bool failed_ = false;
    HRESULT failureCode_ = TV_S_OK;
    std::string failureText_;
    Position failurePosition_;
};

}  // namespace tagvera::xml

#endif
