#include <gtest/gtest.h>

#include <cstring>

#include "metaprop/genre_table.h"

namespace tagvera {
namespace {

TEST(GenreTable, Holds148UniqueNamesWithTheirHistoricSpellings) {
    // Other taggers match these exact spellings, misspellings included.
    const std::pair<int, const char*> names[] = {{0, "Blues"},         {17, "Rock"},     {67, "Psychadelic"},
                                                 {85, "Bebob"},        {100, "Humour"},  {123, "A Capella"},
                                                 {147, "Synthpop"}};
    for (const auto& [index, name] : names) EXPECT_STREQ(GenreNameFromIndex(index), name);
    for (int i : {148, 255, 1000, -1, -128}) EXPECT_STREQ(GenreNameFromIndex(i), "") << i;
    EXPECT_EQ(kGenreNames[kGenreCount], nullptr);
    for (int i = 0; i < kGenreCount; ++i) {
        ASSERT_NE(kGenreNames[i], nullptr);
        EXPECT_GT(std::strlen(kGenreNames[i]), 0u);
        EXPECT_EQ(FindGenreIndex(kGenreNames[i]), i) << "names are unique";
    }
}

TEST(GenreTable, NamesMatchWholeIgnoringCase) {
    const std::pair<const char*, int> cases[] = {{"rock", 17}, {"ROCK", 17}, {"Rock ", -1},
                                                 {"Roc", -1},  {"", -1},     {"drum & bass", 127}};
    for (const auto& [name, index] : cases) EXPECT_EQ(FindGenreIndex(name), index) << name;
    EXPECT_EQ(GenreIndexFromName("SYNTHPOP"), 147);
    EXPECT_EQ(GenreIndexFromName("Polka Punk"), 255);
}

TEST(GenreTable, NumbersInTagTextNameTheirGenre) {
    const std::pair<const char*, const char*> cases[] = {
        {"(17)", "Rock"},     {"17", "Rock"},   {"17Rock", "Rock"}, {"(0)", "Blues"},
        {"(147)Synthpop", "Synthpop"},          {"(148)", ""},      {"99999999999999999999", ""},
        {"Rock", "Rock"},     {"(RX)", "(RX)"}, {"(", "("},         {"", ""},
        {"Drum & Bass", "Drum & Bass"}};
    for (const auto& [text, genre] : cases) EXPECT_EQ(GenreFromTagText(text), genre) << text;
}

}  // namespace
}  // namespace tagvera
