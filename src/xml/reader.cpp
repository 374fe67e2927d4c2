#include "xml/reader.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

#include "tagvera/xml.h"
#include "xml/encoding_declaration.h"

namespace tagvera::xml {

namespace {

constexpr uint8_t kUtf8Bom[] = {0xEF, 0xBB, 0xBF};
// Few attributes are compared pairwise; more are sorted, so a hostile tag costs n log n.
constexpr size_t kPairwiseDuplicateLimit = 8;
// Names quoted in messages are cut, so a huge name cannot make a huge message.
constexpr size_t kQuotedNameLimit = 64;

std::string Quote(std::string_view name) {
    if (name.size() <= kQuotedNameLimit) return std::string(name);
    return std::string(name.substr(0, kQuotedNameLimit)) + "...";
}

std::string_view Chars(const uint8_t* data, size_t begin, size_t end) {
    return std::string_view(reinterpret_cast<const char*>(data) + begin, end - begin);
}

}  // namespace

Reader::Reader(Handler& handler, std::string_view encoding, ReaderOptions options)
    : handler_(handler),
      options_(options),
      charset_(encoding.empty() ? Charset() : Charset::ForName(encoding)),
      tags_(charset_) {}

void Reader::feed(const uint8_t* data, size_t size, bool last) {
    if (failed_) throw Error(failureCode_, failureText_);
    if (finished_) throw Error(TV_E_FAIL, "the document has already ended");
    if (size && !data) throw Error(TV_E_POINTER, "no data");
    try {
        feedUnguarded(data, size, last);
    } catch (const Error& e) {
        if (!failed_) fail(e.code(), e.what(), position_);
        throw;
    } catch (const std::bad_alloc&) {
        if (!failed_) fail(TV_E_OUTOFMEMORY, "out of memory", position_);
        throw;
    }
}

void Reader::feedUnguarded(const uint8_t* data, size_t size, bool last) {
    // A piece that starts on a token boundary is read where it lies; only its unfinished tail is
    // copied, so a whole document is never copied at all.
    if (queue_.empty() && headRead_) {
        const size_t used = consume(data, size, last);
        if (last) {
            finish(used < size);
        } else {
            queue_.append(data + used, size - used);
        }
        return;
    }
    queue_.append(data, size);
    if (!headRead_ && !readHead(last)) return;
    queue_.consume(consume(queue_.data(), queue_.size(), last));
    if (last) finish(!queue_.empty());
}

bool Reader::readHead(bool last) {
    const size_t have = queue_.size();
    if (have < sizeof kUtf8Bom && !last && std::memcmp(queue_.data(), kUtf8Bom, have) == 0) return false;
    DeclaredEncoding declared;
    const bool bom = have >= sizeof kUtf8Bom && std::memcmp(queue_.data(), kUtf8Bom, sizeof kUtf8Bom) == 0;
    const size_t start = bom ? sizeof kUtf8Bom : 0;
    declared = FindDeclaredEncoding(std::span<const uint8_t>(queue_.data() + start, have - start), last);
    if (declared.status == DeclarationStatus::NeedMore) return false;
    // The byte order mark says UTF-8 and is not part of the text.
    if (bom) {
        queue_.consume(sizeof kUtf8Bom);
        charset_ = Charset::ForName("UTF-8");
    }
    if (declared.status == DeclarationStatus::Found) {
        const Charset named = Charset::ForName(declared.name);
        if (!named.sameAs(charset_)) charset_ = named;
    }
    headRead_ = true;
    return true;
}

size_t Reader::consume(const uint8_t* data, size_t size, bool last) {
    size_t used = 0;
    while (used < size) {
        ScannedToken token;
        if (!scanner_.scan(data + used, size - used, last, charset_, token)) {
            if (scanner_.scanned() > options_.maxTokenSize)
                fail(TV_E_XML_LIMIT, "a token longer than " + std::to_string(options_.maxTokenSize) + " bytes",
                     position_);
            break;
        }
        if (token.size > options_.maxTokenSize)
            fail(TV_E_XML_LIMIT, "a token longer than " + std::to_string(options_.maxTokenSize) + " bytes",
                 position_);
        dispatch(data + used, token);
        AdvancePosition(position_, data + used, token.size, charset_);
        used += token.size;
        scanner_.reset();
    }
    return used;
}

void Reader::dispatch(const uint8_t* data, const ScannedToken& token) {
    switch (token.kind) {
    case TokenKind::Text:
        call(handler_.characterData(Chars(data, 0, token.size)));
        return;
    case TokenKind::Comment:
        call(handler_.comment(Chars(data, 4, std::max<size_t>(token.size - 3, 4))));
        return;
    case TokenKind::CData:
        call(handler_.beginCData(position_));
        if (token.size > 12) call(handler_.characterData(Chars(data, 9, token.size - 3)));
        call(handler_.endCData());
        return;
    case TokenKind::ProcessingInstruction:
        onProcessingInstruction(data, token);
        return;
    case TokenKind::Declaration:
        onDeclaration(data, token);
        return;
    case TokenKind::Element:
        onElement(data, token);
        return;
    }
}

void Reader::collectAttributes() {
    attributes_.clear();
    for (const TagItem& item : items_)
        if (item.named) attributes_.push_back(Attribute{item.name, item.value});
}

std::string_view Reader::openName(size_t index) const {
    const size_t begin = openOffsets_[index];
    const size_t end = index + 1 < openOffsets_.size() ? openOffsets_[index + 1] : openNames_.size();
    return std::string_view(openNames_).substr(begin, end - begin);
}

void Reader::onElement(const uint8_t* data, const ScannedToken& token) {
    const size_t contentOffset = 1;
    const size_t contentEnd = token.size - 1 - (token.selfClosing ? 1 : 0);
    ElementTag tag;
    try {
        tag = tags_.parseElement(Chars(data, contentOffset, contentEnd), options_.strict, items_);
    } catch (const ContentFault& fault) {
        failInToken(data, contentOffset + fault.offset(), fault.code(), fault.what());
    }
    if (tag.endTag) {
        if (openOffsets_.empty())
            failInToken(data, 0, TV_E_XML_TAGMISMATCH, "end tag </" + Quote(tag.name) + "> with no element open");
        const std::string_view open = openName(openOffsets_.size() - 1);
        const bool match = options_.strict ? open == tag.name : EqualNamesNoCase(open, tag.name, charset_);
        if (!match)
            failInToken(data, 0, TV_E_XML_TAGMISMATCH,
                        "end tag </" + Quote(tag.name) + "> does not match the open element <" + Quote(open) + ">");
        call(handler_.endElement(tag.name));
        openNames_.resize(openOffsets_.back());
        openOffsets_.pop_back();
        return;
    }
    if (!token.selfClosing && openOffsets_.size() >= options_.maxDepth)
        failInToken(data, 0, TV_E_XML_LIMIT,
                    "elements nested deeper than " + std::to_string(options_.maxDepth) + " levels");
    collectAttributes();
    if (options_.strict && attributes_.size() > 1) checkDuplicates(data, contentOffset);
    call(handler_.startElement(tag.name, attributes_, position_));
    if (token.selfClosing) {
        call(handler_.endElement(tag.name));
        return;
    }
    openOffsets_.push_back(openNames_.size());
    openNames_.append(tag.name);
}

void Reader::checkDuplicates(const uint8_t* data, size_t contentOffset) {
    const size_t n = attributes_.size();
    // Index of a repeated attribute in items_ terms is needed for its position; attributes_ keeps
    // the named items in order, so map back through them.
    auto report = [&](size_t attributeIndex) {
        size_t seen = 0;
        for (const TagItem& item : items_) {
            if (!item.named) continue;
            if (seen++ == attributeIndex)
                failInToken(data, contentOffset + item.offset, TV_E_XML_DUPLICATEATTRIBUTE,
                            "attribute \"" + Quote(item.name) + "\" appears twice");
        }
    };
    if (n <= kPairwiseDuplicateLimit) {
        for (size_t i = 1; i < n; ++i)
            for (size_t j = 0; j < i; ++j)
                if (attributes_[i].name == attributes_[j].name) report(i);
        return;
    }
    duplicateOrder_.resize(n);
    for (size_t i = 0; i < n; ++i) duplicateOrder_[i] = i;
    std::sort(duplicateOrder_.begin(), duplicateOrder_.end(), [&](size_t a, size_t b) {
        const int c = attributes_[a].name.compare(attributes_[b].name);
        return c != 0 ? c < 0 : a < b;
    });
    // Report the first repeat in document order, as the pairwise check does.
    size_t first = n;
    for (size_t k = 1; k < n; ++k)
        if (attributes_[duplicateOrder_[k]].name == attributes_[duplicateOrder_[k - 1]].name)
            first = std::min(first, duplicateOrder_[k]);
    if (first < n) report(first);
}

void Reader::onProcessingInstruction(const uint8_t* data, const ScannedToken& token) {
    const size_t contentOffset = 2;
    std::string_view target;
    try {
        target = tags_.parseProcessingInstruction(Chars(data, contentOffset, token.size - 2), items_);
    } catch (const ContentFault& fault) {
        failInToken(data, contentOffset + fault.offset(), fault.code(), fault.what());
    }
    collectAttributes();
    call(handler_.processingInstruction(target, attributes_));
}

void Reader::onDeclaration(const uint8_t* data, const ScannedToken& token) {
    if (!options_.strict) return;
    const size_t contentOffset = 2;
    std::string_view name;
    try {
        name = tags_.parseDeclaration(Chars(data, contentOffset, token.size - 1), items_);
    } catch (const ContentFault& fault) {
        failInToken(data, contentOffset + fault.offset(), fault.code(), fault.what());
    }
    if (name.empty()) failInToken(data, contentOffset, TV_E_XML_BADDECLARATION, "a declaration without a name");
    if (name != "DOCTYPE") return;
    auto unreadable = [&](size_t offset, const char* what) {
        failInToken(data, contentOffset + offset, TV_E_XML_BADDECLARATION, what);
    };
    auto isId = [&](size_t i) { return i < items_.size() && items_[i].shape != TagItem::Shape::Subset; };
    if (items_.empty() || items_[0].shape != TagItem::Shape::Word)
        unreadable(name.size(), "a document type without a root element name");
    const std::string_view root = items_[0].value;
    std::string_view systemId;
    std::string_view publicId;
    size_t i = 1;
    if (i < items_.size() && items_[i].shape == TagItem::Shape::Word) {
        if (items_[i].value == "SYSTEM") {
            if (!isId(i + 1)) unreadable(items_[i].offset, "SYSTEM without a system id");
            systemId = items_[i + 1].value;
            i += 2;
        } else if (items_[i].value == "PUBLIC") {
            if (!isId(i + 1)) unreadable(items_[i].offset, "PUBLIC without a public id");
            publicId = items_[i + 1].value;
            i += 2;
            if (isId(i)) systemId = items_[i++].value;
        }
    }
    if (i < items_.size() && items_[i].shape == TagItem::Shape::Subset) ++i;
    if (i < items_.size()) unreadable(items_[i].offset, "unexpected text in a document type");
    call(handler_.documentType(root, systemId, publicId, position_));
}

void Reader::finish(bool insideTag) {
    if (insideTag) fail(TV_E_XML_UNTERMINATEDTAG, "the document ends inside a tag that starts here", position_);
    if (options_.strict && !openOffsets_.empty())
        fail(TV_E_XML_TAGMISMATCH,
             "element <" + Quote(openName(openOffsets_.size() - 1)) + "> is not closed at the end of the document",
             position_);
    call(handler_.endDocument(position_));
    finished_ = true;
    queue_.clear();
}

void Reader::call(HRESULT result) {
    if (Failed(result)) {
        char code[16];
        std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned>(result));
        fail(result, std::string("the response stopped the parse with ") + code, position_);
    }
}

void Reader::failInToken(const uint8_t* token, size_t offset, HRESULT code, const std::string& message) {
    Position at = position_;
    AdvancePosition(at, token, offset, charset_);
    fail(code, message, at);
}

void Reader::fail(HRESULT code, const std::string& message, Position at) {
    failed_ = true;
    failureCode_ = code;
    failurePosition_ = at;
    failureText_ = "line " + std::to_string(at.line) + ", column " + std::to_string(at.column) + ": " + message;
    throw Error(code, failureText_);
}

}  // namespace tagvera::xml
