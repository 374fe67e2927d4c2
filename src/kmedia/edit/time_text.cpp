#include "kmedia/edit/time_text.h"

#include <vector>

namespace tagvera::kmedia {
namespace {

// Digits only, at most ten of them, so that no sum below overflows 64 bits.
std::optional<uint64_t> Digits(std::string_view s) {
    if (s.empty() || s.size() > 10) return std::nullopt;
    uint64_t v = 0;
    for (char c : s) {
        if (c < '0' || c > '9') return std::nullopt;
        v = v * 10 + uint64_t(c - '0');
    }
    return v;
}

}  // namespace

std::optional<uint32_t> ParseTimeText(std::string_view text) {
    if (text.find(':') == std::string_view::npos) {
        const auto ms = Digits(text);
        if (!ms || *ms > UINT32_MAX) return std::nullopt;
        return static_cast<uint32_t>(*ms);
    }
    uint64_t fraction = 0;
    if (const size_t dot = text.find('.'); dot != std::string_view::npos) {
        const std::string_view f = text.substr(dot + 1);
        const auto digits = Digits(f);
        if (!digits || f.size() > 3) return std::nullopt;
        fraction = *digits * (f.size() == 1 ? 100 : f.size() == 2 ? 10 : 1);
        text = text.substr(0, dot);
    }
    std::vector<uint64_t> fields;
    for (size_t start = 0;;) {
        const size_t colon = text.find(':', start);
        const auto v = Digits(text.substr(start, colon == std::string_view::npos ? colon : colon - start));
        if (!v || fields.size() == 3) return std::nullopt;
        fields.push_back(*v);
        if (colon == std::string_view::npos) break;
        start = colon + 1;
    }
    // Every field after the first counts in sixties.
    uint64_t seconds = fields[0];
    for (size_t i = 1; i < fields.size(); ++i) {
        if (fields[i] >= 60) return std::nullopt;
        seconds = seconds * 60 + fields[i];
    }
    const uint64_t ms = seconds * 1000 + fraction;
    if (ms > UINT32_MAX) return std::nullopt;
    return static_cast<uint32_t>(ms);
}

}  // namespace tagvera::kmedia
