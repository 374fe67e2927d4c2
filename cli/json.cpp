#include "cli/json.h"

#include <cstdint>
#include <cstdio>
#include <string>

namespace tagvera::cli {

namespace {

// The bytes of the UTF-8 character text starts with; negative for a broken sequence, whose lead
// byte and the continuation bytes that fitted (that many) stand for one U+FFFD. The second byte's
// range (Unicode table 3-7) keeps out overlong forms, surrogates and values past U+10FFFF.
int Utf8Step(std::string_view text) {
    const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
    const uint8_t lead = byte(0);
    if (lead < 0x80) return 1;
    int length = 0;
    uint8_t low = 0x80, high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return -1;
    }
    for (int i = 1; i < length; ++i) {
        const auto at = static_cast<size_t>(i);
        if (at >= text.size() || byte(at) < (i == 1 ? low : 0x80) || byte(at) > (i == 1 ? high : 0xBF)) return -i;
    }
    return length;
}

}  // namespace

std::string JsonQuote(std::string_view text) {
    std::string out = "\"";
    for (size_t pos = 0; pos < text.size();) {
        const int step = Utf8Step(text.substr(pos));
        if (step < 0) {
            out += "\xEF\xBF\xBD";  // U+FFFD, one for each broken sequence
            pos += static_cast<size_t>(-step);
            continue;
        }
        // JSON's two-character escapes: each character of kEscaped is written as a backslash and its letter.
        static constexpr std::string_view kEscaped = "\"\\\n\r\t\b\f", kLetters = "\"\\nrtbf";
        const auto c = static_cast<unsigned char>(text[pos]);
        if (const size_t e = kEscaped.find(static_cast<char>(c)); e != std::string_view::npos) {
            out += '\\';
            out += kLetters[e];
        } else if (c < 0x20 || c == 0x7F) {
            char esc[8];
            std::snprintf(esc, sizeof esc, "\\u%04X", static_cast<unsigned>(c));
            out += esc;
        } else {
            out.append(text.substr(pos, static_cast<size_t>(step)));
        }
        pos += static_cast<size_t>(step);
    }
    out += '"';
    return out;
}

void JsonWriter::lineBreak(std::string& text) const {
    text += '\n';
    text.append(2 * depth(), ' ');
}

void JsonWriter::put(std::string_view piece, std::string_view after) {
    std::string text;
    if (afterKey_) {
        afterKey_ = false;
    } else if (!levels_.empty()) {
        if (levels_.back().count++) text += ',';
        lineBreak(text);
    }
    text += piece;
    text += after;
    write(text);
}

void JsonWriter::write(const std::string& text) {
    if (!text.empty()) out_.write(text.data(), static_cast<std::streamsize>(text.size()));
}

JsonWriter& JsonWriter::beginObject() {
    put("{");
    levels_.push_back({true});
    return *this;
}

JsonWriter& JsonWriter::beginArray() {
    put("[");
    levels_.push_back({false});
    return *this;
}

void JsonWriter::close(char bracket) {
    const bool hadItems = !levels_.empty() && levels_.back().count > 0;
    levels_.pop_back();
    std::string text;
    if (hadItems) lineBreak(text);
    text += bracket;
    if (levels_.empty() && baseDepth_ == 0) text += '\n';
    write(text);
}

JsonWriter& JsonWriter::endObject() {
    close('}');
    return *this;
}

JsonWriter& JsonWriter::endArray() {
    close(']');
    return *this;
}

JsonWriter& JsonWriter::key(std::string_view name) {
    put(JsonQuote(name), ": ");
    afterKey_ = true;
    return *this;
}

JsonWriter& JsonWriter::value(std::string_view text) {
    put(JsonQuote(text));
    return *this;
}

JsonWriter& JsonWriter::value(bool b) {
    put(b ? "true" : "false");
    return *this;
}

JsonWriter& JsonWriter::value(int64_t n) {
    put(std::to_string(n));
    return *this;
}

JsonWriter& JsonWriter::value(uint64_t n) {
    put(std::to_string(n));
    return *this;
}

JsonWriter& JsonWriter::next() {
    put("");
    return *this;
}

JsonWriter& JsonWriter::null() {
    put("null");
    return *this;
}

JsonWriter& JsonWriter::field(std::string_view name, const std::vector<std::string>& list) {
    key(name);
    beginArray();
    for (const auto& s : list) value(s);
    return endArray();
}

}  // namespace tagvera::cli
