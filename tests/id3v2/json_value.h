// A small JSON reader for the fixtures' expect files: objects, arrays, strings, integers, booleans.
#ifndef TAGVERA_TESTS_ID3V2_JSON_VALUE_H
#define TAGVERA_TESTS_ID3V2_JSON_VALUE_H

#include <cstdint>
#include <map>
#include <memory>
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
        JsonParser p(text);
        Json v = p.value();
        p.space();
        if (p.pos_ != text.size()) throw std::runtime_error("trailing characters in JSON");
        return v;
    }

private:
    explicit JsonParser(const std::string& t) : t_(t) {}

    void space() {
        while (pos_ < t_.size() && (t_[pos_] == ' ' || t_[pos_] == '\n' || t_[pos_] == '\r' || t_[pos_] == '\t')) ++pos_;
    }
    char peek() {
        space();
        if (pos_ >= t_.size()) throw std::runtime_error("JSON ends early");
        return t_[pos_];
    }
    void expect(char c) {
        if (peek() != c) throw std::runtime_error(std::string("JSON: expected ") + c);
        ++pos_;
    }
    bool word(const char* w) {
        const std::string s(w);
        if (t_.compare(pos_, s.size(), s) != 0) return false;
        pos_ += s.size();
        return true;
    }

    Json value() {
        Json v;
        const char c = peek();
        if (c == '{') {
            v.kind = Json::Kind::Object;
            ++pos_;
            if (peek() == '}') return ++pos_, v;
            for (;;) {
                std::string key = str();
                expect(':');
                v.object[key] = value();
                if (peek() == ',') {
                    ++pos_;
                    continue;
                }
                expect('}');
                return v;
            }
        }
        if (c == '[') {
            v.kind = Json::Kind::Array;
            ++pos_;
            if (peek() == ']') return ++pos_, v;
            for (;;) {
                v.array.push_back(value());
                if (peek() == ',') {
                    ++pos_;
                    continue;
                }
                expect(']');
                return v;
            }
        }
        if (c == '"') {
            v.kind = Json::Kind::String;
            v.string = str();
            return v;
        }
        if (word("true")) return v.kind = Json::Kind::Bool, v.boolean = true, v;
        if (word("false")) return v.kind = Json::Kind::Bool, v;
        if (word("null")) return v;
        v.kind = Json::Kind::Number;
        bool negative = false;
        if (t_[pos_] == '-') negative = true, ++pos_;
        if (pos_ >= t_.size() || t_[pos_] < '0' || t_[pos_] > '9') throw std::runtime_error("JSON: bad value");
        while (pos_ < t_.size() && t_[pos_] >= '0' && t_[pos_] <= '9') v.number = v.number * 10 + (t_[pos_++] - '0');
        if (negative) v.number = -v.number;
        return v;
    }

    unsigned hex4() {
        if (pos_ + 4 > t_.size()) throw std::runtime_error("JSON: short escape");
        unsigned v = std::stoul(t_.substr(pos_, 4), nullptr, 16);
        pos_ += 4;
        return v;
    }

    std::string str() {
        expect('"');
        std::string out;
        while (pos_ < t_.size() && t_[pos_] != '"') {
            char c = t_[pos_++];
            if (c != '\\') {
                out += c;
                continue;
            }
            if (pos_ >= t_.size()) break;
            c = t_[pos_++];
            switch (c) {
                case 'n': out += '\n'; break;
                case 'r': out += '\r'; break;
                case 't': out += '\t'; break;
                case 'b': out += '\b'; break;
                case 'f': out += '\f'; break;
                case 'u': {
                    uint32_t cp = hex4();
                    if (cp >= 0xD800 && cp < 0xDC00 && t_.compare(pos_, 2, "\\u") == 0) {
                        pos_ += 2;
                        const uint32_t low = hex4();
                        cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
                    }
                    tagvera::text::AppendUtf8(out, char32_t(cp));
                    break;
                }
                default: out += c;
            }
        }
        expect('"');
        return out;
    }

    const std::string& t_;
    size_t pos_ = 0;
};

// A fixture frame's "text" values as one property holds them, joined by '/'.
inline std::string Joined(const Json& frame) {
    std::string s;
    for (const auto& t : frame["text"].strings()) s += (s.empty() ? "" : "/") + t;
    return s;
}

}  // namespace tagvera::testing

#endif
