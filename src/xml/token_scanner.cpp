#include "xml/token_scanner.h"

#include <algorithm>
#include <cstring>

namespace tagvera::xml {

namespace {

constexpr char kCommentOpen[] = "<!--";
constexpr char kCDataOpen[] = "<![CDATA[";

// The data so far agrees with the start of text (possibly all of it).
bool AgreesWith(const uint8_t* data, size_t size, const char* text, size_t length) {
    return std::memcmp(data, text, std::min(size, length)) == 0;
}

}  // namespace

bool TokenScanner::classify(const uint8_t* data, size_t size, bool last) {
    if (data[0] != '<') {
        kind_ = TokenKind::Text;
        offset_ = 0;
    } else if (size < 2) {
        if (!last) return false;
        kind_ = TokenKind::Element;
        offset_ = 1;
    } else if (data[1] == '?') {
        kind_ = TokenKind::ProcessingInstruction;
        offset_ = 2;
    } else if (data[1] == '!') {
        const size_t commentLength = sizeof kCommentOpen - 1;
        const size_t cdataLength = sizeof kCDataOpen - 1;
        if (AgreesWith(data, size, kCommentOpen, commentLength)) {
            if (size < commentLength && !last) return false;
            if (size >= commentLength) {
                kind_ = TokenKind::Comment;
                offset_ = commentLength;
                depth_ = 1;
                run_ = 2;
                classified_ = true;
                return true;
            }
        } else if (AgreesWith(data, size, kCDataOpen, cdataLength)) {
            if (size < cdataLength && !last) return false;
            if (size >= cdataLength) {
                kind_ = TokenKind::CData;
                offset_ = cdataLength;
                classified_ = true;
                return true;
            }
        }
        kind_ = TokenKind::Declaration;
        offset_ = 2;
    } else {
        kind_ = TokenKind::Element;
        offset_ = 1;
    }
    classified_ = true;
    return true;
}

bool TokenScanner::scan(const uint8_t* data, size_t size, bool last, const Charset& charset,
                        ScannedToken& token) {
    if (size == 0) return false;
    if (!classified_ && !classify(data, size, last)) return false;
    token.kind = kind_;
    token.selfClosing = false;
    switch (kind_) {
    case TokenKind::Text:
        return scanText(data, size, last, charset, token);
    case TokenKind::Element:
    case TokenKind::Declaration:
        return scanTag(data, size, charset, token);
    case TokenKind::ProcessingInstruction:
        return scanProcessingInstruction(data, size, charset, token);
    case TokenKind::Comment:
        return scanComment(data, size, charset, token);
    case TokenKind::CData:
        return scanCData(data, size, charset, token);
    }
    return false;
}

bool TokenScanner::scanText(const uint8_t* data, size_t size, bool last, const Charset& charset,
                            ScannedToken& token) {
    size_t i = offset_;
    if (charset.singleByte()) {
        const void* open = std::memchr(data + i, '<', size - i);
        if (open) {
            token.size = static_cast<size_t>(static_cast<const uint8_t*>(open) - data);
            return true;
        }
        i = size;
    } else {
        while (i < size) {
            const uint8_t b = data[i];
            if (b == '<') {
                token.size = i;
                return true;
            }
            if (!charset.isLead(b)) {
                ++i;
            } else if (i + 1 < size) {
                i += 2;
            } else if (last) {
                ++i;  // a lead byte that ends the document stands alone
            } else {
                break;
            }
        }
    }
    offset_ = i;
    if (last && i == size) {
        token.size = size;
        return true;
    }
    return false;
}

bool TokenScanner::scanTag(const uint8_t* data, size_t size, const Charset& charset, ScannedToken& token) {
    const bool declaration = kind_ == TokenKind::Declaration;
    const bool singleByte = charset.singleByte();
    size_t i = offset_;
    while (i < size) {
        if (quote_) {
            if (singleByte) {
                const void* close = std::memchr(data + i, quote_, size - i);
                if (!close) {
                    i = size;
                    break;
                }
                i = static_cast<size_t>(static_cast<const uint8_t*>(close) - data) + 1;
                quote_ = 0;
                continue;
            }
            const uint8_t b = data[i];
            if (b == quote_) {
                quote_ = 0;
                ++i;
            } else if (!charset.isLead(b)) {
                ++i;
            } else if (i + 1 < size) {
                i += 2;
                pairEnd_ = i;
            } else {
                break;
            }
            continue;
        }
        const uint8_t b = data[i];
        if (charset.isLead(b)) {
            if (i + 1 >= size) break;
            i += 2;
            pairEnd_ = i;
            continue;
        }
        switch (b) {
        case '"':
        case '\'':
            quote_ = b;
            break;
        case '[':
            if (declaration) ++depth_;
            break;
        case ']':
            if (declaration && depth_ > 0) --depth_;
            break;
        case '>':
            if (depth_ == 0) {
                token.size = i + 1;
                token.selfClosing = kind_ == TokenKind::Element && i >= 2 && data[i - 1] == '/' && pairEnd_ != i;
                return true;
            }
            break;
        default:
            break;
        }
        ++i;
    }
    offset_ = i;
    return false;
}

bool TokenScanner::scanProcessingInstruction(const uint8_t* data, size_t size, const Charset& charset,
                                             ScannedToken& token) {
    size_t i = offset_;
    while (i < size) {
        const uint8_t b = data[i];
        if (charset.isLead(b)) {
            if (i + 1 >= size) break;
            i += 2;
            pairEnd_ = i;
            continue;
        }
        // The "?" of "<?" does not end it: "<?>" is still open.
        if (b == '>' && i >= 3 && data[i - 1] == '?' && pairEnd_ != i) {
            token.size = i + 1;
            return true;
        }
        ++i;
    }
    offset_ = i;
    return false;
}

bool TokenScanner::scanComment(const uint8_t* data, size_t size, const Charset& charset, ScannedToken& token) {
    size_t i = offset_;
    while (i < size) {
        const uint8_t b = data[i];
        if (charset.isLead(b)) {
            if (i + 1 >= size) break;
            i += 2;
            run_ = 0;
            openMatch_ = 0;
            continue;
        }
        // A comment end needs "--" before its ">" and at least "<!--" plus two dashes before that.
        if (b == '>' && run_ >= 2 && i >= lastOpen_ + 6) {
            if (--depth_ == 0) {
                token.size = i + 1;
                return true;
            }
        }
        if (b == '-' && openMatch_ == 3) {
            ++depth_;
            lastOpen_ = i - 3;
            openMatch_ = 0;
        } else if (b == '<') {
            openMatch_ = 1;
        } else if ((b == '!' && openMatch_ == 1) || (b == '-' && openMatch_ == 2)) {
            ++openMatch_;
        } else {
            openMatch_ = 0;
        }
        run_ = b == '-' ? run_ + 1 : 0;
        ++i;
    }
    offset_ = i;
    return false;
}

bool TokenScanner::scanCData(const uint8_t* data, size_t size, const Charset& charset, ScannedToken& token) {
    size_t i = offset_;
    while (i < size) {
        const uint8_t b = data[i];
        if (charset.isLead(b)) {
            if (i + 1 >= size) break;
            i += 2;
            run_ = 0;
            continue;
        }
        if (b == '>' && run_ >= 2) {
            token.size = i + 1;
            return true;
        }
        run_ = b == ']' ? run_ + 1 : 0;
        ++i;
    }
    offset_ = i;
    return false;
}

}  // namespace tagvera::xml
