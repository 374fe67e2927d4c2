#include "metaprop/vocabulary.h"

#include <cstdio>

#include "platform/text.h"

namespace tagvera {
namespace {

struct TypeRow {
    uint32_t code;
    const char* name;
};
// Writing and reading both walk this order; 10 comes before 11 and 12 so "reference" reads as 10.
constexpr TypeRow kTypeTable[] = {
    {kTypeNone, kTypeNameNone},          {kTypeText, kTypeNameText},
    {kTypeTextList, kTypeNameTextList},  {kTypeFlag, kTypeNameFlag},
    {kTypeNumber, kTypeNameNumber},      {kTypeBinary, kTypeNameBinary},
    {kTypeUrl, kTypeNameUrl},            {kTypeDate, kTypeNameDate},
    {kTypeReference, kTypeNameReference}, {kTypeFilename, kTypeNameFilename},
    {kTypeGroup, kTypeNameGroup},        {kTypeFileReference, kTypeNameReference},
    {kTypeDataReference, kTypeNameReference},
};

struct FlagRow {
    uint32_t bit;
    const char* name;
};
constexpr FlagRow kFlagTable[] = {
    {kFlagReadOnly, kFlagNameReadOnly}, {kFlagPrivate, kFlagNamePrivate},   {kFlagType, kFlagNameType},
    {kFlagShortcut, kFlagNameShortcut}, {kFlagStagnant, kFlagNameStagnant}, {kFlagFlatten, kFlagNameFlatten},
};

}  // namespace

const char* TypeName(uint32_t type) {
    for (const TypeRow& row : kTypeTable)
        if (row.code == type) return row.name;
    return kTypeNameUndefined;
}

bool TypeFromName(std::string_view name, uint32_t* type) {
    for (const TypeRow& row : kTypeTable) {
        if (text::EqualsNoCase(name, row.name)) {
            *type = row.code;
            return true;
        }
    }
    return false;
}

std::string FlagNames(uint32_t flags) {
    std::string out;
    for (const FlagRow& row : kFlagTable) {
        if (!(flags & row.bit)) continue;
        if (!out.empty()) out += kFlagNameSeparator;
        out += row.name;
    }
    return out;
}

uint32_t FlagsFromNames(std::string_view names) {
    uint32_t flags = 0;
    while (true) {
        const size_t cut = names.find(kFlagNameSeparator);
        const std::string_view piece = names.substr(0, cut);
        for (const FlagRow& row : kFlagTable)
            if (text::EqualsNoCase(piece, row.name)) flags |= row.bit;
        if (cut == std::string_view::npos) return flags;
        names.remove_prefix(cut + 1);
    }
}

uint32_t DecimalToNumber(std::string_view text) {
    size_t i = 0;
    auto at = [&](size_t k) { return k < text.size() ? text[k] : '\0'; };
    while (at(i) == ' ' || (at(i) >= '\t' && at(i) <= '\r')) ++i;
    bool negative = false;
    if (at(i) == '+' || at(i) == '-') negative = at(i++) == '-';
    uint64_t value = 0;
    for (; at(i) >= '0' && at(i) <= '9'; ++i) {
        value = value * 10 + static_cast<uint64_t>(at(i) - '0');
        if (value > UINT32_MAX) value = UINT32_MAX;
    }
    const uint32_t magnitude = static_cast<uint32_t>(value);
    return negative ? 0u - magnitude : magnitude;
}

std::string TrackNumberText(uint32_t number) {
    char text[16];
    std::snprintf(text, sizeof text, "%.2u", static_cast<unsigned>(number));
    return text;
}

}  // namespace tagvera
