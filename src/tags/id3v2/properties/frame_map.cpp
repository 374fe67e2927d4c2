#include "tags/id3v2/properties/frame_map.h"

#include <array>
#include <string>

namespace tagvera::id3v2 {

namespace {

constexpr std::array<const char*, 51> kFrameNumbers{{
    "TOAL", "TPUB", "TENC", "TSSE", "TOFN", "TLAN", "TPOS", "TDAT", "TIME", "TRDA", "TMED", "TFLT", "TRSN",
    "TRSO", "TEXT", "TOPE", "TOLY", "TIT3", "TPE4", "TXXX", "TIT1", "TIT2", "TPE1", "TPE2", "TALB", "TYER",
    "TPE3", "TCOM", "TCOP", "TCON", "TRCK", "COMM", "WOAF", "WOAR", "WOAS", "WCOM", "WCOP", "WPUB", "WPAY",
    "WORS", "WXXX", "IPLS", "USLT", "APIC", "GEOB", "UFID", "PCNT", "POPM", "GRID", "ENCR", "MCDI",
}};

using R = ReadRule;
using W = WriteRule;

constexpr std::array<FrameMapRow, 44> kFrameMap{{
    {"TENC", "Encoded By", "Credits", R::Text, W::Text, false},
    {"TOAL", "Original Album", "Credits", R::Text, W::Text, false},
    {"TPUB", "Publisher", "Credits", R::Text, W::Text, false},
    {"TSSE", "Encode Settings", "Statistics", R::Text, W::Text, false},
    {"TOFN", "Original Filename", "Credits", R::Text, W::Text, false},
    {"TLAN", "Language", "Track", R::Text, W::Text, false},
    {"TPOS", "Part In Set", "Track", R::Text, W::Text, false},
    {"TMED", "Media Source", "Credits", R::NotRead, W::Text, false},
    {"TFLT", "MimeType", "Statistics", R::NotRead, W::Text, false},
    {"TRSN", "Net Radio Station", "Credits", R::Text, W::Text, false},
    {"TRSO", "Net Radio Owner", "Credits", R::Text, W::Text, false},
    {"TEXT", "Text Author", "Credits", R::Text, W::Text, false},
    {"TOPE", "Original Artist", "Credits", R::Text, W::Text, false},
    {"TOLY", "Original Lyricist", "Credits", R::Text, W::Text, false},
    {"TIT2", "Name", "Track", R::Text, W::Text, true},
    {"TIT3", "Description", "Track", R::Text, W::Text, false},
    {"TPE1", "Name", "Artist", R::Text, W::Text, true},
    {"TPE2", "Band", "Artist", R::Text, W::Text, false},
    {"TPE3", "Conductor", "Artist", R::Text, W::Text, false},
    {"TPE4", "Mix Artist", "Credits", R::Text, W::Text, false},
    {"TALB", "Name", "Album", R::Text, W::Text, true},
    {"TYER", "Year", "Track", R::Year, W::Text, true},
    {"TCOM", "Composer", "Artist", R::Text, W::Text, false},
    {"TCOP", "Copyright", "Track", R::Text, W::Text, true},
    {"TCON", "Genre", "Track", R::Genre, W::Text, true},
    {"TRCK", "CD Track #", "Track", R::Text, W::Text, true},
    {"COMM", "Comments", "Track", R::Comment, W::Text, true},
    {"TXXX", "User Text", "Track", R::UserText, W::Text, false},
    {"USLT", "Lyrics", "Track", R::Lyrics, W::Text, false},
    {"WOAF", "Track URL", "Web Links", R::Url, W::Url, true},
    {"WOAR", "Artist URL", "Web Links", R::Url, W::Url, true},
    {"WOAS", "Web Page", "Web Links", R::Url, W::Url, true},
    {"WCOM", "Buy CD URL", "Web Links", R::Url, W::Url, true},
    {"WCOP", "Copyright", "Web Links", R::Url, W::Url, true},
    {"WPUB", "Publisher's Official Homepage", "Web Links", R::Url, W::Url, true},
    {"WPAY", "Purchase Track", "Web Links", R::Url, W::Url, true},
    {"WORS", "Official Internet Radio Station Homepage", "Web Links", R::Url, W::Url, true},
    {"WXXX", "Web Page", "Track", R::UserUrl, W::Url, true},
    {"IPLS", "All Other Credits", "Credits", R::PeopleList, W::Text, false},
    {"APIC", "Cover Art", "Album", R::Picture, W::Picture, false},
    {"GEOB", "General Object", "Track", R::Object, W::Object, false},
    {"MCDI", "CD TOC", "Track", R::CdToc, W::CdToc, false},
    {"TXXX", "GN ExtData", "Track", R::NotRead, W::Gracenote, false},
    {"UFID", "GN File ID", "Track", R::NotRead, W::Gracenote, false},
}};

constexpr std::array<PictureTypeRow, 15> kPictureTypes{{
    {1, 2, "Icon", "Track"},
    {3, 4, "Cover Art", "Album"},
    {5, 6, "Liner Art", "Album"},
    {7, 8, "Picture", "Artist"},
    {9, 9, "Conductor Picture", "Artist"},
    {10, 10, "Band Picture", "Artist"},
    {11, 11, "Composer Picture", "Artist"},
    {12, 12, "Text Author Picture", "Credits"},
    {13, 13, "Recording Location Picture", "Credits"},
    {14, 14, "Recording Picture", "Credits"},
    {15, 15, "Concert Picture", "Credits"},
    {16, 16, "Movie Picture", "Credits"},
    {17, 18, "Liner Art", "Credits"},
    {19, 19, "Logo Picture", "Artist"},
    {20, 20, "Publisher Logo Picture", "Credits"},
}};

// A four-character id as one number, so that the tables are searched by comparing words; 0 (which
// no table id packs to) for any other length.
constexpr uint32_t PackId(std::string_view id) {
    if (id.size() != 4) return 0;
    return uint32_t(uint8_t(id[0])) << 24 | uint32_t(uint8_t(id[1])) << 16 | uint32_t(uint8_t(id[2])) << 8 |
           uint32_t(uint8_t(id[3]));
}

constexpr auto kPackedFrameNumbers = [] {
    std::array<uint32_t, kFrameNumbers.size()> packed{};
    for (size_t i = 0; i < packed.size(); ++i) packed[i] = PackId(kFrameNumbers[i]);
    return packed;
}();
constexpr auto kPackedFrameMap = [] {
    std::array<uint32_t, kFrameMap.size()> packed{};
    for (size_t i = 0; i < packed.size(); ++i) packed[i] = PackId(kFrameMap[i].frameId);
    return packed;
}();

}  // namespace

uint32_t FrameNumber(std::string_view id) {
    const uint32_t packed = PackId(id);
    for (size_t i = 0; packed && i < kPackedFrameNumbers.size(); ++i)
        if (packed == kPackedFrameNumbers[i]) return static_cast<uint32_t>(i + 1);
    return 0;
}

std::string_view FrameIdOfNumber(uint32_t number) {
    if (number == 0 || number > kFrameNumbers.size()) return {};
    return kFrameNumbers[number - 1];
}

std::span<const FrameMapRow> FrameMap() { return kFrameMap; }

const FrameMapRow* FindReadRow(std::string_view id) {
    const uint32_t packed = PackId(id);
    for (size_t i = 0; packed && i < kFrameMap.size(); ++i)
        if (packed == kPackedFrameMap[i] && kFrameMap[i].read != ReadRule::NotRead) return &kFrameMap[i];
    return nullptr;
}

std::span<const PictureTypeRow> PictureTypes() { return kPictureTypes; }

const PictureTypeRow* FindPictureType(uint8_t type) {
    for (const auto& row : PictureTypes())
        if (type >= row.firstType && type <= row.lastType) return &row;
    return nullptr;
}

namespace {

const char* CatalogType(const FrameMapRow& row) {
    const std::string_view id = row.frameId;
    if (id == "TRCK" || id == "TPOS") return "track";
    if (row.read == ReadRule::Year) return "year";
    switch (row.write) {
        case WriteRule::Url: return "url";
        case WriteRule::Picture: return "picture";
        case WriteRule::Object:
        case WriteRule::CdToc:
        case WriteRule::Gracenote: return "data";
        case WriteRule::Text: break;
    }
    return "text";
}

}  // namespace

std::vector<CatalogEntry> Id3v2Catalog() {
    std::vector<CatalogEntry> out;
    for (const auto& row : kFrameMap) {
        // Pictures are listed by their types below; the Gracenote rows are written for hosts only.
        if (row.write == WriteRule::Picture || row.write == WriteRule::Gracenote) continue;
        out.push_back({std::string(row.parent) + ":" + row.property, CatalogType(row), true, std::string("ID3v2 ") + row.frameId});
    }
    for (const auto& row : kPictureTypes) {
        std::string where = "ID3v2 APIC type " + std::to_string(row.firstType);
        if (row.lastType != row.firstType) where += " or " + std::to_string(row.lastType);
        out.push_back({std::string(row.parent) + ":" + row.property, "picture", true, where});
    }
    return out;
}

}  // namespace tagvera::id3v2
