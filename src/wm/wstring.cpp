#include "wm/wstring.h"

#include "platform/text.h"

namespace tagvera::wm {

WString::WString(std::string_view narrow) {
    const std::string le = text::Utf8ToUtf16(text::AnsiToUtf8(narrow), false);
    for (size_t i = 0; i + 1 < le.size(); i += 2) wide_.push_back(char16_t(uint8_t(le[i]) | uint8_t(le[i + 1]) << 8));
}

WString WString::FromUtf16le(std::span<const uint8_t> bytes) {
    std::u16string w;
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const char16_t c = char16_t(bytes[i] | bytes[i + 1] << 8);
        if (c == 0) break;
        w.push_back(c);
    }
    return WString(std::move(w));
}

std::vector<uint8_t> WString::utf16le() const {
    std::vector<uint8_t> out;
    out.reserve(wide_.size() * 2 + 2);
    for (char16_t c : wide_) out.insert(out.end(), {uint8_t(c), uint8_t(c >> 8)});
    out.insert(out.end(), {0, 0});
    return out;
}

std::string WString::narrow() const {
    const auto bytes = utf16le();
    return text::Utf8ToAnsi(text::Utf16ToUtf8(std::span(bytes).first(bytes.size() - 2), false));
}

bool WString::contains(std::string_view ascii) const {
    if (ascii.size() > wide_.size()) return false;
    for (size_t i = 0; i + ascii.size() <= wide_.size(); ++i) {
        size_t k = 0;
        while (k < ascii.size() && wide_[i + k] == char16_t(uint8_t(ascii[k]))) ++k;
        if (k == ascii.size()) return true;
    }
    return false;
}

}  // namespace tagvera::wm
