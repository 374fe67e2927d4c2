// The items the editor knows, by the small ids its operations take: each id's atom type, the data
// type a new entry gets from the text setters, and the property it feeds. Item atoms of any other
// type are never loaded and stay in the file as they are.
#ifndef TAGVERA_MP4_ITEM_TABLE_H
#define TAGVERA_MP4_ITEM_TABLE_H

#include <cstdint>
#include <span>

namespace tagvera::mp4 {

// The type indicator word of an item's "data" box.
enum DataType : uint32_t {
    kDataBinary = 0,  // integers and packed numbers
    kDataUtf8 = 1,
    kDataJpeg = 13,
    kDataPng = 14,
    kDataSignedInteger = 21,
    kDataUnknown = 255,
};

enum ItemId : int {
    kItemTitle = 1, kItemArtist, kItemAlbum, kItemGenreNumber, kItemGenre, kItemTrack, kItemDisc, kItemYear,
    kItemComment, kItemComposer, kItemCover, kItemTempo, kItemCompilation, kItemEncoder, kItemWidth, kItemHeight,
    kItemCompatibility, kItemUrl1, kItemUrl2, kItemFileId, kItemExtData,
};

struct ItemRow {
    int id;
    uint32_t atom;
    uint32_t newTextType;    // data type of an entry the text setter creates
    const char* property;    // the property it feeds or is written from; null when none
};

std::span<const ItemRow> ItemTable();
const ItemRow* FindItemRow(int id);
const ItemRow* FindItemRowByAtom(uint32_t atom);

}  // namespace tagvera::mp4

#endif
