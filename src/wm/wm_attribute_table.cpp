#include "wm/wm_attribute_table.h"

#include "tagvera/vocabulary.h"

namespace tagvera::wm {
namespace {

constexpr AttributeRow kRows[] = {
    {"Bitrate", AttrType::Dword, "Quality", "Statistics", kFlagReadOnly, kTypeNumber},
    {"Duration", AttrType::Qword, "Length", "Statistics", kFlagReadOnly, kTypeNumber},
    {"Title", AttrType::String, "Name", "Track", 0, kTypeText},
    {"Author", AttrType::String, "Name", "Artist", 0, kTypeText},
    {"Description", AttrType::String, "Comments", "Track", 0, kTypeText},
    {"Rating", AttrType::String, "Rating", "Track", 0, kTypeText},
    {"Copyright", AttrType::String, "Copyright", "Track", 0, kTypeText},
    {"WM/AlbumTitle", AttrType::String, "Name", "Album", 0, kTypeText},
    {"WM/Track", AttrType::Dword, "CD Track #", "Track", 0, kTypeText},
    {"WM/PromotionURL", AttrType::String, "Promotion", "Track", 0, kTypeUrl},
    {"WM/AlbumCoverURL", AttrType::String, "Promotion", "Track", 0, kTypeUrl},
    {"WM/Genre", AttrType::String, "Genre", "Track", 0, kTypeText},
    {"WM/Year", AttrType::String, "Year", "Track", 0, kTypeNumber},
    {"HasVideo", AttrType::Bool, "HasVideo", "Track", kFlagReadOnly | kFlagPrivate, kTypeFlag},
    {"WM/AudioSourceURL", AttrType::String, "Custom 1", "Track", 0, kTypeUrl},
    {"WM/AuthorURL", AttrType::String, "Custom 2", "Track", 0, kTypeUrl},
    {"GN/UniqueFileIdentifier", AttrType::Binary, "GN File ID", "Track", 0, kTypeBinary},
    {"GN/ExtData", AttrType::Binary, "GN ExtData", "Track", 0, kTypeBinary},
};

}  // namespace

std::span<const AttributeRow> AttributeRows() { return kRows; }

const AttributeRow* RowForAttribute(std::string_view attribute) {
    for (const auto& row : kRows)
        if (attribute == row.attribute) return &row;
    return nullptr;
}

const AttributeRow* RowForProperty(std::string_view group, std::string_view property) {
    for (const auto& row : kRows)
        if (group == row.group && property == row.property) return &row;
    return nullptr;
}

}  // namespace tagvera::wm
