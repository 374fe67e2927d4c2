#include "xml/tag_content.h"

#include <cstring>

#include "tagvera/xml.h"

namespace tagvera::xml {

namespace {

struct Entity {
    std::string_view name;  // after "&", with the ";"
    char value;
};

constexpr Entity kEntities[] = {
    {"lt;", '<'}, {"gt;", '>'}, {"amp;", '&'}, {"quot;", '"'}, {"apos;", '\''},
};

// Length of the entity reference at text[pos] ("&" included) and its character, or 0.
size_t MatchEntity(std::string_view text, size_t pos, char& value) {
    const std::string_view rest = text.substr(pos + 1);
    for (const Entity& e : kEntities) {
        if (rest.substr(0, e.name.size()) == e.name) {
            value = e.value;
            return e.name.size() + 1;
        }
    }
    return 0;
}

}  // namespace

size_t TagContentParser::skipSpace(std::string_view content, size_t pos) const {
    while (pos < content.size() && IsXmlSpace(content[pos])) ++pos;
    return pos;
}

size_t TagContentParser::runEnd(std::string_view content, size_t pos, std::string_view stops) const {
    while (pos < content.size()) {
        const char c = content[pos];
        if (IsXmlSpace(c) || stops.find(c) != std::string_view::npos) {
            // A two-byte character was stepped over whole, so c starts a character here.
            break;
        }
        pos = next(content, pos);
    }
    return pos < content.size() ? pos : content.size();
}

std::string_view TagContentParser::decode(std::string_view raw, size_t contentSize) {
    if (std::memchr(raw.data(), '&', raw.size()) == nullptr) return raw;
    // Decoded values never grow and come from disjoint parts of one content, so with this much room
    // the scratch space is never moved and earlier views stay valid.
    if (scratch_.capacity() < contentSize) scratch_.reserve(contentSize);
    const size_t start = scratch_.size();
    size_t i = 0;
    while (i < raw.size()) {
        if (charset_->singleByte()) {
            const void* amp = std::memchr(raw.data() + i, '&', raw.size() - i);
            const size_t stop = amp ? static_cast<size_t>(static_cast<const char*>(amp) - raw.data()) : raw.size();
            scratch_.append(raw.data() + i, stop - i);
            i = stop;
            if (i == raw.size()) break;
        } else if (raw[i] != '&') {
            const size_t after = next(raw, i);
            scratch_.append(raw.data() + i, after - i);
            i = after;
            continue;
        }
        char value = 0;
        const size_t length = MatchEntity(raw, i, value);
        if (length) {
            scratch_.push_back(value);
            i += length;
        } else {
            scratch_.push_back('&');
            ++i;
        }
    }
    return std::string_view(scratch_.data() + start, scratch_.size() - start);
}

std::string_view TagContentParser::readQuoted(std::string_view content, size_t& pos, HRESULT failCode) {
    const size_t open = pos;
    const char quote = content[pos];
    size_t i = pos + 1;
    if (charset_->singleByte()) {
        const void* close = std::memchr(content.data() + i, quote, content.size() - i);
        i = close ? static_cast<size_t>(static_cast<const char*>(close) - content.data()) : content.size();
    } else {
        while (i < content.size() && content[i] != quote) i = next(content, i);
    }
    if (i >= content.size()) throw ContentFault(failCode, "a quoted value is not closed", open);
    pos = i + 1;
    return decode(content.substr(open + 1, i - open - 1), content.size());
}

std::string_view TagContentParser::readSubset(std::string_view content, size_t& pos) {
    const size_t open = pos;
    size_t depth = 0;
    size_t i = pos;
    while (i < content.size()) {
        const char c = content[i];
        if (c == '"' || c == '\'') {
            size_t j = i + 1;
            while (j < content.size() && content[j] != c) j = next(content, j);
            if (j >= content.size()) break;
            i = j + 1;
            continue;
        }
        if (c == '[') ++depth;
        if (c == ']' && --depth == 0) {
            pos = i + 1;
            return content.substr(open + 1, i - open - 1);
        }
        i = next(content, i);
    }
    throw ContentFault(TV_E_XML_BADDECLARATION, "a \"[\" in a declaration is not closed", open);
}

void TagContentParser::parseItems(std::string_view content, size_t pos, Context context, bool quotedOnly,
                                  std::vector<TagItem>& items) {
    const HRESULT valueFault = context == Context::Element ? TV_E_XML_BADATTRIBUTEVALUE
                               : context == Context::ProcessingInstruction ? TV_E_XML_BADPROCESSINGINSTRUCTION
                                                                           : TV_E_XML_BADDECLARATION;
    const HRESULT missingFault =
        context == Context::Element ? TV_E_XML_MISSINGVALUE : TV_E_XML_BADPROCESSINGINSTRUCTION;
    for (;;) {
        pos = skipSpace(content, pos);
        if (pos >= content.size()) return;
        TagItem item;
        item.offset = pos;
        const char c = content[pos];
        if (c == '"' || c == '\'') {
            item.shape = TagItem::Shape::Quoted;
            item.value = readQuoted(content, pos, valueFault);
            items.push_back(item);
            continue;
        }
        if (context == Context::Declaration) {
            if (c == '[') {
                item.shape = TagItem::Shape::Subset;
                item.value = readSubset(content, pos);
            } else {
                const size_t end = runEnd(content, pos, "[\"'");
                item.value = content.substr(pos, end - pos);
                pos = end;
            }
            items.push_back(item);
            continue;
        }
        const size_t nameEnd = runEnd(content, pos, "=");
        const std::string_view name = content.substr(pos, nameEnd - pos);
        size_t after = skipSpace(content, nameEnd);
        if (after >= content.size() || content[after] != '=') {
            // A bare word: kept, but without a name nobody receives it.
            item.value = name;
            items.push_back(item);
            pos = nameEnd;
            continue;
        }
        const size_t equals = after;
        after = skipSpace(content, equals + 1);
        if (after >= content.size()) throw ContentFault(missingFault, "\"=\" without a value", equals);
        item.name = name;
        item.named = !name.empty();
        const char v = content[after];
        if (v == '"' || v == '\'') {
            item.shape = TagItem::Shape::Quoted;
            item.value = readQuoted(content, after, valueFault);
            pos = after;
        } else {
            if (quotedOnly) throw ContentFault(valueFault, "an attribute value must be quoted", after);
            const size_t end = runEnd(content, after, "");
            item.value = content.substr(after, end - after);
            pos = end;
        }
        items.push_back(item);
    }
}

ElementTag TagContentParser::parseElement(std::string_view content, bool quotedOnly, std::vector<TagItem>& items) {
    items.clear();
    scratch_.clear();
    ElementTag tag;
    size_t pos = skipSpace(content, 0);
    if (pos < content.size() && content[pos] == '/') {
        tag.endTag = true;
        ++pos;
    }
    tag.nameOffset = pos;
    const size_t end = runEnd(content, pos, "");
    tag.name = content.substr(pos, end - pos);
    if (tag.name.empty()) throw ContentFault(TV_E_XML_EMPTYNAME, "a tag without a name", pos);
    if (!tag.endTag) parseItems(content, end, Context::Element, quotedOnly, items);
    return tag;
}

std::string_view TagContentParser::parseProcessingInstruction(std::string_view content,
                                                              std::vector<TagItem>& items) {
    items.clear();
    scratch_.clear();
    const size_t pos = skipSpace(content, 0);
    const size_t end = runEnd(content, pos, "");
    if (end == pos)
        throw ContentFault(TV_E_XML_BADPROCESSINGINSTRUCTION, "a processing instruction without a target", pos);
    parseItems(content, end, Context::ProcessingInstruction, false, items);
    return content.substr(pos, end - pos);
}

std::string_view TagContentParser::parseDeclaration(std::string_view content, std::vector<TagItem>& items) {
    items.clear();
    scratch_.clear();
    const size_t end = runEnd(content, 0, "[\"'");
    parseItems(content, end, Context::Declaration, false, items);
    return content.substr(0, end);
}

}  // namespace tagvera::xml
