// Any bytes as a preferences file: the parser never crashes, and what it accepts formats back to
// text that parses to the same sections and values.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "platform/preferences.h"

using namespace tagvera::platform::prefs;

namespace {

bool SameValues(const ParsedFile& a, const ParsedFile& b) {
    if (a.sections.size() != b.sections.size()) return false;
    for (size_t s = 0; s < a.sections.size(); ++s) {
        const auto& x = a.sections[s];
        const auto& y = b.sections[s];
        if (x.key != y.key || x.values.size() != y.values.size()) return false;
        for (size_t v = 0; v < x.values.size(); ++v) {
            const auto& p = x.values[v];
            const auto& q = y.values[v];
            if (p.name != q.name || p.type != q.type || p.text != q.text || p.number != q.number) return false;
        }
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const ParsedFile parsed = Parse(text);
    if (!parsed.ok) {
        if (parsed.line < 1 || parsed.message.empty() || parsed.preferences()) std::abort();
        return 0;
    }
    const ParsedFile again = Parse(Format(parsed));
    if (!again.ok || !SameValues(parsed, again)) std::abort();
    return 0;
}
