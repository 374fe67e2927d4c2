// The time texts the editing object takes: digits alone are milliseconds ("1500"); otherwise
// "[h:]m:ss[.f]" with minutes and seconds below 60 after a larger field and one to three digits of
// fraction ("1:02:03.5" is 3,723,500 ms).
#ifndef TAGVERA_KMEDIA_EDIT_TIME_TEXT_H
#define TAGVERA_KMEDIA_EDIT_TIME_TEXT_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace tagvera::kmedia {

// Nothing for any other text or a time past 2^32-1 ms.
std::optional<uint32_t> ParseTimeText(std::string_view text);

}  // namespace tagvera::kmedia

#endif
