// `tagvera tree` through the command, a host on the library's entry points: forms told by content,
// and block -> XML -> block giving the first block back for every type in both byte orders.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "serialize_support.h"

namespace tagvera::testing {
namespace {

struct Cli {
    int status = 0;
    std::string out;
};

Cli Tree(const std::string& arguments) {
    const std::string prefs = (TempDir() / "cli-preferences").string();
    Cli r;
    r.out = RunCommand("TAGVERA_LIBRARY='" TAGVERA_LIBRARY_PATH "' TAGVERA_PREFERENCES='" + prefs + "' '" TAGVERA_CLI_PATH
                       "' tree " + arguments + " 2>&1",
                       &r.status);
    return r;
}

Bytes Slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// Every type the XML form can carry, with references of all three kinds (stored as stand-ins).
Node ConvertibleTree() {
    Node tree = EveryTypeTree();
    AddText(tree.get(), "Cover", TempFile("cover.png", Bytes(300, 0x5a)), kTypeFileReference, kFlagShortcut);
    const uint8_t data[] = {1, 2, 3, 4, 5, 6};
    Add(tree.get(), "Thumb", kTypeDataReference, 0, data, sizeof data);
    return tree;
}

TEST(CliTree, BlockToXmlToBlockGivesTheSameBlock) {
    Node tree = ConvertibleTree();
    for (bool big : {false, true}) {
        const std::string a = (TempDir() / (big ? "a-big.blk" : "a.blk")).string();
        const std::string xml = (TempDir() / "a.xml").string();
        const std::string b = (TempDir() / "b.blk").string();
        const Bytes first = WriteBlock(tree.get(), {.bigEndian = big});
        std::ofstream(a, std::ios::binary).write(reinterpret_cast<const char*>(first.data()), first.size());

        Cli r = Tree("convert '" + a + "' '" + xml + "' --to xml");
        ASSERT_EQ(r.status, 0) << r.out;
        r = Tree("convert '" + xml + "' '" + b + "' --to block" + (big ? " --byte-order big" : ""));
        ASSERT_EQ(r.status, 0) << r.out;
        EXPECT_EQ(Slurp(b), first) << (big ? "big-endian" : "little-endian");
    }
}

TEST(CliTree, ShowTellsTheFormFromTheContent) {
    Node tree = NewTree();
    AddText(AddGroup(tree.get(), "Track").get(), "Name", "So What");
    AddNumber(tree.get(), "Plays", 7, kFlagReadOnly);
    // Each file carries the other form's extension.
    const std::string block = (TempDir() / "looks-like.xml").string();
    const Bytes bytes = WriteBlock(tree.get(), {.bigEndian = true});
    std::ofstream(block, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const std::string xml = (TempDir() / "looks-like.blk").string();
    std::ofstream(xml, std::ios::binary) << WriteXml(tree.get(), true);

    const std::string expected =
        "Plays (number; readonly) = 7\n"
        "Track (group)\n"
        "  Name (text) = \"So What\"\n";
    Cli r = Tree("show '" + block + "'");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, block + ": jukebox metadata block (KJMD, big-endian, " + std::to_string(bytes.size()) +
                         " bytes)\n" + expected);
    r = Tree("show '" + xml + "'");
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("KJMETADATA document"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find(expected), std::string::npos) << r.out;
}

TEST(CliTree, DamagedInputsAreDataErrors) {
    const std::string text = TempFile("notes.txt", {'h', 'e', 'l', 'l', 'o'});
    Cli r = Tree("show '" + text + "'");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.out.find("neither a jukebox metadata block nor a KJMETADATA document"), std::string::npos) << r.out;

    Bytes cut = WriteBlock(EveryTypeTree().get());
    cut.resize(cut.size() / 2);
    r = Tree("show '" + TempFile("cut.blk", cut) + "'");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.out.find("E_FAIL"), std::string::npos) << r.out;

    const std::string bad = TempFile("bad.xml", {'<', 'K', 'J', 'M', 'E', 'T', 'A', 'D', 'A', 'T', 'A', '>', '<', '/', 'x', '>'});
    r = Tree("show '" + bad + "'");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.out.find("0x80040481"), std::string::npos) << r.out;

    r = Tree("convert '" + bad + "' out.blk");
    EXPECT_EQ(r.status, 2) << r.out;
}

}  // namespace
}  // namespace tagvera::testing
