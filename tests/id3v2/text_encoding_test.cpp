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

// Every form a writer leaves: byte order marks or none (guessed from the zero bytes), a stray
// trailing byte (a zero is dropped, any other is U+FFFD), an unpaired surrogate, broken UTF-8.
TEST(TextEncoding, DecodesEveryFormWritersLeave) {
    using enum TextEncoding;
    const struct {
        Bytes bytes;
        TextEncoding encoding;
        const char* text;
    } cases[] = {
        {{0xFF, 0xFE, 'h', 0, 0xE4, 0}, Utf16, "hä"}, {{0xFE, 0xFF, 0, 'h', 0, 0xE4}, Utf16, "hä"},
        {{0, 'h', 0, 0xE4}, Utf16BE, "hä"},           {{'o', 'k'}, Utf8, "ok"},
        {{0xE9}, Latin1, "é"},                        {{'a', 0, 'b', 0}, Utf16, "ab"},
        {{0, 'a', 0, 'b'}, Utf16, "ab"},              {{0xFF, 0xFE, 'a', 0, 0}, Utf16, "a"},
        {{0xFF, 0xFE, 'a', 0, 'b'}, Utf16, "a\xEF\xBF\xBD"}, {{0xFF, 0xFE, 0x00, 0xD8}, Utf16, "\xEF\xBF\xBD"},
        {{'a', 0xC3}, Utf8, "a\xEF\xBF\xBD"},
    };
    for (const auto& c : cases) EXPECT_EQ(DecodeText(c.bytes, c.encoding), c.text) << c.text;
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
