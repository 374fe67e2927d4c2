// Pieces of the preferences text form shared by the parser and the store (not for other layers).
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

}  // namespace tagvera::platform::prefs

#endif
