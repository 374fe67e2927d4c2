// Text fields decoded from raw bytes in all four encodings, including the damaged forms writers leave.
#include <gtest/gtest.h>

#include "base/error.h"
#include "id3v2/tag_builder.h"
#include "tags/id3v2/text_encoding.h"

namespace tagvera::testing {
namespace {

using id3v2::DecodeText;
using id3v2::DecodeTextList;
using id3v2::TextEncoding;

TEST(TextEncoding, Utf16ByteOrderMarks) {
    EXPECT_EQ(DecodeText(Bytes{0xFF, 0xFE, 'h', 0, 0xE4, 0}, TextEncoding::Utf16), "hä");
    EXPECT_EQ(DecodeText(Bytes{0xFE, 0xFF, 0, 'h', 0, 0xE4}, TextEncoding::Utf16), "hä");
    EXPECT_EQ(DecodeText(Bytes{0, 'h', 0, 0xE4}, TextEncoding::Utf16BE), "hä");
    EXPECT_EQ(DecodeText(B("ok"), TextEncoding::Utf8), "ok");
    EXPECT_EQ(DecodeText(Bytes{0xE9}, TextEncoding::Latin1), "é");
}

TEST(TextEncoding, MissingBomIsGuessedFromTheZeroBytes) {
    EXPECT_EQ(DecodeText(Bytes{'a', 0, 'b', 0}, TextEncoding::Utf16), "ab");
    EXPECT_EQ(DecodeText(Bytes{0, 'a', 0, 'b'}, TextEncoding::Utf16), "ab");
}

TEST(TextEncoding, OddLengthsAndBrokenUnits) {
    // A stray trailing zero byte is dropped; a stray other byte becomes U+FFFD.
    EXPECT_EQ(DecodeText(Bytes{0xFF, 0xFE, 'a', 0, 0}, TextEncoding::Utf16), "a");
    EXPECT_EQ(DecodeText(Bytes{0xFF, 0xFE, 'a', 0, 'b'}, TextEncoding::Utf16), "a\xEF\xBF\xBD");
    // An unpaired surrogate and invalid UTF-8 never pass through as broken UTF-8.
    EXPECT_EQ(DecodeText(Bytes{0xFF, 0xFE, 0x00, 0xD8}, TextEncoding::Utf16), "\xEF\xBF\xBD");
    EXPECT_EQ(DecodeText(Bytes{'a', 0xC3}, TextEncoding::Utf8), "a\xEF\xBF\xBD");
}

TEST(TextEncoding, ValueLists) {
    EXPECT_EQ(DecodeTextList(B(std::string("a\0b\0", 4)), TextEncoding::Latin1), (std::vector<std::string>{"a", "b"}));
    // Each UTF-16 value carries its own BOM; terminators count only on unit boundaries.
    const Bytes two{0xFF, 0xFE, 'a', 0, 0, 0, 0xFE, 0xFF, 0, 'b', 0, 0};
    EXPECT_EQ(DecodeTextList(two, TextEncoding::Utf16), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(DecodeTextList(Bytes{0x00, 0x01, 0x00, 0x00}, TextEncoding::Utf16BE), (std::vector<std::string>{"\x01"}));
    EXPECT_TRUE(DecodeTextList({}, TextEncoding::Utf8).empty());
    EXPECT_THROW(id3v2::EncodingFromByte(4), Error);
}

TEST(TextEncoding, EncodeRoundTrips) {
    for (auto e : {TextEncoding::Utf16, TextEncoding::Utf16BE, TextEncoding::Utf8})
        EXPECT_EQ(DecodeText(id3v2::EncodeText("日本 ä 𝄞", e), e), "日本 ä 𝄞");
    EXPECT_EQ(DecodeText(id3v2::EncodeText("café", TextEncoding::Latin1), TextEncoding::Latin1), "café");
}

}  // namespace
}  // namespace tagvera::testing
