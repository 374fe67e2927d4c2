#include "cli/json.h"

#include <cstdio>

#include "platform/text.h"

namespace tagvera::cli {

std::string JsonQuote(std::string_view text) {
    std::string out = "\"";
    size_t pos = 0;
    while (pos < text.size()) {
        char32_t cp = 0;
        const size_t start = pos;
        if (!text::DecodeUtf8(text, pos, cp)) {
            text::AppendUtf8(out, text::kReplacement);  // one for each broken sequence
            continue;
        }
        switch (cp) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            case '\b': out += "\\b"; break;
            case '\f': out += "\\f"; break;
            default:
                if (cp < 0x20 || cp == 0x7F) {
                    char esc[8];
                    std::snprintf(esc, sizeof esc, "\\u%04X", static_cast<unsigned>(cp));
                    out += esc;
                } else {
                    out.append(text.substr(start, pos - start));
                }
        }
    }
    out += '"';
    return out;
}

void JsonWriter::indent() {
    out_ << '\n';
    for (size_t i = 0; i < levels_.size(); ++i) out_ << "  ";
}

void JsonWriter::beforeValue() {
    if (afterKey_) {
        afterKey_ = false;
        return;
    }
    if (!levels_.empty()) {
        if (levels_.back().count++) out_ << ',';
        indent();
    }
}

JsonWriter& JsonWriter::beginObject() {
    beforeValue();
    out_ << '{';
    levels_.push_back({true});
    return *this;
}

JsonWriter& JsonWriter::beginArray() {
    beforeValue();
    out_ << '[';
    levels_.push_back({false});
    return *this;
}

void JsonWriter::close(char bracket) {
    const bool hadItems = !levels_.empty() && levels_.back().count > 0;
    levels_.pop_back();
    if (hadItems) indent();
    out_ << bracket;
    if (levels_.empty()) out_ << '\n';
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
    beforeValue();
    out_ << JsonQuote(name) << ": ";
    afterKey_ = true;
    return *this;
}

JsonWriter& JsonWriter::value(std::string_view text) {
    beforeValue();
    out_ << JsonQuote(text);
    return *this;
}

JsonWriter& JsonWriter::value(bool b) {
    beforeValue();
    out_ << (b ? "true" : "false");
    return *this;
}

JsonWriter& JsonWriter::value(int64_t n) {
    beforeValue();
    out_ << n;
    return *this;
}

JsonWriter& JsonWriter::value(uint64_t n) {
    beforeValue();
    out_ << n;
    return *this;
}

JsonWriter& JsonWriter::null() {
    beforeValue();
    out_ << "null";
    return *this;
}

JsonWriter& JsonWriter::field(std::string_view name, const std::vector<std::string>& list) {
    key(name);
    beginArray();
    for (const auto& s : list) value(s);
    return endArray();
}

}  // namespace tagvera::cli
