// What kind of stream a MIME type names; KorvaMedia compares them without regard to case.
#ifndef TAGVERA_KMEDIA_MIME_TYPES_H
#define TAGVERA_KMEDIA_MIME_TYPES_H

#include <string_view>

namespace tagvera::kmedia {

bool EqualsNoCase(std::string_view a, std::string_view b);
bool StartsWithNoCase(std::string_view text, std::string_view prefix);

enum class StreamKind { Other, Audio, Video, Lossless, Logical };
StreamKind ClassifyMimeType(std::string_view mime);

}  // namespace tagvera::kmedia

#endif
