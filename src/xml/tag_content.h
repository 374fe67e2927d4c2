// Reads what stands between a tag's delimiters: its name and its items ("name=value" pairs,
// values without a name, and in declarations quoted strings and "[...]" blocks). Quoted values
// have the five predefined entities replaced; every other "&" stays.
#ifndef TAGVERA_XML_TAG_CONTENT_H
#define TAGVERA_XML_TAG_CONTENT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "xml/charset.h"

namespace tagvera::xml {

// A failure inside a token; offset counts bytes from the start of the content given to the parser.
class ContentFault : public Error {
public:
    ContentFault(HRESULT code, const std::string& message, size_t offset) : Error(code, message), offset_(offset) {}
    size_t offset() const { return offset_; }

private:
    size_t offset_;
};

struct TagItem {
    enum class Shape : uint8_t { Word, Quoted, Subset };

    std::string_view name;  // empty when the item has none
    std::string_view value;
    bool named = false;
    Shape shape = Shape::Word;
    size_t offset = 0;  // where the item starts in the content
};

struct ElementTag {
    std::string_view name;
    bool endTag = false;
    size_t nameOffset = 0;
};

// The views it hands out point into the content or into its own scratch space; both stay valid
// until the next call.
class TagContentParser {
public:
    explicit TagContentParser(const Charset& charset) : charset_(&charset) {}
    void setCharset(const Charset& charset) { charset_ = &charset; }

    // Between "<" and ">" (a closing "/" already removed). Items are read for start tags only;
    // quotedOnly rejects unquoted values.
    ElementTag parseElement(std::string_view content, bool quotedOnly, std::vector<TagItem>& items);
    // Between "<?" and "?>": the target, and items as for a loose start tag.
    std::string_view parseProcessingInstruction(std::string_view content, std::vector<TagItem>& items);
    // Between "<!" and ">": the declaration's name and its unnamed items.
    std::string_view parseDeclaration(std::string_view content, std::vector<TagItem>& items);

private:
    enum class Context { Element, ProcessingInstruction, Declaration };

    void parseItems(std::string_view content, size_t pos, Context context, bool quotedOnly,
                    std::vector<TagItem>& items);
    // pos is at an opening quote; returns the decoded value and moves pos past the closing quote.
    std::string_view readQuoted(std::string_view content, size_t& pos, HRESULT failCode);
    std::string_view readSubset(std::string_view content, size_t& pos);
    std::string_view decode(std::string_view raw, size_t contentSize);
    size_t skipSpace(std::string_view content, size_t pos) const;
    // End of a run of characters up to white space or one of stops.
    size_t runEnd(std::string_view content, size_t pos, std::string_view stops) const;
    size_t next(std::string_view content, size_t pos) const {
        return charset_->isLead(static_cast<uint8_t>(content[pos])) && pos + 1 < content.size() ? pos + 2
                                                                                               : pos + 1;
    }

    const Charset* charset_;
    std::string scratch_;
};

inline bool IsXmlSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

}  // namespace tagvera::xml

#endif
