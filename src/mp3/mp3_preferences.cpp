#include "mp3/mp3_preferences.h"

#include "platform/preferences.h"

namespace tagvera {

namespace prefs = platform::prefs;

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

std::vector<TagSource> ReadTagReadPriority() {
    std::string text = prefs::GetString(prefs::kTagReadPriority);
    if (text.size() > kTagReadPriorityMaxLength) text.resize(kTagReadPriorityMaxLength);
    return ParseTagReadPriority(text);
}

bool JukeboxBeforeId3v2(const std::vector<TagSource>& order) {
    for (TagSource source : order) {
        if (source == TagSource::Jukebox) return true;
        if (source == TagSource::Id3v2) return false;
    }
    return true;
}

Mp3EditPreferences ReadMp3EditPreferences() {
    return {prefs::GetNumber(prefs::kTagEditKorvaOne) != 0, prefs::GetNumber(prefs::kTagEditID3V2) != 0,
            prefs::GetNumber(prefs::kTagEditID3V1) != 0};
}

}  // namespace tagvera
