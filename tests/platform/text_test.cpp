#include "platform/text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/scratch_dir.h"

namespace tagvera::text {
namespace {

const std::string R = "\xEF\xBF\xBD";  // U+FFFD in UTF-8

using Bytes = std::vector<uint8_t>;

struct BadUtf8 {
    const char* name;
    std::string input;
    std::string sanitized;
};

TEST(Utf8, InvalidSequencesBecomeOneReplacementPerMaximalPart) {
    const BadUtf8 cases[] = {
        {"lone continuation", "a\x80z", "a" + R + "z"},
        {"overlong slash", "\xC0\xAF", R + R},
        {"overlong three-byte", "\xE0\x80\xAF", R + R + R},
        {"truncated at end", "ab\xE2\x82", "ab" + R},
        {"truncated before ASCII", "\xE2\x82" "A", R + "A"},
        {"truncated four-byte", "\xF0\x9F\x98", R},
        {"encoded surrogate", "\xED\xA0\x80", R + R + R},
        {"past U+10FFFF", "\xF4\x90\x80\x80", R + R + R + R},
        {"invalid lead bytes", "\xFE\xFF", R + R},
        {"five-byte form", "\xF8\x88\x80\x80\x80", R + R + R + R + R},
    };
    for (const BadUtf8& c : cases) {
        bool lossy = false;
        EXPECT_EQ(SanitizeUtf8(c.input, &lossy), c.sanitized) << c.name;
        EXPECT_TRUE(lossy) << c.name;
        EXPECT_FALSE(IsValidUtf8(c.input)) << c.name;
    }
}

TEST(Utf8, ValidTextPassesUnchanged) {
    const std::string text = "plain, caf\xC3\xA9, \xE2\x82\xAC, \xF0\x9F\x98\x80, \xF4\x8F\xBF\xBF, \xEF\xBB\xBF";
    bool lossy = false;
    EXPECT_TRUE(IsValidUtf8(text));
    EXPECT_EQ(SanitizeUtf8(text, &lossy), text);
    EXPECT_FALSE(lossy);
    EXPECT_TRUE(IsValidUtf8(""));
}

TEST(Latin1, RoundTripAndLossyNarrowing) {
    const auto all = [] {
        std::vector<uint8_t> v;
        for (int i = 1; i < 256; ++i) v.push_back(static_cast<uint8_t>(i));
        return v;
    }();
    const std::string utf8 = Latin1ToUtf8(all);
    EXPECT_TRUE(IsValidUtf8(utf8));
    EXPECT_TRUE(FitsLatin1(utf8));
    bool lossy = false;
    const std::string back = Utf8ToLatin1(utf8, &lossy);
    EXPECT_FALSE(lossy);
    EXPECT_EQ(std::vector<uint8_t>(back.begin(), back.end()), all);

    EXPECT_EQ(Utf8ToLatin1("caf\xC3\xA9 \xE2\x82\xAC \xFF", &lossy), "caf\xE9 ? ?");
    EXPECT_TRUE(lossy);
    EXPECT_FALSE(FitsLatin1("\xE2\x82\xAC"));
    EXPECT_FALSE(FitsLatin1("\xC3"));
}

struct Utf16Case {
    const char* name;
    std::vector<uint8_t> utf16;
    bool bigEndian;
    std::string utf8;
    bool lossy;
};

TEST(Utf16, DecodingPairsAndReplacesWhatCannotBePaired) {
    const std::string grin = "\xF0\x9F\x98\x80";  // U+1F600
    const Utf16Case cases[] = {
        // High surrogate then 'A'; a lone low surrogate; a high surrogate as the last unit.
        {"unpaired surrogates", Bytes{0x00, 0xD8, 0x41, 0x00, 0x00, 0xDC, 0x42, 0x00, 0x00, 0xD8}, false,
         R + "A" + R + "B" + R, true},
        {"odd length", Bytes{0x41, 0x00, 0x42}, false, "A" + R, true},
        {"one byte", Bytes{0x41}, true, R, true},
        {"nothing", {}, true, "", false},
    };
    for (const Utf16Case& c : cases) {
        bool lossy = false;
        EXPECT_EQ(Utf16ToUtf8(c.utf16, c.bigEndian, &lossy), c.utf8) << c.name;
        EXPECT_EQ(lossy, c.lossy) << c.name;
    }
    EXPECT_EQ(Utf8ToUtf16(grin, false), std::string("\x3D\xD8\x00\xDE", 4));
    EXPECT_EQ(Utf8ToUtf16(grin, true), std::string("\xD8\x3D\xDE\x00", 4));
}

TEST(Utf16, RoundTripThroughUtf8) {
    const std::string text = "Motörhead \xE2\x80\x94 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9D\x84\x9E";
    for (bool be : {false, true}) {
        bool lossy = false;
        const std::string utf16 = Utf8ToUtf16(text, be, &lossy);
        EXPECT_FALSE(lossy);
        EXPECT_EQ(Utf16ToUtf8(test::Span(utf16), be, &lossy), text);
        EXPECT_FALSE(lossy);
    }
    bool lossy = false;
    EXPECT_EQ(Utf8ToUtf16("a\xFF", false, &lossy), std::string("a\0\xFD\xFF", 4));
    EXPECT_TRUE(lossy);
}

}  // namespace
}  // namespace tagvera::text
