#include "kmedia/content_properties.h"

#include <string_view>

namespace tagvera::kmedia {

std::vector<std::pair<std::string, std::string>> ContentProperties(const ContentObject& content) {
    std::vector<std::pair<std::string, std::string>> out;
    const auto add = [&](const char* path, std::string_view text) {
        if (!text.empty()) out.emplace_back(path, std::string(text));
    };
    const std::string_view title = content.title;
    const size_t first = title.find('/');
    if (first == std::string_view::npos) {
        add("Track:Name", title);
    } else {
        add("Album:Name", title.substr(0, first));
        const size_t second = title.find('/', first + 1);
        if (second != std::string_view::npos) {
            add("Track:Name", title.substr(first + 1, second - first - 1));
            const std::string_view rest = title.substr(second + 1);
            add("Track:Genre", rest.substr(0, rest.find('/')));
        }
    }
    add("Artist:Name", content.author);
    add("Track:Copyright", content.copyright);
    return out;
}

std::vector<CatalogEntry> ContentCatalog() {
    return {{"Track:Name", "text", false, "CONT title"},
            {"Album:Name", "text", false, "CONT title (album/name/genre)"},
            {"Track:Genre", "text", false, "CONT title (album/name/genre)"},
            {"Artist:Name", "text", false, "CONT author"},
            {"Track:Copyright", "text", false, "CONT copyright"}};
}

}  // namespace tagvera::kmedia
