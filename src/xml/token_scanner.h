// Finds where the token at the head of the unread bytes ends: a run of text, a tag, a comment, a
// CDATA section, a processing instruction or a declaration. A token cut by the end of the bytes is
// resumed where the scan stopped, so each byte is looked at once however the input is split.
#ifndef TAGVERA_XML_TOKEN_SCANNER_H
#define TAGVERA_XML_TOKEN_SCANNER_H

#include <cstddef>
#include <cstdint>

#include "xml/charset.h"

namespace tagvera::xml {

enum class TokenKind : uint8_t {
    Text,
    Element,  // start or end tag
    ProcessingInstruction,
    Declaration,
    Comment,
    CData,
};

struct ScannedToken {
    TokenKind kind = TokenKind::Text;
    size_t size = 0;           // bytes, delimiters included
    bool selfClosing = false;  // an element tag whose last character before ">" is "/"
};

class TokenScanner {
public:
    // Scans the token that starts at data[0]. True when it is complete (token filled in); false
    // when more bytes are needed, keeping the progress for the next call with the same start.
    // With last set a text run ends at the end of the data; a tag that does not is never complete.
    bool scan(const uint8_t* data, size_t size, bool last, const Charset& charset, ScannedToken& token);

    // Forgets the token in progress; the next scan starts a new one.
    void reset() { *this = TokenScanner(); }

    // How far the token in progress has been looked at.
    size_t scanned() const { return offset_; }

private:
    bool classify(const uint8_t* data, size_t size, bool last);
    bool scanText(const uint8_t* data, size_t size, bool last, const Charset& charset, ScannedToken& token);
    bool scanTag(const uint8_t* data, size_t size, const Charset& charset, ScannedToken& token);
    bool scanProcessingInstruction(const uint8_t* data, size_t size, const Charset& charset, ScannedToken& token);
    bool scanComment(const uint8_t* data, size_t size, const Charset& charset, ScannedToken& token);
    bool scanCData(const uint8_t* data, size_t size, const Charset& charset, ScannedToken& token);

    bool classified_ = false;
    TokenKind kind_ = TokenKind::Text;
    size_t offset_ = 0;
    // Where the last two-byte character ended, so that its second byte is not taken for "/" or "?".
    size_t pairEnd_ = 0;
    uint8_t quote_ = 0;
    uint64_t depth_ = 0;     // "[" nesting in a declaration, "<!--" nesting in a comment
    size_t lastOpen_ = 0;    // where the innermost "<!--" of a comment began
    uint32_t run_ = 0;       // "-" or "]" just before the current byte
    uint8_t openMatch_ = 0;  // how much of "<!--" has just been seen inside a comment
};

}  // namespace tagvera::xml

#endif
