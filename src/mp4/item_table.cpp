#include "mp4/item_table.h"

#include "mp4/atom_tree.h"

namespace tagvera::mp4 {
namespace {

constexpr uint32_t Copyright(const char (&rest)[4]) {
    return 0xA9u << 24 | uint32_t(uint8_t(rest[0])) << 16 | uint32_t(uint8_t(rest[1])) << 8 | uint8_t(rest[2]);
}

// "widt" to "gnxd" are this system's own items; they live in the item list beside the others.
constexpr ItemRow kRows[] = {
    {kItemTitle, Copyright("nam"), kDataUtf8, "Track:Name"},
    {kItemArtist, Copyright("ART"), kDataUtf8, "Artist:Name"},
    {kItemAlbum, Copyright("alb"), kDataUtf8, "Album:Name"},
    {kItemGenreNumber, FourCC("gnre"), kDataUtf8, nullptr},
    {kItemGenre, Copyright("gen"), kDataUtf8, "Track:Genre"},
    {kItemTrack, FourCC("trkn"), kDataBinary, "Track:CD Track #"},
    {kItemDisc, FourCC("disk"), kDataBinary, nullptr},
    {kItemYear, Copyright("day"), kDataUtf8, "Track:Year"},
    {kItemComment, Copyright("cmt"), kDataUtf8, "Track:Comments"},
    {kItemComposer, Copyright("wrt"), kDataUtf8, nullptr},
    {kItemCover, FourCC("covr"), kDataUtf8, "Album:Cover Art"},
    {kItemTempo, FourCC("tmpo"), kDataUtf8, nullptr},
    {kItemCompilation, FourCC("cmpl"), kDataUtf8, nullptr},
    {kItemEncoder, Copyright("too"), kDataUtf8, nullptr},
    {kItemWidth, FourCC("widt"), kDataUtf8, "Statistics:Width"},
    {kItemHeight, FourCC("heig"), kDataUtf8, "Statistics:Height"},
    {kItemCompatibility, FourCC("cmpt"), kDataUtf8, "Statistics:Compatibility"},
    {kItemUrl1, FourCC("urls"), kDataUtf8, "Track:Custom 1"},
    {kItemUrl2, FourCC("urlo"), kDataUtf8, "Track:Custom 2"},
    {kItemFileId, FourCC("gnid"), kDataUtf8, "Track:GN File ID"},
    {kItemExtData, FourCC("gnxd"), kDataUtf8, "Track:GN ExtData"},
};

}  // namespace

std::span<const ItemRow> ItemTable() { return kRows; }

const ItemRow* FindItemRow(int id) {
    for (const ItemRow& row : kRows)
        if (row.id == id) return &row;
    return nullptr;
}

const ItemRow* FindItemRowByAtom(uint32_t atom) {
    for (const ItemRow& row : kRows)
        if (row.atom == atom) return &row;
    return nullptr;
}

}  // namespace tagvera::mp4
