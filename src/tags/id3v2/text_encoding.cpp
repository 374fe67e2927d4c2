#include "tags/id3v2/text_encoding.h"

#include "base/error.h"
#include "platform/text.h"

namespace tagvera::id3v2 {

TextEncoding EncodingFromByte(uint8_t b) {
    if (b > 3) throw Error(TV_E_FAIL, "unknown text encoding " + std::to_string(b));
    return static_cast<TextEncoding>(b);
}

const char* EncodingName(TextEncoding e) {
    switch (e) {
        case TextEncoding::Latin1: return "latin1";
        case TextEncoding::Utf16: return "utf16";
        case TextEncoding::Utf16BE: return "utf16be";
        case TextEncoding::Utf8: return "utf8";
    }
    return "?";
}

size_t TerminatedLength(std::span<const uint8_t> bytes, TextEncoding e) {
    if (UnitSize(e) == 1) {
        for (size_t i = 0; i < bytes.size(); ++i)
            if (bytes[i] == 0) return i;
        return bytes.size();
    }
    for (size_t i = 0; i + 1 < bytes.size(); i += 2)
        if (bytes[i] == 0 && bytes[i + 1] == 0) return i;
    return bytes.size();
}

namespace {

// Without a BOM: text that is mostly ASCII has its zero bytes on the high half of each unit.
bool GuessBigEndian(std::span<const uint8_t> b) {
    size_t zeroEven = 0, zeroOdd = 0;
    for (size_t i = 0; i + 1 < b.size(); i += 2) {
        zeroEven += b[i] == 0;
        zeroOdd += b[i + 1] == 0;
    }
    return zeroEven > zeroOdd;
}

std::string DecodeUtf16(std::span<const uint8_t> b, bool bigEndianDefault, bool honourBom) {
    bool big = bigEndianDefault;
    if (honourBom && b.size() >= 2) {
        if (b[0] == 0xFF && b[1] == 0xFE) {
            big = false;
            b = b.subspan(2);
        } else if (b[0] == 0xFE && b[1] == 0xFF) {
            big = true;
            b = b.subspan(2);
        } else {
            big = GuessBigEndian(b);
        }
    }
    // A stray odd zero byte is a writer's off-by-one, not a character.
    if (b.size() % 2 == 1 && b.back() == 0) b = b.first(b.size() - 1);
    return text::Utf16ToUtf8(b, big);
}

}  // namespace

std::string DecodeText(std::span<const uint8_t> bytes, TextEncoding e) {
    switch (e) {
        case TextEncoding::Latin1: return text::Latin1ToUtf8(bytes);
        case TextEncoding::Utf16: return DecodeUtf16(bytes, false, true);
        case TextEncoding::Utf16BE: {
            // Some writers put a BOM in BE text too; it is not part of the text.
            if (bytes.size() >= 2 && bytes[0] == 0xFE && bytes[1] == 0xFF) bytes = bytes.subspan(2);
            return DecodeUtf16(bytes, true, false);
        }
        case TextEncoding::Utf8: {
            std::string_view s(reinterpret_cast<const char*>(bytes.data()), bytes.size());
            if (s.size() >= 3 && s.substr(0, 3) == "\xEF\xBB\xBF") s.remove_prefix(3);
            return text::SanitizeUtf8(s);
        }
    }
    return {};
}

std::vector<std::string> DecodeTextList(std::span<const uint8_t> bytes, TextEncoding e) {
    std::vector<std::string> values;
    const size_t unit = UnitSize(e);
    while (!bytes.empty()) {
        const size_t len = TerminatedLength(bytes, e);
        values.push_back(DecodeText(bytes.first(len), e));
        if (len == bytes.size()) break;
        bytes = bytes.subspan(std::min(bytes.size(), len + unit));
    }
    while (values.size() > 1 && values.back().empty()) values.pop_back();
    return values;
}

std::vector<uint8_t> EncodeText(std::string_view utf8, TextEncoding e) {
    std::vector<uint8_t> out;
    AppendEncodedText(out, utf8, e);
    return out;
}

void AppendEncodedText(std::vector<uint8_t>& out, std::string_view utf8, TextEncoding e) {
    switch (e) {
        case TextEncoding::Latin1: {
            const std::string s = text::Utf8ToLatin1(utf8);
            out.insert(out.end(), s.begin(), s.end());
            break;
        }
        case TextEncoding::Utf16: {
            // An empty string has no byte order to mark (and the tag library drops such a BOM).
            if (utf8.empty()) break;
            const std::string s = text::Utf8ToUtf16(utf8, false);
            out.push_back(0xFF);
            out.push_back(0xFE);
            out.insert(out.end(), s.begin(), s.end());
            break;
        }
        case TextEncoding::Utf16BE: {
            const std::string s = text::Utf8ToUtf16(utf8, true);
            out.insert(out.end(), s.begin(), s.end());
            break;
        }
        case TextEncoding::Utf8: {
            const std::string s = text::SanitizeUtf8(utf8);
            out.insert(out.end(), s.begin(), s.end());
            break;
        }
    }
}

void AppendTerminator(std::vector<uint8_t>& out, TextEncoding e) { out.insert(out.end(), UnitSize(e), 0); }

}  // namespace tagvera::id3v2
