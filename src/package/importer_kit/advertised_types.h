// The MIME types and extensions each of the package's components advertises, held once: the
// component table hands them to the host as written here ("|" between items), and each importer
// answers its list getters with the same items in its own form (";" between them).
#ifndef TAGVERA_PACKAGE_IMPORTER_KIT_ADVERTISED_TYPES_H
#define TAGVERA_PACKAGE_IMPORTER_KIT_ADVERTISED_TYPES_H

#include <array>
#include <cstddef>
#include <string_view>

namespace tagvera::advertised {

// The property tree advertises nothing.
inline constexpr char kKorvaMediaExtensions[] = "km|kmj|kms|mnd|kmvb|kmc|kax|kvx|kv|ka";
inline constexpr char kKorvaMediaMimeTypes[] = "audio/x-zn-korvaaudio|application/x-zn-korvamedia";
inline constexpr char kMp3MimeTypes[] = "audio/mp3|audio/x-mp3";
inline constexpr char kMp3Extensions[] = "mp3|mpga";
inline constexpr char kRecordedMimeTypes[] = "application/x-zn-recordfileformat";
inline constexpr char kRecordedExtensions[] = "ivr|flv|meta";
// MP4 files name no MIME type: the importer borrows them from the generic interrogation.
inline constexpr char kMp4Extensions[] = "m4a|m4p|m4v|mp4";
inline constexpr char kImageMimeTypes[] = "image/jpeg|image/bmp|image/png|image/gif|image/tiff";
inline constexpr char kImageExtensions[] = "jpg|jpeg|bmp|png|gif|tif|tiff";
inline constexpr char kWindowsMediaMimeTypes[] = "video/x-ms-asf|audio/x-ms-wma|video/x-ms-wmv|application/x-mplayer2";
inline constexpr char kWindowsMediaExtensions[] = "asf|wma|wmv";
// The generic interrogation stands behind every other type, so the table gives the host none of
// these; the component answers them when asked.
inline constexpr char kInterrogateMimeTypes[] =
    "video/mpeg|video/mpg|video/x-mpeg2a|video/3gpp|video/3gpp2|audio/qcelp|audio/evrc-qcp";
inline constexpr char kInterrogateExtensions[] = "mpg|mpeg|mp4|m4v|mov|avi|divx|qt|3gp|3g2|wav|mp2|qcp";

// Whether an importer's list ends in one more ';' ("mp3;mpga;") or not ("asf;wma;wmv").
enum class ListEnd { Separator, Bare };

// A table list in an importer's form, made when compiling.
template <size_t N>
struct ImporterList {
    std::array<char, N + 1> text{};
    size_t length = 0;
    constexpr std::string_view view() const { return {text.data(), length}; }
};

template <size_t N>
constexpr ImporterList<N> AsImporterList(const char (&table)[N], ListEnd end) {
    ImporterList<N> out;
    for (size_t i = 0; i + 1 < N; ++i) out.text[out.length++] = table[i] == '|' ? ';' : table[i];
    if (end == ListEnd::Separator && out.length > 0) out.text[out.length++] = ';';
    return out;
}

}  // namespace tagvera::advertised

#endif
