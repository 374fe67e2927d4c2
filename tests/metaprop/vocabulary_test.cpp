// The vocabulary's edge cases that the readers and writers reach only now and then.
#include <gtest/gtest.h>

#include "metaprop/vocabulary.h"

namespace tagvera {
namespace {

TEST(Vocabulary, TextAsNumberAndFlags) {
    EXPECT_EQ(DecimalToNumber(" \t12x"), 12u);
    EXPECT_EQ(DecimalToNumber("+5"), 5u);
    EXPECT_EQ(DecimalToNumber("-1"), 0xFFFFFFFFu);
    EXPECT_EQ(DecimalToNumber(""), 0u);
    EXPECT_EQ(DecimalToNumber("99999999999999999999"), 0xFFFFFFFFu);
    // Stops at the end of the bytes given, even without a NUL.
    EXPECT_EQ(DecimalToNumber(std::string_view("123456", 2)), 12u);
    EXPECT_EQ(TrackNumberText(0), "00");
    EXPECT_EQ(FlagsFromNames("readonly, private"), 0x01u);  // pieces are not trimmed
}

}  // namespace
}  // namespace tagvera
