#include "mp3/mp3_tag_priority.h"

#include "platform/preferences.h"

namespace tagvera {

std::vector<TagSource> ParseTagReadPriority(std::string_view text) {
    std::vector<TagSource> order;
    for (int item = 0; item < 3; ++item) {
        const size_t comma = text.find(',');
        const std::string_view name = text.substr(0, comma);
        if (name == "K1") order.push_back(TagSource::Jukebox);
        else if (name == "V2") order.push_back(TagSource::Id3v2);
        else if (name == "V1") order.push_back(TagSource::Id3v1);
        if (comma == std::string_view::npos) break;
        text.remove_prefix(comma + 1);
    }
    return order;
}

std::string TagReadPriorityText() {
    std::string text = platform::prefs::GetString(platform::prefs::kTagReadPriority);
    if (text.size() > kTagReadPriorityMaxLength) text.resize(kTagReadPriorityMaxLength);
    return text;
}

std::vector<TagSource> TagReadPriority() { return ParseTagReadPriority(TagReadPriorityText()); }

bool JukeboxBeforeId3v2(const std::vector<TagSource>& order) {
    for (TagSource source : order) {
        if (source == TagSource::Jukebox) return true;
        if (source == TagSource::Id3v2) return false;
    }
    return true;
}

}  // namespace tagvera
