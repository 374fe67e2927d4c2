// The text form of the preferences file: parsing (never throws, reports the first bad line) and
// formatting of single values and whole files.
#include "platform/preferences_format.h"

#include <algorithm>
#include <charconv>

#include "platform/text.h"

namespace tagvera::platform::prefs {
namespace {

constexpr std::string_view kBlanks = " \t";
constexpr size_t kMaxNameLength = 255;

std::string_view Trim(std::string_view s) {
    const size_t first = s.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return s.substr(first, s.find_last_not_of(kBlanks) - first + 1);
}

bool StartsWithNoCase(std::string_view s, std::string_view prefix) {
    return s.size() >= prefix.size() && text::EqualsNoCase(s.substr(0, prefix.size()), prefix);
}

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Parses string:"..." content starting after the opening quote; returns the error or "".
std::string ParseQuoted(std::string_view s, std::string& out) {
    size_t i = 0;
    while (i < s.size() && s[i] != '"') {
        if (s[i] != '\\') {
            out += s[i++];
            continue;
        }
        if (++i == s.size()) return "unfinished escape";
        switch (const char c = s[i++]) {
            case '\\': out += '\\'; break;
            case '"': out += '"'; break;
            case 'n': out += '\n'; break;
            case 'r': out += '\r'; break;
            case 't': out += '\t'; break;
            case 'x': {
                if (s.size() - i < 2 || HexDigit(s[i]) < 0 || HexDigit(s[i + 1]) < 0) return "\\x needs two hex digits";
                const int v = HexDigit(s[i]) * 16 + HexDigit(s[i + 1]);
                if (v == 0) return "a string cannot hold a NUL character";
                out += static_cast<char>(v);
                i += 2;
                break;
            }
            default: return std::string("unknown escape \\") + c;
        }
    }
    if (i == s.size()) return "missing closing quote";
    if (!Trim(s.substr(i + 1)).empty()) return "text after the closing quote";
    return "";
}

bool ParseNumberText(std::string_view s, uint32_t& out) {
    int base = 10;
    if (s.size() > 2 && s[0] == '0' && (s[1] == 'x' || s[1] == 'X')) {
        s.remove_prefix(2);
        base = 16;
    }
    if (s.empty()) return false;
    const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), out, base);
    return ec == std::errc() && end == s.data() + s.size();
}

// Parses the right-hand side of "Name = ..."; returns the error or "".
std::string ParseValue(std::string_view rhs, ParsedValue& v) {
    if (StartsWithNoCase(rhs, "dword:")) {
        v.type = ValueType::Dword;
        if (!ParseNumberText(Trim(rhs.substr(6)), v.number)) return "dword: needs a number from 0 to 4294967295";
        v.text = std::to_string(v.number);
        return "";
    }
    v.type = ValueType::String;
    if (StartsWithNoCase(rhs, "string:")) rhs = Trim(rhs.substr(7));
    if (!rhs.empty() && rhs[0] == '"') return ParseQuoted(rhs.substr(1), v.text);
    v.text = std::string(rhs);
    return "";
}

struct Parser {
    ParsedFile file;
    ParsedFile::Section* section = nullptr;

    std::string line(std::string_view raw, int number) {
        const std::string_view s = Trim(raw);
        if (s.empty() || s[0] == ';' || s[0] == '#') return "";
        if (s[0] == '[') return header(s, number);
        if (!section) return "a value outside any [section]";
        const size_t eq = s.find('=');
        if (eq == std::string_view::npos) return "expected Name = value";
        ParsedValue v;
        v.name = std::string(Trim(s.substr(0, eq)));
        v.line = number;
        if (std::string err = CheckName(v.name); !err.empty()) return err;
        for (const ParsedValue& other : section->values)
            if (text::EqualsNoCase(other.name, v.name)) return "value \"" + v.name + "\" given twice";
        if (std::string err = ParseValue(Trim(s.substr(eq + 1)), v); !err.empty()) return err;
        section->values.push_back(std::move(v));
        section->lastLine = number;
        return "";
    }

    std::string header(std::string_view s, int number) {
        if (s.back() != ']') return "a section header needs a closing ]";
        const std::string key(Trim(s.substr(1, s.size() - 2)));
        if (key.empty()) return "empty section name";
        for (ParsedFile::Section& other : file.sections)
            if (text::EqualsNoCase(other.key, key)) return "section [" + key + "] given twice";
        file.sections.push_back(ParsedFile::Section{key, {}, number, number});
        section = &file.sections.back();
        return "";
    }
};

}  // namespace

std::string CheckName(std::string_view name) {
    if (name.empty()) return "empty value name";
    if (name.size() > kMaxNameLength) return "value name longer than 255 characters";
    for (const char c : name)
        if (IsControl(c) || c == '=' || c == '[' || c == ']') return "value name with a control character, '=', '[' or ']'";
    if (Trim(name) != name) return "value name with surrounding blanks";
    if (name[0] == ';' || name[0] == '#') return "value name starting like a comment";
    return "";
}

const std::vector<ParsedValue>* ParsedFile::preferences() const {
    if (!ok) return nullptr;
    for (const Section& s : sections)
        if (text::EqualsNoCase(s.key, kKey)) return &s.values;
    return nullptr;
}

ParsedFile Parse(std::string_view input) {
    Parser p;
    if (input.substr(0, 3) == "\xEF\xBB\xBF") input.remove_prefix(3);  // a BOM from a Windows editor
    int number = 0;
    while (!input.empty()) {
        ++number;
        const size_t nl = input.find('\n');
        std::string_view raw = input.substr(0, nl);
        input.remove_prefix(nl == std::string_view::npos ? input.size() : nl + 1);
        if (!raw.empty() && raw.back() == '\r') raw.remove_suffix(1);
        std::string err = raw.find('\0') != std::string_view::npos ? "a NUL character" : p.line(raw, number);
        if (!err.empty()) {
            ParsedFile bad;
            bad.ok = false;
            bad.line = number;
            bad.message = std::move(err);
            return bad;
        }
    }
    return std::move(p.file);
}

std::string FormatValue(const ParsedValue& v) {
    std::string out = v.name + " = ";
    if (v.type == ValueType::Dword) return out + "dword:" + std::to_string(v.number);
    const std::string_view s = v.text;
    const bool quote = !s.empty() && (Trim(s) != s || s.front() == '"' ||
                                      std::any_of(s.begin(), s.end(), IsControl));
    out += "string:";
    if (!quote) return out + v.text;
    static const char digits[] = "0123456789abcdef";
    out += '"';
    for (const char c : s) {
        if (c == '\\' || c == '"') {
            out += '\\';
            out += c;
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\r') {
            out += "\\r";
        } else if (c == '\t') {
            out += "\\t";
        } else if (IsControl(c)) {
            out += "\\x";
            out += digits[(c >> 4) & 0xF];
            out += digits[c & 0xF];
        } else {
            out += c;
        }
    }
    return out + '"';
}

std::string Format(const ParsedFile& file) {
    std::string out = "; tagvera preferences: the values under the registry key in brackets.\n";
    for (const ParsedFile::Section& s : file.sections) {
        out += "\n[" + s.key + "]\n";
        for (const ParsedValue& v : s.values) out += FormatValue(v) + "\n";
    }
    return out;
}

bool NumberFromText(std::string_view s, uint32_t& out) { return ParseNumberText(Trim(s), out); }

}  // namespace tagvera::platform::prefs
