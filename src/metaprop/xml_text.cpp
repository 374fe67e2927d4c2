#include "metaprop/xml_text.h"

namespace tagvera::xmltext {
namespace {

constexpr char kAlphabet[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDE";
constexpr uint32_t kRadix = 41;
constexpr size_t kDigitsPerGroup = 6;

uint32_t DigitValue(char c) {
    if (c >= '0' && c <= '9') return uint32_t(c - '0');
    if (c >= 'a' && c <= 'z') return uint32_t(c - 'a') + 10;
    if (c >= 'A' && c <= 'E') return uint32_t(c - 'A') + 36;
    return 0;
}

}  // namespace

void AppendEscaped(TextOutputBuffer& out, std::string_view text) {
    // Trail bytes of double-byte code pages start at 0x40, above all five characters, so a
    // byte-wise pass copies double-byte characters whole.
    size_t plain = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const char* entity = nullptr;
        switch (text[i]) {
            case '\'': entity = "&apos;"; break;
            case '"': entity = "&quot;"; break;
            case '<': entity = "&lt;"; break;
            case '>': entity = "&gt;"; break;
            case '&': entity = "&amp;"; break;
            default: continue;
        }
        out.append(text.substr(plain, i - plain));
        out.append(std::string_view(entity));
        plain = i + 1;
    }
    out.append(text.substr(plain));
}

void AppendRadix41(TextOutputBuffer& out, std::span<const uint8_t> bytes) {
    for (size_t at = 0; at < bytes.size(); at += 4) {
        uint32_t n = 0;
        for (size_t i = 0; i < 4; ++i) n = n << 8 | (at + i < bytes.size() ? bytes[at + i] : 0);
        char digits[kDigitsPerGroup];
        for (char& d : digits) {
            d = kAlphabet[n % kRadix];
            n /= kRadix;
        }
        out.append(digits, sizeof digits);
    }
}

std::vector<uint8_t> DecodeRadix41(std::string_view text) {
    std::vector<uint8_t> bytes;
    bytes.reserve(text.size() / kDigitsPerGroup * 4);
    for (size_t at = 0; at + kDigitsPerGroup <= text.size(); at += kDigitsPerGroup) {
        // Six digits reach past 32 bits; the number wraps at 32 bits as it always has.
        uint32_t n = 0;
        for (size_t i = kDigitsPerGroup; i-- > 0;) n = n * kRadix + DigitValue(text[at + i]);
        bytes.push_back(uint8_t(n >> 24));
        bytes.push_back(uint8_t(n >> 16));
        bytes.push_back(uint8_t(n >> 8));
        bytes.push_back(uint8_t(n));
    }
    return bytes;
}

}  // namespace tagvera::xmltext
