#include <gtest/gtest.h>

#include <cstring>

#include "metaprop/genre_table.h"

namespace tagvera {
namespace {

TEST(GenreTable, Holds148NamesWithTheirHistoricSpellings) {
    EXPECT_STREQ(GenreNameFromIndex(0), "Blues");
    EXPECT_STREQ(GenreNameFromIndex(12), "Other");
    EXPECT_STREQ(GenreNameFromIndex(17), "Rock");
    EXPECT_STREQ(GenreNameFromIndex(67), "Psychadelic");
    EXPECT_STREQ(GenreNameFromIndex(93), "Psychedelic Rock");
    EXPECT_STREQ(GenreNameFromIndex(85), "Bebob");
    EXPECT_STREQ(GenreNameFromIndex(123), "A Capella");
    EXPECT_STREQ(GenreNameFromIndex(100), "Humour");
    EXPECT_STREQ(GenreNameFromIndex(60), "Top 40");
    EXPECT_STREQ(GenreNameFromIndex(147), "Synthpop");
    EXPECT_EQ(kGenreNames[kGenreCount], nullptr);
    for (int i = 0; i < kGenreCount; ++i) {
        ASSERT_NE(kGenreNames[i], nullptr);
        EXPECT_GT(std::strlen(kGenreNames[i]), 0u);
        EXPECT_EQ(FindGenreIndex(kGenreNames[i]), i) << "names are unique";
    }
}

TEST(GenreTable, IndicesOutsideTheTableHaveNoName) {
    for (int i : {148, 200, 254, 255, 1000, -1, -128}) EXPECT_STREQ(GenreNameFromIndex(i), "") << i;
}

TEST(GenreTable, NamesMatchWholeAndIgnoringCase) {
    EXPECT_EQ(FindGenreIndex("rock"), 17);
    EXPECT_EQ(FindGenreIndex("ROCK"), 17);
    EXPECT_EQ(FindGenreIndex("Rock "), -1);
    EXPECT_EQ(FindGenreIndex("Roc"), -1);
    EXPECT_EQ(FindGenreIndex(""), -1);
    EXPECT_EQ(FindGenreIndex("drum & bass"), 127);
    EXPECT_EQ(GenreIndexFromName("rock"), 17);
    EXPECT_EQ(GenreIndexFromName("Polka Punk"), 255);
    EXPECT_EQ(GenreIndexFromName("SYNTHPOP"), 147);
}

TEST(GenreTable, NumbersInTagTextNameTheirGenre) {
    EXPECT_EQ(GenreFromTagText("(17)"), "Rock");
    EXPECT_EQ(GenreFromTagText("17"), "Rock");
    EXPECT_EQ(GenreFromTagText("17Rock"), "Rock");
    EXPECT_EQ(GenreFromTagText("(0)"), "Blues");
    EXPECT_EQ(GenreFromTagText("(147)Synthpop"), "Synthpop");
    EXPECT_EQ(GenreFromTagText("(148)"), "");
    EXPECT_EQ(GenreFromTagText("99999999999999999999"), "");
    EXPECT_EQ(GenreFromTagText("Rock"), "Rock");
    EXPECT_EQ(GenreFromTagText("(RX)"), "(RX)");
    EXPECT_EQ(GenreFromTagText("("), "(");
    EXPECT_EQ(GenreFromTagText(""), "");
    EXPECT_EQ(GenreFromTagText("Drum & Bass"), "Drum & Bass");
}

}  // namespace
}  // namespace tagvera
