// The values the library reads, with their types and defaults: the same names on every system,
// whichever store holds them.
#include <array>

#include "platform/preferences_format.h"
#include "platform/text.h"

namespace tagvera::platform::prefs {
namespace {

constexpr std::array<Definition, 6> kKnown{{
    {kTagReadPriority, ValueType::String, "K1,V2,V1", 0},
    {kTagEditKorvaOne, ValueType::Dword, "", 1},
    {kTagEditID3V2, ValueType::Dword, "", 1},
    {kTagEditID3V1, ValueType::Dword, "", 1},
    {kXMLEncoding, ValueType::String, "US-ASCII", 0},
    {kWriteDBFields, ValueType::String, "0", 0},
}};

}  // namespace

std::span<const Definition> KnownValues() { return kKnown; }

const Definition* FindKnown(std::string_view name) {
    for (const Definition& d : kKnown)
        if (text::EqualsNoCase(d.name, name)) return &d;
    return nullptr;
}

std::string DefaultText(const Definition* d) {
    if (!d) return "";
    return d->type == ValueType::Dword ? std::to_string(d->defaultNumber) : std::string(d->defaultText);
}

uint32_t DefaultNumber(const Definition* d) {
    if (!d) return 0;
    uint32_t n = d->defaultNumber;
    if (d->type == ValueType::String && !NumberFromText(d->defaultText, n)) n = 0;
    return n;
}

}  // namespace tagvera::platform::prefs
