// Cut into pieces of one byte, a document gives the same events, the same failure and the same
// position as whole (the XML fuzzer tries other cuts).
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "tagvera/xml.h"
#include "xml/event_log.h"

namespace tagvera::xml::testing {
namespace {

struct Sample {
    std::string name;
    std::string doc;
    std::string encoding;
};

std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

std::vector<Sample> Corpus() {
    std::vector<Sample> corpus = {
        {"kjmetadata",
         "<KJMETADATA>\r\n\t<PROP name=\"Track\" type=\"group\">\r\n\t\t<PROP name=\"Title\" type=\"text\" "
         "value=\"A &amp; B &lt;live&gt;\" />\r\n\t</PROP>\r\n\t<PROP name=\"Cover\" type=\"binary\" "
         "flags=\"readonly,type\" value=\"0a1b2c3d4e5f\" /></KJMETADATA>",
         ""},
        {"everything",
         "\xEF\xBB\xBF<?xml version='1.0' encoding='UTF-8'?>\n<!-- head -->\n<!DOCTYPE r SYSTEM 'r.dtd' [ <!ENTITY "
         "e 'a>b'> ]>\n<r a='1' b=\"&lt;2&gt;\"><![CDATA[x<y>]]]]><!-- <!-- nested --> --><?pi t=\"v\"?>text "
         "\xE3\x81\x82<e/></r>\n",
         ""},
        {"loose-words", "<a x=1 y=two/><b checked></B>", ""},
        {"shift-jis", "<?xml version=\"1.0\" encoding=\"Shift-JIS\"?><r\x83>a='\x81'' b='\x83>'><!-- \x81-->x --></r\x83>>",
         ""},
        {"default-set", "<r v='\x81'>\x81<\x81\x81<x/></r>", "Default"},
        {"euc-kr", "<r>\xB0\xA1\xB3\xAA<a t='\xB4\xD9'/></r>", "EUC-KR"},
        {"declaration-late", "  \n <!-- a --><!-- b --><?xml version='1.0' encoding='Big5'?><r>\xA4\x40</r>", ""},
        {"unterminated", "<a><b x='1'>text</b><c", ""},
        {"mismatch", "<a>\n<b></B>\n</a>", ""},
        {"unquoted", "<a><b x=1/></a>", ""},
        {"missing-value", "<a x=></a>", ""},
        {"duplicate", "<a x='1' y='2' x='3'/>", ""},
        {"bad-doctype", "<!DOCTYPE>", ""},
        {"open-at-end", "<a><b></b>", ""},
        {"only-text", "just text, no tags", ""},
        {"lone-lead-at-end", "<r/>\x81", "Big5"},
        {"cut-markers", "<!-<!-x><![CDATA<![CDATA[]]><?<?" "?>", ""},
    };
    const std::filesystem::path dir = std::filesystem::path(TAGVERA_TEST_DATA_DIR) / "xml";
    if (std::filesystem::is_directory(dir)) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(dir))
            if (entry.path().extension() == ".xml")
                corpus.push_back({entry.path().filename().string(), ReadFile(entry.path()), ""});
    }
    return corpus;
}

void ExpectSame(const Outcome& whole, const Outcome& split, const std::string& what) {
    ASSERT_EQ(whole.events, split.events) << what;
    EXPECT_EQ(whole.code, split.code) << what;
    EXPECT_EQ(whole.error, split.error) << what;
    EXPECT_EQ(whole.position.line, split.position.line) << what;
    EXPECT_EQ(whole.position.column, split.position.column) << what;
}

class XmlSplit : public ::testing::TestWithParam<bool> {};

TEST_P(XmlSplit, ByteByByteGivesTheSameEvents) {
    ReaderOptions options;
    options.strict = GetParam();
    for (const Sample& s : Corpus()) {
        const Outcome whole = Parse(s.doc, options, s.encoding);
        std::vector<size_t> cuts;
        for (size_t i = 1; i < s.doc.size(); ++i) cuts.push_back(i);
        ExpectSame(whole, ParsePieces(s.doc, cuts, options, s.encoding), s.name + " byte by byte");
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, XmlSplit, ::testing::Values(true, false),
                         [](const ::testing::TestParamInfo<bool>& p) { return p.param ? "Strict" : "Loose"; });

}  // namespace
}  // namespace tagvera::xml::testing
