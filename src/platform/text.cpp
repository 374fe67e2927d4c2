#include "platform/text.h"

#include <vector>

namespace tagvera::text {

void AppendUtf8(std::string& out, char32_t cp) {
    if ((cp >= 0xD800 && cp <= 0xDFFF) || cp > 0x10FFFF) cp = kReplacement;
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

namespace {

// The lead byte's sequence length and the range its second byte must fall in (Unicode table 3-7);
// the narrowed ranges exclude overlong forms, surrogates and values past U+10FFFF.
struct Lead {
    size_t len;
    uint8_t lo, hi;
};

Lead LeadOf(uint8_t b) {
    if (b >= 0xC2 && b <= 0xDF) return {2, 0x80, 0xBF};
    if (b == 0xE0) return {3, 0xA0, 0xBF};
    if (b == 0xED) return {3, 0x80, 0x9F};
    if (b >= 0xE1 && b <= 0xEF) return {3, 0x80, 0xBF};
    if (b == 0xF0) return {4, 0x90, 0xBF};
    if (b >= 0xF1 && b <= 0xF3) return {4, 0x80, 0xBF};
    if (b == 0xF4) return {4, 0x80, 0x8F};
    return {0, 0, 0};
}

}  // namespace

bool DecodeUtf8(std::string_view in, size_t& pos, char32_t& cp) {
    if (pos >= in.size()) return false;
    const auto b0 = static_cast<uint8_t>(in[pos]);
    if (b0 < 0x80) {
        cp = b0;
        ++pos;
        return true;
    }
    const Lead lead = LeadOf(b0);
    if (lead.len == 0) {
        ++pos;
        return false;
    }
    cp = b0 & (0x7F >> lead.len);
    for (size_t i = 1; i < lead.len; ++i) {
        const bool more = pos + i < in.size();
        const auto b = more ? static_cast<uint8_t>(in[pos + i]) : 0;
        const bool ok = more && (i == 1 ? (b >= lead.lo && b <= lead.hi) : (b & 0xC0) == 0x80);
        if (!ok) {
            // The whole broken prefix counts as one bad sequence, as Unicode recommends.
            pos += i;
            return false;
        }
        cp = (cp << 6) | (b & 0x3F);
    }
    pos += lead.len;
    return true;
}

bool IsValidUtf8(std::string_view in) {
    size_t pos = 0;
    char32_t cp;
    while (pos < in.size())
        if (!DecodeUtf8(in, pos, cp)) return false;
    return true;
}

std::string SanitizeUtf8(std::string_view in, bool* lossy) {
    std::string out;
    out.reserve(in.size());
    size_t pos = 0;
    char32_t cp;
    while (pos < in.size()) {
        const size_t start = pos;
        if (DecodeUtf8(in, pos, cp)) {
            out.append(in.substr(start, pos - start));
        } else {
            AppendUtf8(out, kReplacement);
            if (lossy) *lossy = true;
        }
    }
    return out;
}

std::string Latin1ToUtf8(std::span<const uint8_t> in) {
    std::string out;
    out.reserve(in.size());
    for (uint8_t b : in) AppendUtf8(out, b);
    return out;
}

std::string Utf8ToLatin1(std::string_view in, bool* lossy) {
    std::string out;
    out.reserve(in.size());
    size_t pos = 0;
    char32_t cp;
    while (pos < in.size()) {
        if (DecodeUtf8(in, pos, cp) && cp <= 0xFF) {
            out += static_cast<char>(cp);
        } else {
            out += '?';
            if (lossy) *lossy = true;
        }
    }
    return out;
}

bool FitsLatin1(std::string_view utf8) {
    size_t pos = 0;
    char32_t cp;
    while (pos < utf8.size())
        if (!DecodeUtf8(utf8, pos, cp) || cp > 0xFF) return false;
    return true;
}

std::string Utf16ToUtf8(std::span<const uint8_t> in, bool bigEndian, bool* lossy) {
    std::string out;
    out.reserve(in.size());
    auto unit = [&](size_t i) -> char32_t {
        return bigEndian ? (char32_t(in[i]) << 8 | in[i + 1]) : (char32_t(in[i + 1]) << 8 | in[i]);
    };
    const size_t even = in.size() & ~size_t(1);
    for (size_t i = 0; i < even; i += 2) {
        char32_t u = unit(i);
        if (u >= 0xD800 && u <= 0xDBFF && i + 2 < even) {
            const char32_t lo = unit(i + 2);
            if (lo >= 0xDC00 && lo <= 0xDFFF) {
                AppendUtf8(out, 0x10000 + ((u - 0xD800) << 10) + (lo - 0xDC00));
                i += 2;
                continue;
            }
        }
        if (u >= 0xD800 && u <= 0xDFFF) {
            u = kReplacement;
            if (lossy) *lossy = true;
        }
        AppendUtf8(out, u);
    }
    if (in.size() != even) {
        AppendUtf8(out, kReplacement);
        if (lossy) *lossy = true;
    }
    return out;
}

std::string Utf16BomToUtf8(std::span<const uint8_t> in, bool bigEndianWithoutBom, bool* lossy) {
    if (in.size() >= 2 && in[0] == 0xFF && in[1] == 0xFE) return Utf16ToUtf8(in.subspan(2), false, lossy);
    if (in.size() >= 2 && in[0] == 0xFE && in[1] == 0xFF) return Utf16ToUtf8(in.subspan(2), true, lossy);
    return Utf16ToUtf8(in, bigEndianWithoutBom, lossy);
}

std::string Utf8ToUtf16(std::string_view in, bool bigEndian, bool* lossy) {
    std::string out;
    out.reserve(in.size() * 2);
    auto put = [&](char32_t u) {
        const char hi = static_cast<char>(u >> 8), lo = static_cast<char>(u & 0xFF);
        if (bigEndian) {
            out += hi;
            out += lo;
        } else {
            out += lo;
            out += hi;
        }
    };
    size_t pos = 0;
    char32_t cp;
    while (pos < in.size()) {
        if (!DecodeUtf8(in, pos, cp)) {
            cp = kReplacement;
            if (lossy) *lossy = true;
        }
        if (cp >= 0x10000) {
            cp -= 0x10000;
            put(0xD800 + (cp >> 10));
            put(0xDC00 + (cp & 0x3FF));
        } else {
            put(cp);
        }
    }
    return out;
}

#if defined(_WIN32)
std::wstring Utf8ToWide(std::string_view utf8) {
    const std::string bytes = Utf8ToUtf16(utf8, false);
    std::wstring out(bytes.size() / 2, L'\0');
    for (size_t i = 0; i < out.size(); ++i)
        out[i] = static_cast<wchar_t>(static_cast<uint8_t>(bytes[2 * i]) | static_cast<uint8_t>(bytes[2 * i + 1]) << 8);
    return out;
}

std::string WideToUtf8(std::wstring_view wide) {
    std::vector<uint8_t> bytes;
    bytes.reserve(wide.size() * 2);
    for (const wchar_t c : wide) bytes.push_back(static_cast<uint8_t>(c & 0xFF)), bytes.push_back(static_cast<uint8_t>(c >> 8));
    return Utf16ToUtf8(bytes, false);
}
#endif

std::string AnsiToUtf8(std::string_view ansi) { return SanitizeUtf8(ansi); }
std::string Utf8ToAnsi(std::string_view utf8) { return std::string(utf8); }

int CompareNoCase(std::string_view a, std::string_view b) {
    const size_t n = a.size() < b.size() ? a.size() : b.size();
    for (size_t i = 0; i < n; ++i) {
        unsigned char x = static_cast<unsigned char>(a[i]), y = static_cast<unsigned char>(b[i]);
        if (x >= 'A' && x <= 'Z') x = static_cast<unsigned char>(x + 32);
        if (y >= 'A' && y <= 'Z') y = static_cast<unsigned char>(y + 32);
        if (x != y) return x < y ? -1 : 1;
    }
    return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

bool EqualsNoCase(std::string_view a, std::string_view b) { return a.size() == b.size() && CompareNoCase(a, b) == 0; }

}  // namespace tagvera::text
