// The character sets: their names, how the document's own declaration switches the set, and how
// two-byte characters count in columns and names.
#include <gtest/gtest.h>

#include "tagvera/xml.h"
#include "xml/charset.h"
#include "xml/event_log.h"

namespace tagvera::xml::testing {
namespace {

using Events = std::vector<std::string>;

TEST(XmlCharset, NamesMatchIgnoringCaseAndUnknownNamesUseDefault) {
    EXPECT_TRUE(Charset::ForName("shift_jis").sameAs(Charset::ForName("Shift-JIS")));
    EXPECT_TRUE(Charset::ForName("euc-kr").sameAs(Charset::ForName("EUC-KR")));
    EXPECT_TRUE(Charset::ForName("windows-1252").sameAs(Charset::ForName("Default")));
    EXPECT_TRUE(Charset::ForName("").sameAs(Charset::ForName("Default")));
    EXPECT_TRUE(Charset().sameAs(Charset::ForName("us-ascii")));
    EXPECT_FALSE(Charset::ForName("Big5").sameAs(Charset::ForName("GB2312")));
    // UTF-8 pairs nothing: none of its sequences holds a byte below 0x80.
    EXPECT_TRUE(Charset::ForName("utf-8").singleByte());
}

struct CharsetCase {
    const char* what;
    std::string doc;
    const char* encoding;  // the set the reader starts with
    Events events;
};

TEST(XmlCharset, TwoByteCharactersAndTheDeclarationThatChoosesTheSet) {
    const std::string body = "<r>\x81<x/></r>";
    const Events single{"start r @1:1", "text \"\\x81\"", "start x @1:5", "end x", "end r", "end-document @1:13"};
    const CharsetCase cases[] = {
        // Shift-JIS: 0x83 0x3E would be ">" and 0x81 0x27 a quote if read byte by byte.
        {"whole in names, values and comments", "<r\x83> a='\x81'' b='\x83>'><!-- \x81-->x --></r\x83>>",
         "Shift-JIS",
         {"start r\\x83> @1:1 a=\"\\x81'\" b=\"\\x83>\"", "comment \" \\x81-->x \"", "end r\\x83>",
          "end-document @1:35"}},
        {"a two-byte character is one column", "<r>\x88\x9F\x88\xA0<a/>\n\x88\x9F<b/></r>", "Big5",
         {"start r @1:1", "text \"\\x88\\x9F\\x88\\xA0\"", "start a @1:6", "end a", "text \"\\x0A\\x88\\x9F\"",
          "start b @2:2", "end b", "end r", "end-document @2:10"}},
        {"UTF-8 counts code points", "<?xml version='1.0' encoding='UTF-8'?><r>\xE3\x81\x82\xC3\xA9<a/></r>",
         "US-ASCII",
         {"pi xml version=\"1.0\" encoding=\"UTF-8\"", "start r @1:39", "text \"\\xE3\\x81\\x82\\xC3\\xA9\"",
          "start a @1:44", "end a", "end r", "end-document @1:52"}},
        {"a byte order mark means UTF-8 and is not text", "\xEF\xBB\xBF<r>\xE3\x81\x82<a/></r>", "Default",
         {"start r @1:1", "text \"\\xE3\\x81\\x82\"", "start a @1:5", "end a", "end r", "end-document @1:13"}},
        {"without a declaration the given set holds", body, "US-ASCII", single},
        {"another instruction is no declaration", "<?xml-stylesheet encoding='Big5'?>" + body, "US-ASCII",
         {"pi xml-stylesheet encoding=\"Big5\"", "start r @1:35", "text \"\\x81\"", "start x @1:39", "end x", "end r",
          "end-document @1:47"}},
        {"declared after white space and comments",
         "\n<!-- c --> <?xml version=\"1.0\" encoding=\"Shift_JIS\"?>" + body, "US-ASCII",
         {"text \"\\x0A\"", "comment \" c \"", "text \" \"", "pi xml version=\"1.0\" encoding=\"Shift_JIS\"",
          "start r @2:54", "text \"\\x81<x/>\"", "end r", "end-document @2:65"}},
        {"a single-byte declaration turns pairing off", "<?xml version='1.0' encoding='ISO-8859-1'?>" + body,
         "Shift-JIS",
         {"pi xml version=\"1.0\" encoding=\"ISO-8859-1\"", "start r @1:44", "text \"\\x81\"", "start x @1:48",
          "end x", "end r", "end-document @1:56"}},
        {"only the head is searched for the declaration",
         std::string(1100, ' ') + "<?xml version='1.0' encoding='Shift-JIS'?><r>\x81<x/></r>", "US-ASCII",
         {"text \"" + std::string(1100, ' ') + "\"", "pi xml version=\"1.0\" encoding=\"Shift-JIS\"",
          "start r @1:1143", "text \"\\x81\"", "start x @1:1147", "end x", "end r", "end-document @1:1155"}},
    };
    for (const CharsetCase& c : cases) {
        const Outcome r = Parse(c.doc, {}, c.encoding);
        EXPECT_EQ(r.code, TV_S_OK) << c.what << ": " << r.error;
        EXPECT_EQ(r.events, c.events) << c.what;
    }
}

TEST(XmlCharset, LooseEndTagsFoldOnlySingleByteLetters) {
    // In Shift-JIS 0x82 0x41 and 0x82 0x61 are two different characters.
    EXPECT_EQ(Parse("<\x82\x41></\x82\x61>", Loose(), "Shift-JIS").code, TV_E_XML_TAGMISMATCH);
    EXPECT_EQ(Parse("<X\x82\x41></x\x82\x41>", Loose(), "Shift-JIS").code, TV_S_OK);
    // Byte by byte the same pair folds as two letters.
    EXPECT_EQ(Parse("<\x82\x41></\x82\x61>", Loose(), "US-ASCII").code, TV_S_OK);
}

}  // namespace
}  // namespace tagvera::xml::testing
