// The XML form read back: round trips, documents from an independent writer, the reading rules
// and malformed documents.
#include <gtest/gtest.h>

#include "component/value_objects.h"
#include "mp3_importer/preferences_file.h"
#include "platform/scratch_dir.h"
#include "serialize_support.h"
#include "tagvera/xml.h"

namespace tagvera::testing {
namespace {

Node Read(const std::string& xml, HRESULT expect = TV_S_OK) {
    Node tree = NewTree();
    EXPECT_EQ(ReadXml(tree.get(), xml), expect) << xml;
    return tree;
}

// Both layouts round trip in the block round-trip fuzz target; here, the length a host passes on
// may count the NUL that WriteXML handed out.
TEST(XmlRead, EveryTypeTreeSurvivesALengthCountingTheNul) {
    Node tree = EveryTypeTree();
    char* text = nullptr;
    uint32_t length = 0;
    ASSERT_EQ(Serialize(tree.get())->WriteXML(&text, &length, false), TV_S_OK);
    Node back = NewTree();
    EXPECT_EQ(Serialize2(back.get())->ReadXMLWithEncoding(text, length, "US-ASCII"), TV_S_OK);
    delete[] text;
    EXPECT_EQ(Dump(back.get(), XmlRules()), Dump(tree.get(), XmlRules()));
}

TEST(XmlRead, DocumentOfAnIndependentWriterGivesTheSameTree) {
    Node back = Read(test::ReadText(TAGVERA_TEST_DATA_DIR "/metaprop/every_type.xml"));
    EXPECT_EQ(Dump(back.get(), XmlRules()), Dump(EveryTypeTree().get(), XmlRules()));
}

TEST(XmlRead, ValuesByTypeWithNamesMatchedWithoutCase) {
    Node tree = Read(
        "<kjmetadata>"
        "<PROP name=\"bin\" type=\"binary\" value=\"mgh100lxxEBA\" />"
        "<PROP name=\"short\" type=\"binary\" value=\"mgh10\" />"
        "<PROP name=\"odd\" type=\"binary\" value=\"#$%!!!\" />"
        "<PROP name=\"f0\" type=\"flag\" value=\"0\" />"
        "<PROP name=\"f7\" type=\"flag\" value=\"7\" />"
        "<PROP name=\"fx\" type=\"flag\" value=\"yes\" />"
        "<PROP name=\"n\" type=\"number\" value=\"4294967295\" />"
        "<PROP name=\"big\" type=\"number\" value=\"99999999999\" />"
        "<PROP name=\"t\" value=\"&lt;b&gt; &amp;amp; &#65;\" />"
        "<PROP name=\"u\" type=\"type not defined yet\" value=\"x\" />"
        "<PROP name=\"g\" type=\"group\" value=\"ignored\" />"
        "<prop NAME=\"R\" TYPE=\"Reference\" Flags=\"READONLY,bogus,Flatten\" />"
        "<Prop name=\"N\" type=\"NUMBER\" value=\"42\" />"
        "</kjmetadata>");
    // Names, types and flags are matched without regard to case; unknown flags are skipped.
    EXPECT_EQ(Dump(tree.get(), {.withRoot = false}),
              "\"N\" t=4 f=0 v=2a000000\n"
              "\"R\" t=10 f=0x41 v=-\n"
              "\"big\" t=4 f=0 v=ffffffff\n"
              "\"bin\" t=5 f=0 v=00017f80ff000000\n"
              "\"f0\" t=3 f=0 v=00\n"
              "\"f7\" t=3 f=0 v=01\n"
              "\"fx\" t=3 f=0 v=00\n"
              "\"g\" t=9 f=0 v=-\n"
              "\"n\" t=4 f=0 v=ffffffff\n"
              "\"odd\" t=5 f=0 v=00000000\n"
              "\"short\" t=5 f=0 v=-\n"
              // "&#65;" is not a reference the reader knows; "&amp;amp;" is one "&amp;".
              "\"t\" t=1 f=0 v=3c623e2026616d703b20262336353b00\n"
              "\"u\" t=1 f=0 v=7800\n");
}

TEST(XmlRead, ExistingChildrenAreReusedAndKeepWhatIsNotSaid) {
    Node tree = NewTree();
    Node track = AddGroup(tree.get(), "Track");
    AddTyped(track.get(), "Name", "old");
    AddTyped(track.get(), "Genre", "kept");
    AddTyped(tree.get(), "Note", "keeps its value");
    ASSERT_EQ(ReadXml(tree.get(),
                      "<KJMETADATA><PROP name=\"Track\" type=\"group\">"
                      "<PROP name=\"Name\" value=\"new\" /></PROP>"
                      "<PROP name=\"Note\" type=\"text\" flags=\"readonly\" /></KJMETADATA>"),
              TV_S_OK);
    EXPECT_EQ(Dump(tree.get(), {.withRoot = false}),
              "\"Note\" t=1 f=0x1 v=6b65657073206974732076616c756500\n"
              "\"Track\" t=9 f=0 v=-\n"
              "  \"Genre\" t=1 f=0 v=6b65707400\n"
              "  \"Name\" t=1 f=0 v=6e657700\n");
}

TEST(XmlRead, OnlyPropertiesInsideTheDocumentElementCount) {
    Node tree = Read(
        "<?xml version=\"1.0\"?><!-- note --><KJMETADATA>"
        "<PROP name=\"A\" value=\"a\"><Other><PROP name=\"B\" value=\"b\" /></Other>text</PROP>"
        "</KJMETADATA>");
    // An unknown element is transparent: its PROP children land under the PROP around it.
    EXPECT_EQ(Dump(tree.get(), {.withRoot = false}),
              "\"A\" t=1 f=0 v=6100\n"
              "  \"B\" t=1 f=0 v=6200\n");
    Node outside = Read("<Wrapper><PROP name=\"X\" value=\"x\" /></Wrapper>");
    EXPECT_EQ(Dump(outside.get(), {.withRoot = false}), "");
}

// Each fault's code and place are the parser's test; here that the code comes through unchanged.
TEST(XmlRead, MalformedDocumentsFailWithTheParsersCodeKeepingWhatWasRead) {
    Read("<KJMETADATA><PROP name=\"A\"", TV_E_XML_UNTERMINATEDTAG);
    Node tree = Read("<KJMETADATA><PROP name=\"A\" value=\"a\" /><PROP name=\"B\" value=\"b\"></KJMETADATA>",
                     TV_E_XML_TAGMISMATCH);
    EXPECT_EQ(Dump(tree.get(), {.withRoot = false}),
              "\"A\" t=1 f=0 v=6100\n"
              "\"B\" t=1 f=0 v=6200\n");
}

TEST(XmlRead, NestingIsBoundedAsInTheBlock) {
    auto nested = [](int levels) {
        std::string xml = "<KJMETADATA>";
        for (int i = 0; i < levels; ++i) xml += "<PROP name=\"g\" type=\"group\">";
        for (int i = 0; i < levels; ++i) xml += "</PROP>";
        return xml + "</KJMETADATA>";
    };
    Read(nested(128));
    Read(nested(129), TV_E_XML_LIMIT);
}

TEST(XmlRead, ReadXmlTakesTheEncodingFromThePreference) {
    // In Shift-JIS 0x81 starts a two-byte character, so the quote after it belongs to the value.
    const std::string xml = "<KJMETADATA><PROP name=\"A\" value=\"\x81\" x=\" /></KJMETADATA>";
    for (const char* encoding : {"", "Shift-JIS"}) {
        PreferencesFile prefs(*encoding ? std::string("XMLEncoding = string:") + encoding + "\n" : "");
        Node tree = NewTree();
        const HRESULT hr = Serialize(tree.get())->ReadXML(xml.data(), uint32_t(xml.size()));
        if (!*encoding) {
            EXPECT_TRUE(Failed(hr));  // US-ASCII: a stray quote before "/>"
        } else {
            EXPECT_EQ(hr, TV_S_OK);
            EXPECT_EQ(Dump(tree.get(), {.withRoot = false}), "\"A\" t=1 f=0 v=812220783d00\n");
        }
    }
}

TEST(XmlRead, TreeAnswersAParserOfTheHostsOwn) {
    // A host that runs its own parser drives the tree through IKMAXMLParserResponse.
    Node tree = NewTree();
    auto response = QueryAs<IKMAXMLParserResponse>(tree, IID_IKMAXMLParserResponse);
    ASSERT_TRUE(response);
    auto attributes = [](std::initializer_list<std::pair<const char*, const char*>> pairs) {
        ComPtr<IKMAValues> list;
        EXPECT_EQ(NewValueList(list.put()), TV_S_OK);
        for (const auto& [name, value] : pairs) {
            ComPtr<IKMABuffer> text;
            EXPECT_EQ(NewTextBuffer(value, text.put()), TV_S_OK);
            list->SetStringValue(name, text.get());
        }
        return list;
    };
    EXPECT_EQ(response->OnBeginElement("KJMETADATA", attributes({}).get(), 1, 1), TV_S_OK);
    EXPECT_EQ(response->OnBeginElement("PROP", attributes({{"name", "Album"}, {"type", "group"}}).get(), 1, 13), TV_S_OK);
    EXPECT_EQ(response->OnBeginElement("PROP", attributes({{"name", "Year"}, {"type", "number"}, {"value", "1959"}}).get(),
                                       1, 40),
              TV_S_OK);
    EXPECT_EQ(response->OnEndElement("PROP", 0, 0), TV_S_OK);
    EXPECT_EQ(response->OnComment("ignored", 0, 0), TV_S_OK);
    EXPECT_EQ(response->OnEndElement("PROP", 0, 0), TV_S_OK);
    EXPECT_EQ(response->OnEndElement("KJMETADATA", 0, 0), TV_S_OK);
    EXPECT_EQ(Dump(tree.get(), {.withRoot = false}),
              "\"Album\" t=9 f=0 v=-\n"
              "  \"Year\" t=4 f=0 v=a7070000\n");
}

TEST(XmlRead, TreeIsReleasedAfterAFailedRead) {
    // The reader holds the root while the document is open; a failure must not keep it alive.
    IMPAMetaProperty* raw = nullptr;
    {
        Node tree = NewTree();
        raw = tree.get();
        EXPECT_EQ(ReadXml(tree.get(), "<KJMETADATA><PROP name=\"A\">"), TV_E_XML_TAGMISMATCH);
        raw->AddRef();
        EXPECT_EQ(raw->Release(), 1u);
    }
}

}  // namespace
}  // namespace tagvera::testing
