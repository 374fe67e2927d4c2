// UTF-8, the text of every path and name in the host, to and from the UTF-16 of Windows' wide
// calls. The host may not use the library's own converters, so it has these.
#ifndef TAGVERA_HOST_WIDE_TEXT_H
#define TAGVERA_HOST_WIDE_TEXT_H

#if defined(_WIN32)
#include <string>
#include <string_view>

namespace tagvera::host {

// Invalid sequences become U+FFFD, as the system's converter makes them.
std::wstring WideFromUtf8(std::string_view text);
std::string Utf8FromWide(std::wstring_view text);

}  // namespace tagvera::host
#endif

#endif
