// A small strict JSON reader for tests that parse the command's --json output back.
#ifndef TAGVERA_TESTS_CLI_JSON_READER_H
#define TAGVERA_TESTS_CLI_JSON_READER_H

#include <cstdint>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

struct Json {
    enum Kind { Null, Bool, Number, String, Array, Object } kind = Null;
    bool b = false;
    double number = 0;
    std::string text;
    std::vector<Json> items;
    std::map<std::string, Json> fields;

    const Json& operator[](const std::string& key) const {
        auto it = fields.find(key);
        if (kind != Object || it == fields.end()) throw std::runtime_error("no field " + key);
        return it->second;
    }
    const Json& operator[](size_t i) const {
        if (kind != Array || i >= items.size()) throw std::runtime_error("no item " + std::to_string(i));
        return items[i];
    }
    std::vector<std::string> strings() const {
        std::vector<std::string> out;
        for (const auto& i : items) out.push_back(i.text);
        return out;
    }
};

class JsonReader {
public:
    // Throws std::runtime_error on anything that is not exactly one JSON value (plus blanks).
    static Json Parse(std::string_view text) {
        JsonReader r(text);
        Json v = r.value();
        r.blanks();
        if (r.pos_ != text.size()) r.fail("trailing text");
        return v;
    }

private:
    explicit JsonReader(std::string_view t) : t_(t) {}
    [[noreturn]] void fail(const std::string& what) {
        throw std::runtime_error("JSON: " + what + " at " + std::to_string(pos_));
    }
    void blanks() {
        while (pos_ < t_.size() && (t_[pos_] == ' ' || t_[pos_] == '\n' || t_[pos_] == '\r' || t_[pos_] == '\t')) ++pos_;
    }
    bool take(char c) {
        blanks();
        if (pos_ < t_.size() && t_[pos_] == c) {
            ++pos_;
            return true;
        }
        return false;
    }
    void expect(char c) {
        if (!take(c)) fail(std::string("expected ") + c);
    }
    bool word(std::string_view w) {
        if (t_.substr(pos_, w.size()) != w) return false;
        pos_ += w.size();
        return true;
    }
    static void Utf8(std::string& out, uint32_t cp) {
        if (cp < 0x80) {
            out += static_cast<char>(cp);
        } else if (cp < 0x800) {
            out += static_cast<char>(0xC0 | cp >> 6);
            out += static_cast<char>(0x80 | (cp & 0x3F));
        } else if (cp < 0x10000) {
            out += static_cast<char>(0xE0 | cp >> 12);
            out += static_cast<char>(0x80 | (cp >> 6 & 0x3F));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | cp >> 18);
            out += static_cast<char>(0x80 | (cp >> 12 & 0x3F));
            out += static_cast<char>(0x80 | (cp >> 6 & 0x3F));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        }
    }
    uint32_t hex4() {
        if (pos_ + 4 > t_.size()) fail("short \\u escape");
        uint32_t v = 0;
        for (int i = 0; i < 4; ++i) {
            const char c = t_[pos_++];
            v <<= 4;
            if (c >= '0' && c <= '9') v |= static_cast<uint32_t>(c - '0');
            else if (c >= 'a' && c <= 'f') v |= static_cast<uint32_t>(c - 'a' + 10);
            else if (c >= 'A' && c <= 'F') v |= static_cast<uint32_t>(c - 'A' + 10);
            else fail("bad \\u escape");
        }
        return v;
    }
    std::string string() {
        expect('"');
        std::string out;
        while (true) {
            if (pos_ >= t_.size()) fail("unterminated string");
            const char c = t_[pos_++];
            if (c == '"') return out;
            if (static_cast<unsigned char>(c) < 0x20) fail("raw control character in string");
            if (c != '\\') {
                out += c;
                continue;
            }
            if (pos_ >= t_.size()) fail("unterminated escape");
            switch (t_[pos_++]) {
                case '"': out += '"'; break;
                case '\\': out += '\\'; break;
                case '/': out += '/'; break;
                case 'b': out += '\b'; break;
                case 'f': out += '\f'; break;
                case 'n': out += '\n'; break;
                case 'r': out += '\r'; break;
                case 't': out += '\t'; break;
                case 'u': {
                    uint32_t cp = hex4();
                    if (cp >= 0xD800 && cp < 0xDC00 && word("\\u")) cp = 0x10000 + ((cp - 0xD800) << 10) + (hex4() - 0xDC00);
                    Utf8(out, cp);
                    break;
                }
                default: fail("bad escape");
            }
        }
    }
    Json value() {
        blanks();
        Json v;
        if (pos_ >= t_.size()) fail("value expected");
        const char c = t_[pos_];
        if (c == '{') {
            ++pos_;
            v.kind = Json::Object;
            if (take('}')) return v;
            do {
                blanks();
                std::string k = string();
                expect(':');
                v.fields[k] = value();
            } while (take(','));
            expect('}');
        } else if (c == '[') {
            ++pos_;
            v.kind = Json::Array;
            if (take(']')) return v;
            do v.items.push_back(value());
            while (take(','));
            expect(']');
        } else if (c == '"') {
            v.kind = Json::String;
            v.text = string();
        } else if (word("true")) {
            v.kind = Json::Bool;
            v.b = true;
        } else if (word("false")) {
            v.kind = Json::Bool;
        } else if (word("null")) {
        } else {
            size_t used = 0;
            try {
                v.number = std::stod(std::string(t_.substr(pos_, 32)), &used);
            } catch (...) {
                fail("bad value");
            }
            v.kind = Json::Number;
            pos_ += used;
        }
        return v;
    }

    std::string_view t_;
    size_t pos_ = 0;
};

#endif
