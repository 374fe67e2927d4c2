// Type and flag names in both directions and the shared value conventions.
#include <gtest/gtest.h>

#include "metaprop/vocabulary.h"

namespace tagvera {
namespace {

TEST(Vocabulary, TypeNamesAsWritten) {
    const char* expected[] = {"none", "text",  "textlist",  "flag",      "number",    "binary", "url",
                              "date", "filename", "group", "reference", "reference", "reference"};
    for (uint32_t code = 0; code <= 12; ++code) EXPECT_STREQ(TypeName(code), expected[code]) << code;
    EXPECT_STREQ(TypeName(13), "type not defined yet");
    EXPECT_STREQ(TypeName(14), "type not defined yet");
    EXPECT_STREQ(TypeName(20), "type not defined yet");
}

TEST(Vocabulary, TypeNamesAsReadIgnoreCaseAndReferenceIsTen) {
    uint32_t type = 99;
    ASSERT_TRUE(TypeFromName("Reference", &type));
    EXPECT_EQ(type, 10u);
    ASSERT_TRUE(TypeFromName("TEXTLIST", &type));
    EXPECT_EQ(type, 2u);
    ASSERT_TRUE(TypeFromName("filename", &type));
    EXPECT_EQ(type, 8u);
    type = 99;
    EXPECT_FALSE(TypeFromName("type not defined yet", &type));
    EXPECT_FALSE(TypeFromName("", &type));
    EXPECT_EQ(type, 99u);
}

TEST(Vocabulary, FlagNames) {
    EXPECT_EQ(FlagNames(0x0B), "readonly,private");
    EXPECT_EQ(FlagNames(0x7F), "readonly,private,type,shortcut,stagnant,flatten");
    EXPECT_EQ(FlagNames(0x08), "");
    EXPECT_EQ(FlagNames(0x80), "");
    EXPECT_EQ(FlagsFromNames("ReadOnly,private,bogus,FLATTEN"), 0x43u);
    EXPECT_EQ(FlagsFromNames(""), 0u);
    EXPECT_EQ(FlagsFromNames("readonly, private"), 0x01u);  // pieces are not trimmed
    EXPECT_EQ(FlagsFromNames(FlagNames(0x77)), 0x77u);
}

TEST(Vocabulary, TypeGroups) {
    for (uint32_t t : {10u, 11u, 12u}) EXPECT_TRUE(IsReferenceType(t));
    EXPECT_FALSE(IsReferenceType(9));
    for (uint32_t t : {1u, 2u, 6u, 7u, 8u}) EXPECT_TRUE(IsTextType(t));
    EXPECT_FALSE(IsTextType(5));
    EXPECT_TRUE(KeepsChildrenOnReplace(10, 12));
    EXPECT_TRUE(KeepsChildrenOnReplace(1, 1));
    EXPECT_FALSE(KeepsChildrenOnReplace(1, 2));
    EXPECT_TRUE(IsPointerType(13));
    EXPECT_TRUE(IsPointerType(14));
}

TEST(Vocabulary, TextAsNumber) {
    EXPECT_EQ(DecimalToNumber("07"), 7u);
    EXPECT_EQ(DecimalToNumber(" \t12x"), 12u);
    EXPECT_EQ(DecimalToNumber("+5"), 5u);
    EXPECT_EQ(DecimalToNumber("-1"), 0xFFFFFFFFu);
    EXPECT_EQ(DecimalToNumber("abc"), 0u);
    EXPECT_EQ(DecimalToNumber(""), 0u);
    EXPECT_EQ(DecimalToNumber("99999999999999999999"), 0xFFFFFFFFu);
    // Stops at the end of the bytes given, even without a NUL.
    EXPECT_EQ(DecimalToNumber(std::string_view("123456", 2)), 12u);
    EXPECT_EQ(TrackNumberText(7), "07");
    EXPECT_EQ(TrackNumberText(0), "00");
    EXPECT_EQ(TrackNumberText(123), "123");
}

TEST(Vocabulary, NumbersAreLittleEndian) {
    uint8_t bytes[4];
    StoreNumber(0x11223344, bytes);
    EXPECT_EQ(bytes[0], 0x44);
    EXPECT_EQ(bytes[3], 0x11);
    EXPECT_EQ(LoadNumber(bytes), 0x11223344u);
}

}  // namespace
}  // namespace tagvera
