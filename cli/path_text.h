// Paths are UTF-8 text in the command, as the library takes them. std::filesystem reads a narrow
// string in the ANSI code page on Windows, so every path crosses over through these two.
#ifndef TAGVERA_CLI_PATH_TEXT_H
#define TAGVERA_CLI_PATH_TEXT_H

#include <filesystem>
#include <string>
#include <string_view>

namespace tagvera::cli {

inline std::filesystem::path Utf8Path(std::string_view text) {
    return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

inline std::string PathUtf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

}  // namespace tagvera::cli

#endif
