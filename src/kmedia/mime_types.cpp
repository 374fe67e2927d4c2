#include "kmedia/mime_types.h"

#include <array>
#include <cctype>

namespace tagvera::kmedia {
namespace {

constexpr std::array<std::string_view, 4> kVideo = {
    "video/x-zn-korvavideo", "video/x-zn-korvavideo-encrypted", "video/x-zn-multirate-korvavideo",
    "video/x-zn-multirate-korvavideo-encrypted"};
constexpr std::array<std::string_view, 5> kAudio = {
    "audio/x-zn-korvaaudio", "audio/x-zn-encrypted-ka", "audio/x-zn-korvaaudio-encrypted",
    "audio/x-zn-multirate-korvaaudio", "audio/x-zn-multirate-korvaaudio-encrypted"};
constexpr std::string_view kLossless = "audio/x-kalf-mpeg4-generic";

char Lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

}  // namespace

bool EqualsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (Lower(a[i]) != Lower(b[i])) return false;
    return true;
}

bool StartsWithNoCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && EqualsNoCase(text.substr(0, prefix.size()), prefix);
}

StreamKind ClassifyMimeType(std::string_view mime) {
    for (auto v : kVideo)
        if (EqualsNoCase(mime, v)) return StreamKind::Video;
    for (auto a : kAudio)
        if (EqualsNoCase(mime, a)) return StreamKind::Audio;
    if (EqualsNoCase(mime, kLossless)) return StreamKind::Lossless;
    if (StartsWithNoCase(mime, "logical-")) return StreamKind::Logical;
    return StreamKind::Other;
}

}  // namespace tagvera::kmedia
