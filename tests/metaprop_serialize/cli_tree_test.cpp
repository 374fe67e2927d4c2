// `tagvera tree` through the command, a host on the library's entry points: forms told by content,
// and block -> XML -> block giving the first block back for every type in both byte orders.
#include <gtest/gtest.h>

#include "cli/run_cli.h"
#include "platform/scratch_dir.h"
#include "serialize_support.h"

namespace tagvera::testing {
namespace {

class CliTree : public ::testing::Test {
protected:
    CliResult Tree(std::vector<std::string> args) {
        args.insert(args.begin(), "tree");
        return RunCli(args, {{"TAGVERA_LIBRARY", TAGVERA_LIBRARY_PATH}, {"TAGVERA_PREFERENCES", dir_.file("prefs")}});
    }
    test::ScratchDir dir_;
};

TEST_F(CliTree, BlockToXmlToBlockGivesTheSameBlock) {
    // Every type the XML form can carry, with references of all three kinds (stored as stand-ins).
    Node tree = EveryTypeTree();
    AddTyped(tree.get(), "Cover", dir_.write("cover.png", Bytes(300, 0x5a)), kTypeFileReference, kFlagShortcut);
    const uint8_t data[] = {1, 2, 3, 4, 5, 6};
    Add(tree.get(), "Thumb", kTypeDataReference, 0, data, sizeof data);
    for (bool big : {false, true}) {
        const Bytes first = WriteBlock(tree.get(), {.bigEndian = big});
        const std::string a = dir_.write("a.blk", first), xml = dir_.file("a.xml"), b = dir_.file("b.blk");
        CliResult r = Tree({"convert", a, xml, "--to", "xml"});
        ASSERT_EQ(r.status, 0) << r.err;
        r = Tree({"convert", xml, b, "--to", "block", "--byte-order", big ? "big" : "little"});
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(test::ReadAll(b), first) << (big ? "big-endian" : "little-endian");
    }
}

TEST_F(CliTree, ShowTellsTheFormFromTheContent) {
    Node tree = NewTree();
    AddTyped(AddGroup(tree.get(), "Track").get(), "Name", "So What");
    AddNumber(tree.get(), "Plays", 7, kFlagReadOnly);
    // Each file carries the other form's extension.
    const Bytes bytes = WriteBlock(tree.get(), {.bigEndian = true});
    const std::string block = dir_.write("looks-like.xml", bytes);
    const std::string xml = dir_.file("looks-like.blk");
    test::WriteText(xml, WriteXml(tree.get(), true));

    const std::string expected =
        "Plays (number; readonly) = 7\n"
        "Track (group)\n"
        "  Name (text) = \"So What\"\n";
    CliResult r = Tree({"show", block});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, block + ": jukebox metadata block (KJMD, big-endian, " + std::to_string(bytes.size()) +
                         " bytes)\n" + expected);
    r = Tree({"show", xml});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("KJMETADATA document"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find(expected), std::string::npos) << r.out;
}

TEST_F(CliTree, DamagedInputsAreDataErrors) {
    Bytes cut = WriteBlock(EveryTypeTree().get());
    cut.resize(cut.size() / 2);
    const std::string bad = dir_.file("bad.xml");
    test::WriteText(bad, "<KJMETADATA></x>");
    const struct {
        std::string file;
        const char* says;
    } cases[] = {
        {dir_.write("notes.txt", {'h', 'i'}), "neither a jukebox metadata block nor a KJMETADATA document"},
        {dir_.write("cut.blk", cut), "not a valid jukebox metadata block"},
        {bad, "an end tag that does not match its element"},
    };
    for (const auto& c : cases) {
        const CliResult r = Tree({"show", c.file});
        EXPECT_EQ(r.status, 1) << c.file;
        EXPECT_NE((r.out + r.err).find(c.says), std::string::npos) << r.out << r.err;
    }
    EXPECT_EQ(Tree({"convert", bad, dir_.file("out.blk")}).status, 2);
}

}  // namespace
}  // namespace tagvera::testing
