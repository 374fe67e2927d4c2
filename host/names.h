// Names that compare without regard to ASCII case, as value-list names, extensions and MIME types
// do; the C library's comparison in the "C" locale, which the host never changes.
#ifndef TAGVERA_HOST_NAMES_H
#define TAGVERA_HOST_NAMES_H

#include <strings.h>

#include <algorithm>
#include <string_view>

namespace tagvera::host {

inline int CompareNoCase(std::string_view a, std::string_view b) {
    const size_t common = std::min(a.size(), b.size());
    if (const int c = common ? ::strncasecmp(a.data(), b.data(), common) : 0; c != 0) return c;
    return a.size() < b.size() ? -1 : (a.size() > b.size() ? 1 : 0);
}

inline bool EqualsNoCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && CompareNoCase(a, b) == 0;
}

}  // namespace tagvera::host

#endif
