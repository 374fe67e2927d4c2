// The XML form as written: exact text for small trees, every value encoding, and documents that an
// independent parser (xmllint, Python's xml.etree) reads as the independent writer's.
#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/scratch_dir.h"
#include "serialize_support.h"

namespace tagvera::testing {
namespace {

TEST(XmlWrite, LayoutFlatAndPrettyPrinted) {
    Node tree = NewTree();
    EXPECT_EQ(WriteXml(tree.get()), "<KJMETADATA></KJMETADATA>");
    EXPECT_EQ(WriteXml(tree.get(), true), "\r\n<KJMETADATA></KJMETADATA>");
    Node track = AddGroup(tree.get(), "Track");
    AddTyped(track.get(), "Name", "So What");
    AddGroup(track.get(), "Empty");
    AddNumber(tree.get(), "Plays", 3);
    EXPECT_EQ(WriteXml(tree.get(), true),
              "\r\n<KJMETADATA>"
              "\r\n\t<PROP name=\"Plays\" type=\"number\" value=\"3\" />"
              "\r\n\t<PROP name=\"Track\" type=\"group\">"
              "\r\n\t\t<PROP name=\"Empty\" type=\"group\" />"
              "\r\n\t\t<PROP name=\"Name\" type=\"text\" value=\"So What\" />"
              "\r\n\t</PROP>"
              "\r\n</KJMETADATA>");
}

TEST(XmlWrite, ValuesByType) {
    Node tree = NewTree();
    AddTyped(tree.get(), "a", "<'&\">", kTypeText);
    const uint8_t one = 1, seven = 7;
    Add(tree.get(), "b", kTypeFlag, 0, &one, 1);
    Add(tree.get(), "c", kTypeFlag, 0, &seven, 1);
    const uint8_t wide[] = {1, 1, 0};
    Add(tree.get(), "d", kTypeFlag, 0, wide, 3);
    AddNumber(tree.get(), "e", 0xFFFFFFFFu);
    const uint8_t five[] = {0x00, 0x01, 0x7f, 0x80, 0xff};
    Add(tree.get(), "f", kTypeBinary, 0, five, 5);
    AddTyped(tree.get(), "g", "x", kTypeNone);
    Add(tree.get(), "h", 20, 0, "?", 2);
    AddTyped(tree.get(), "i", "never written", kTypeReference);
    AddTyped(tree.get(), "j", "u&l", kTypeUrl);
    EXPECT_EQ(WriteXml(tree.get()),
              "<KJMETADATA>"
              "<PROP name=\"a\" type=\"text\" value=\"&lt;&apos;&amp;&quot;&gt;\" />"
              "<PROP name=\"b\" type=\"flag\" value=\"1\" />"
              "<PROP name=\"c\" type=\"flag\" value=\"7\" />"
              "<PROP name=\"d\" type=\"flag\" value=\"257\" />"
              "<PROP name=\"e\" type=\"number\" value=\"4294967295\" />"
              "<PROP name=\"f\" type=\"binary\" value=\"mgh100lxxEBA\" />"
              "<PROP name=\"g\" type=\"none\" value=\"\" />"
              "<PROP name=\"h\" type=\"type not defined yet\" value=\"\" />"
              "<PROP name=\"i\" type=\"reference\" />"
              "<PROP name=\"j\" type=\"url\" value=\"u&amp;l\" />"
              "</KJMETADATA>");
}

TEST(XmlWrite, FlagNamesInOrderWithoutTheModifiedBit) {
    Node tree = NewTree();
    AddTyped(tree.get(), "a", "", kTypeText, 0x0B);
    AddTyped(tree.get(), "b", "", kTypeText, 0x08);
    AddTyped(tree.get(), "c", "", kTypeText, 0x77 | 0x80);
    EXPECT_EQ(WriteXml(tree.get()),
              "<KJMETADATA>"
              "<PROP name=\"a\" type=\"text\" flags=\"readonly,private\" value=\"\" />"
              "<PROP name=\"b\" type=\"text\" flags=\"\" value=\"\" />"
              "<PROP name=\"c\" type=\"text\" flags=\"readonly,private,type,shortcut,stagnant,flatten\" value=\"\" />"
              "</KJMETADATA>");
}

TEST(XmlWrite, ReferencesShowWhatTheyReferTo) {
    test::ScratchDir dir;
    Node tree = NewTree();
    AddTyped(tree.get(), "File", dir.write("lyrics.txt", Bytes(12, 'l')), kTypeFileReference);
    const uint8_t data[] = {1, 2, 3};
    Add(tree.get(), "Data", kTypeDataReference, kFlagShortcut, data, 3);
    EXPECT_EQ(WriteXml(tree.get()),
              "<KJMETADATA>"
              "<PROP name=\"Data\" type=\"reference\" flags=\"shortcut\">"
              "<PROP name=\"DataSize\" type=\"number\" flags=\"type\" value=\"3\" /></PROP>"
              "<PROP name=\"File\" type=\"reference\">"
              "<PROP name=\"DataSize\" type=\"number\" flags=\"type\" value=\"12\" />"
              "<PROP name=\"Extension\" type=\"text\" flags=\"type\" value=\".txt\" /></PROP>"
              "</KJMETADATA>");
}

TEST(XmlWrite, NodesMarkedDeletedAreLeftOut) {
    Node tree = NewTree();
    Node track = AddGroup(tree.get(), "Track");
    AddTyped(track.get(), "Gone", "x")->SetChanged(kDeleted);
    AddGroup(tree.get(), "Album")->SetChanged(kDeleted);
    EXPECT_EQ(WriteXml(tree.get()), "<KJMETADATA><PROP name=\"Track\" type=\"group\" /></KJMETADATA>");
}

TEST(XmlWrite, IndependentParsersReadWhatTheIndependentWriterWrote) {
    test::ScratchDir dir;
    const std::string dump = "/usr/bin/python3 " TAGVERA_TEST_DATA_DIR "/../../tools/kjmetadata.py dump ";
    ASSERT_EQ(std::system((dump + TAGVERA_TEST_DATA_DIR "/metaprop/every_type.xml > " + dir.file("theirs")).c_str()), 0);
    Node tree = EveryTypeTree();
    for (bool pretty : {false, true}) {
        const std::string path = dir.file(pretty ? "pretty.xml" : "flat.xml");
        test::WriteText(path, WriteXml(tree.get(), pretty));
        EXPECT_EQ(std::system(("xmllint --noout '" + path + "'").c_str()), 0) << "xmllint refuses " << path;
        ASSERT_EQ(std::system((dump + "'" + path + "' > " + dir.file("ours")).c_str()), 0);
        EXPECT_EQ(test::ReadText(dir.file("ours")), test::ReadText(dir.file("theirs"))) << path;
    }
}

}  // namespace
}  // namespace tagvera::testing
