// The parser core on well-formed and malformed documents: events, their positions, and each
// failure with its result code and the line and column of the fault.
#include <gtest/gtest.h>

#include "tagvera/xml.h"
#include "xml/event_log.h"

namespace tagvera::xml::testing {
namespace {

using Events = std::vector<std::string>;

struct WellFormed {
    const char* what;
    std::string doc;
    bool strict;
    Events events;
    std::vector<size_t> cuts = {};
};

TEST(XmlReader, WellFormedDocumentsGiveTheirEvents) {
    const WellFormed cases[] = {
        {"elements, attributes and text", "<a x=\"1\" y='two'>hi<b/></a>", true,
         {"start a @1:1 x=\"1\" y=\"two\"", "text \"hi\"", "start b @1:20", "end b", "end a", "end-document @1:28"}},
        {"lines and columns", "<r>\n  <a/>\n\t   <b\n c='1'/></r>", true,
         {"start r @1:1", "text \"\\x0A  \"", "start a @2:3", "end a", "text \"\\x0A\\x09   \"",
          "start b @3:5 c=\"1\"", "end b", "end r", "end-document @4:13"}},
        // Quoted values replace the predefined entities only; text arrives exactly as written.
        {"entities", "<a v=\"&lt;b&gt; &amp;&quot;&apos; &foo; &#60; &amp\">&lt;b&gt;</a>", true,
         {"start a @1:1 v=\"<b> &\\x22' &foo; &#60; &amp\"", "text \"&lt;b&gt;\"", "end a", "end-document @1:66"}},
        {"'>' inside quotes", "<a x=\"1>2\" y='>'/>", true,
         {"start a @1:1 x=\"1>2\" y=\">\"", "end a", "end-document @1:19"}},
        {"words without a value", "<a checked x='1' 'loose'/>", false,
         {"start a @1:1 x=\"1\"", "end a", "end-document @1:27"}},
        {"space inside tags", "< a  x = '1'\n\ty\t=\"2\" ></a >", true,
         {"start a @1:1 x=\"1\" y=\"2\"", "end a", "end-document @2:15"}},
        {"comments nest and ignore quotes", "<!----><r><!-- it's <!-- inner --> still --><!-->--></r>", true,
         {"comment \"\"", "start r @1:8", "comment \" it's <!-- inner --> still \"", "comment \">\"", "end r",
          "end-document @1:57"}},
        {"CDATA keeps markup as text", "<r><![CDATA[a<b>&amp;]]x]]]><![CDATA[]]></r>", true,
         {"start r @1:1", "cdata-begin @1:4", "text \"a<b>&amp;]]x]\"", "cdata-end", "cdata-begin @1:29", "cdata-end",
          "end r", "end-document @1:45"}},
        {"processing instructions",
         "<?xml version=\"1.0\" encoding='US-ASCII'?>\n"
         "<?xml-stylesheet href=\"a.xsl\" type='text/xsl' alternate?>\n<?go a=b?><r/>",
         true,
         {"pi xml version=\"1.0\" encoding=\"US-ASCII\"", "text \"\\x0A\"",
          "pi xml-stylesheet href=\"a.xsl\" type=\"text/xsl\"", "text \"\\x0A\"", "pi go a=\"b\"", "start r @3:11",
          "end r", "end-document @3:15"}},
        {"document types in strict mode",
         "<!DOCTYPE a SYSTEM \"a.dtd\"><!DOCTYPE b PUBLIC '-//X//DTD' \"b.dtd\" [ <!ENTITY e \"x>y\"> ]>\n"
         "<!DOCTYPE c><!DOCTYPE d PUBLIC \"p\"><!ELEMENT ignored><a/>",
         true,
         {"doctype a system=\"a.dtd\" public=\"\" @1:1", "doctype b system=\"b.dtd\" public=\"-//X//DTD\" @1:28",
          "text \"\\x0A\"", "doctype c system=\"\" public=\"\" @2:1", "doctype d system=\"\" public=\"p\" @2:13",
          "start a @2:54", "end a", "end-document @2:58"}},
        {"declarations ignored when loose", "<!DOCTYPE a SYSTEM 'a.dtd'><!><!DOCTYPE><a/>", false,
         {"start a @1:41", "end a", "end-document @1:45"}},
        {"loose end tags ignore case", "<a><b></B></a>", false,
         {"start a @1:1", "start b @1:4", "end B", "end a", "end-document @1:15"}},
        {"loose unquoted value before '/>'", "<a x=1/>", false, {"start a @1:1 x=\"1\"", "end a", "end-document @1:9"}},
        {"loose unquoted values", "<a href=http://x/y z=&lt;>", false,
         {"start a @1:1 href=\"http://x/y\" z=\"&lt;\"", "end-document @1:27"}},
        {"loose: open elements and repeated attributes", "<a x='1' x='2'><b>", false,
         {"start a @1:1 x=\"1\" x=\"2\"", "start b @1:16", "end-document @1:19"}},
        {"text at the end comes with the last piece", std::string("<a/>tail\0", 9), true,
         {"start a @1:1", "end a", "text \"tail\\x00\"", "end-document @1:10"}, {5}},
        {"empty document", "", true, {"end-document @1:1"}},
    };
    for (const WellFormed& c : cases) {
        ReaderOptions options;
        options.strict = c.strict;
        const Outcome r = ParsePieces(c.doc, c.cuts, options);
        EXPECT_EQ(r.code, TV_S_OK) << c.what << ": " << r.error;
        EXPECT_EQ(r.events, c.events) << c.what;
    }
}

struct Fault {
    const char* doc;
    bool strict;
    HRESULT code;
    uint64_t line;
    uint64_t column;
};

class XmlReaderFault : public ::testing::TestWithParam<Fault> {};

TEST_P(XmlReaderFault, StopsWithItsCodeAtTheFault) {
    const Fault& f = GetParam();
    ReaderOptions options;
    options.strict = f.strict;
    const Outcome r = Parse(f.doc, options);
    EXPECT_EQ(r.code, f.code) << f.doc << ": " << r.error;
    EXPECT_EQ(r.position.line, f.line) << f.doc;
    EXPECT_EQ(r.position.column, f.column) << f.doc;
    const std::string where = "line " + std::to_string(f.line) + ", column " + std::to_string(f.column) + ": ";
    EXPECT_EQ(r.error.rfind(where, 0), 0u) << r.error;
}

INSTANTIATE_TEST_SUITE_P(
    Documents, XmlReaderFault,
    ::testing::Values(
        // End tags.
        Fault{"<a><b></B></a>", true, TV_E_XML_TAGMISMATCH, 1, 7},
        Fault{"<a>\n  </b>", false, TV_E_XML_TAGMISMATCH, 2, 3},
        Fault{"<a/></a>", true, TV_E_XML_TAGMISMATCH, 1, 5},
        Fault{"text</a>", false, TV_E_XML_TAGMISMATCH, 1, 5},
        Fault{"<a>\n<b>\n</b>", true, TV_E_XML_TAGMISMATCH, 3, 5},
        // Attribute values.
        Fault{"<a x=1/>", true, TV_E_XML_BADATTRIBUTEVALUE, 1, 6},
        Fault{"<a\n  x =\tyes>", true, TV_E_XML_BADATTRIBUTEVALUE, 2, 7},
        Fault{"<a x=>", true, TV_E_XML_MISSINGVALUE, 1, 5},
        Fault{"<a y='1' x = />", false, TV_E_XML_MISSINGVALUE, 1, 12},
        Fault{"<a x='1' x=\"2\"/>", true, TV_E_XML_DUPLICATEATTRIBUTE, 1, 10},
        // Tags that do not end, or have no name.
        Fault{"<a>\n<b x='1'", true, TV_E_XML_UNTERMINATEDTAG, 2, 1},
        Fault{"<a x='1>", false, TV_E_XML_UNTERMINATEDTAG, 1, 1},
        Fault{"<r><!-- open", true, TV_E_XML_UNTERMINATEDTAG, 1, 4},
        Fault{"<r><![CDATA[ open ]>", true, TV_E_XML_UNTERMINATEDTAG, 1, 4},
        Fault{"<r><?pi x", false, TV_E_XML_UNTERMINATEDTAG, 1, 4},
        Fault{"<", false, TV_E_XML_UNTERMINATEDTAG, 1, 1},
        Fault{"<r><>", true, TV_E_XML_EMPTYNAME, 1, 5},
        Fault{"<r></ r>", true, TV_E_XML_EMPTYNAME, 1, 6},
        // Processing instructions and declarations.
        Fault{"<? ?>", true, TV_E_XML_BADPROCESSINGINSTRUCTION, 1, 4},
        Fault{"<?pi a='b?>", false, TV_E_XML_BADPROCESSINGINSTRUCTION, 1, 8},
        Fault{"<?pi a= ?>", false, TV_E_XML_BADPROCESSINGINSTRUCTION, 1, 7},
        Fault{"\n<!>", true, TV_E_XML_BADDECLARATION, 2, 3},
        Fault{"<!DOCTYPE>", true, TV_E_XML_BADDECLARATION, 1, 10},
        Fault{"<!DOCTYPE 'a'>", true, TV_E_XML_BADDECLARATION, 1, 10},
        Fault{"<!DOCTYPE a SYSTEM>", true, TV_E_XML_BADDECLARATION, 1, 13},
        Fault{"<!DOCTYPE a [x] extra>", true, TV_E_XML_BADDECLARATION, 1, 17}),
    [](const ::testing::TestParamInfo<Fault>& p) { return "Case" + std::to_string(p.index); });

TEST(XmlReader, ATokenLongerThanTheBoundFailsWithoutWaitingForItsEnd) {
    ReaderOptions options;
    options.maxTokenSize = 1000;
    EventLog log;
    Reader reader(log, "", options);
    reader.feed("<r>", false);
    const std::string chunk(300, 'x');
    reader.feed("<long a='", false);
    HRESULT code = TV_S_OK;
    for (int i = 0; i < 10 && code == TV_S_OK; ++i) {
        try {
            reader.feed(chunk, false);
        } catch (const Error& e) {
            code = e.code();
        }
    }
    EXPECT_EQ(code, TV_E_XML_LIMIT);
    EXPECT_EQ(reader.position().column, 4u);
    // The same token whole fails the same way.
    EXPECT_EQ(Parse("<r><long a='" + std::string(3000, 'x') + "'/></r>", options).code, TV_E_XML_LIMIT);
}

TEST(XmlReader, AFailureStaysForLaterPieces) {
    EventLog log;
    Reader reader(log, "", {});
    EXPECT_THROW(reader.feed("<a></b>", false), Error);
    const std::string text = reader.failureText();
    try {
        reader.feed("<c/>", true);
        FAIL() << "a later piece was read";
    } catch (const Error& e) {
        EXPECT_EQ(e.code(), TV_E_XML_TAGMISMATCH);
        EXPECT_EQ(e.what(), text);
    }
    EXPECT_EQ(log.events, (Events{"start a @1:1"}));

    // Nothing is read after the last piece either.
    Reader done(log, "", {});
    done.feed("<a/>", true);
    EXPECT_TRUE(done.finished());
    try {
        done.feed("<b/>", true);
        FAIL();
    } catch (const Error& e) {
        EXPECT_EQ(e.code(), TV_E_FAIL);
    }
}

}  // namespace
}  // namespace tagvera::xml::testing
