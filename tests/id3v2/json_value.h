// A small JSON reader for the fixtures' expect files: objects, arrays, strings, integers, booleans.
#ifndef TAGVERA_TESTS_ID3V2_JSON_VALUE_H
#define TAGVERA_TESTS_ID3V2_JSON_VALUE_H

#include <cctype>
#include <charconv>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/text.h"

namespace tagvera::testing {

struct Json {
    enum class Kind { Null, Bool, Number, String, Array, Object } kind = Kind::Null;
    bool boolean = false;
    int64_t number = 0;
    std::string string;
    std::vector<Json> array;
    std::map<std::string, Json> object;

    bool has(const std::string& key) const { return kind == Kind::Object && object.count(key); }
    const Json& operator[](const std::string& key) const {
        auto it = object.find(key);
        if (it == object.end()) throw std::runtime_error("no key " + key);
        return it->second;
    }
    std::vector<std::string> strings() const {
        std::vector<std::string> out;
        for (const auto& v : array) out.push_back(v.string);
        return out;
    }
};

class JsonParser {
public:
    static Json Parse(const std::string& text) {
        JsonParser p{text};
        Json v = p.value();
        if (p.peek(true) != '\0') throw std::runtime_error("trailing characters in JSON");
        return v;
    }

private:
    explicit JsonParser(const std::string& t) : t_(t) {}
    const std::string& t_;
    size_t pos_ = 0;

    // The next character after white space; at the end '\0' where allowed, else an error.
    char peek(bool endAllowed = false) {
        while (pos_ < t_.size() && std::isspace(static_cast<unsigned char>(t_[pos_]))) ++pos_;
        if (pos_ < t_.size()) return t_[pos_];
        if (!endAllowed) throw std::runtime_error("JSON ends early");
        return '\0';
    }
    void expect(char c) {
        if (peek() != c) throw std::runtime_error(std::string("JSON: expected ") + c);
        ++pos_;
    }
    bool word(const std::string& w) {
        const bool found = t_.compare(pos_, w.size(), w) == 0;
        if (found) pos_ += w.size();
        return found;
    }

    // Reads "[...]" or "{...}" items until the closing bracket.
    template <class Item>
    void items(char close, Item item) {
        ++pos_;
        if (peek() == close) return void(++pos_);
        for (item(); peek() == ','; item()) ++pos_;
        expect(close);
    }

    Json value() {
        Json v;
        const char c = peek();
        if (c == '{') {
            v.kind = Json::Kind::Object;
            items('}', [&] {
                std::string key = str();
                expect(':');
                v.object[key] = value();
            });
        } else if (c == '[') {
            v.kind = Json::Kind::Array;
            items(']', [&] { v.array.push_back(value()); });
        } else if (c == '"') {
            v.kind = Json::Kind::String;
            v.string = str();
        } else if (word("true") || word("false")) {
            v.kind = Json::Kind::Bool, v.boolean = c == 't';
        } else if (!word("null")) {
            v.kind = Json::Kind::Number;
            const auto [end, error] = std::from_chars(t_.data() + pos_, t_.data() + t_.size(), v.number);
            if (error != std::errc()) throw std::runtime_error("JSON: bad value");
            pos_ = size_t(end - t_.data());
        }
        return v;
    }

    unsigned hex4() {
        if (pos_ + 4 > t_.size()) throw std::runtime_error("JSON: short escape");
        pos_ += 4;
        return std::stoul(t_.substr(pos_ - 4, 4), nullptr, 16);
    }

    std::string str() {
        expect('"');
        std::string out;
        while (pos_ < t_.size() && t_[pos_] != '"') {
            char c = t_[pos_++];
            if (c != '\\' || pos_ >= t_.size()) {
                out += c;
                continue;
            }
            c = t_[pos_++];
            if (c != 'u') {
                const size_t known = std::string("nrtbf").find(c);
                out += known == std::string::npos ? c : "\n\r\t\b\f"[known];
                continue;
            }
            uint32_t cp = hex4();
            if (cp >= 0xD800 && cp < 0xDC00 && t_.compare(pos_, 2, "\\u") == 0) {
                pos_ += 2;
                cp = 0x10000 + ((cp - 0xD800) << 10) + (hex4() - 0xDC00);
            }
            tagvera::text::AppendUtf8(out, char32_t(cp));
        }
        expect('"');
        return out;
    }
};

// A fixture frame's "text" values as one property holds them, joined by '/'.
inline std::string Joined(const Json& frame) {
    std::string s;
    for (const auto& t : frame["text"].strings()) s += (s.empty() ? "" : "/") + t;
    return s;
}

// The property a fixture frame is read into, "" for frames the fixture tests do not follow.
inline std::string PropertyPathOf(const Json& frame) {
    static const std::map<std::string, std::string> kPaths = {
        {"TIT2", "Track:Name"}, {"TPE1", "Artist:Name"},     {"TALB", "Album:Name"},     {"TRCK", "Track:CD Track #"},
        {"TYER", "Track:Year"}, {"TDRC", "Track:Year"},      {"TCON", "Track:Genre"},    {"COMM", "Track:Comments"},
        {"USLT", "Track:Lyrics"}};
    const std::string id = frame["id"].string;
    if (id == "TXXX" || id == "GEOB") return "Track:" + frame["desc"].string;
    if (id == "APIC") return frame["type"].number == 3 ? "Album:Cover Art" : "";
    const auto it = kPaths.find(id);
    return it == kPaths.end() ? "" : it->second;
}

}  // namespace tagvera::testing

#endif
