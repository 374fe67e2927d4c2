// The vocabulary's edge cases that the readers and writers reach only now and then.
#include <gtest/gtest.h>

#include "metaprop/vocabulary.h"

namespace tagvera {
namespace {

TEST(Vocabulary, TypeAndFlagNames) {
    // The pointer types have no name of their own.
    EXPECT_STREQ(TypeName(kTypeOwnedPointer), "type not defined yet");
    EXPECT_STREQ(TypeName(kTypeInterfacePointer), "type not defined yet");
    uint32_t type = 99;
    ASSERT_TRUE(TypeFromName("Reference", &type));
    EXPECT_EQ(type, 10u);
    type = 99;
    EXPECT_FALSE(TypeFromName("type not defined yet", &type));
    EXPECT_EQ(type, 99u);

    EXPECT_EQ(FlagNames(0x80), "");
    EXPECT_EQ(FlagsFromNames("readonly, private"), 0x01u);  // pieces are not trimmed
    EXPECT_EQ(FlagsFromNames(FlagNames(0x77)), 0x77u);
}

TEST(Vocabulary, TextAsNumber) {
    EXPECT_EQ(DecimalToNumber(" \t12x"), 12u);
    EXPECT_EQ(DecimalToNumber("+5"), 5u);
    EXPECT_EQ(DecimalToNumber("-1"), 0xFFFFFFFFu);
    EXPECT_EQ(DecimalToNumber(""), 0u);
    EXPECT_EQ(DecimalToNumber("99999999999999999999"), 0xFFFFFFFFu);
    // Stops at the end of the bytes given, even without a NUL.
    EXPECT_EQ(DecimalToNumber(std::string_view("123456", 2)), 12u);
    EXPECT_EQ(TrackNumberText(0), "00");
}

}  // namespace
}  // namespace tagvera
