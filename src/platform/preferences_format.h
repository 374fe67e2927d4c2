// Pieces of the preferences text form and defaults shared by the parser and the stores (not for
// other layers).
#ifndef TAGVERA_PLATFORM_PREFERENCES_FORMAT_H
#define TAGVERA_PLATFORM_PREFERENCES_FORMAT_H

#include <string>
#include <string_view>

#include "platform/preferences.h"

namespace tagvera::platform::prefs {

// Why name cannot be a value name, or "" when it can.
std::string CheckName(std::string_view name);
// One "Name = type:value" line, without the line break.
std::string FormatValue(const ParsedValue& value);
// A decimal or 0x number filling the whole text (blanks around allowed).
bool NumberFromText(std::string_view text, uint32_t& out);
// The default of a known value as text and as a number; "" and 0 for an unknown one (null).
std::string DefaultText(const Definition* d);
uint32_t DefaultNumber(const Definition* d);

}  // namespace tagvera::platform::prefs

#endif
