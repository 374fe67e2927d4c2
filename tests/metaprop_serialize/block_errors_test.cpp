// Blocks that are cut short, lie about their sizes or counts, or are simply wrong: the result codes
// and what is left of the tree read into.
#include <gtest/gtest.h>

#include "golden_block.h"
#include "metaprop/block_format.h"
#include "serialize_support.h"

namespace tagvera::testing {
namespace {

// A tree with content, and its dump, to prove a failed read left it alone.
struct Target {
    Node tree = NewTree();
    std::string before;
    Target() {
        tree->SetName("mine");
        AddTyped(AddGroup(tree.get(), "Track").get(), "Name", "untouched");
        before = Dump(tree.get(), {.withChanged = true});
    }
    bool untouched() const { return Dump(tree.get(), {.withChanged = true}) == before; }
};

void Set32(Bytes& b, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) b[at + i] = uint8_t(v >> (8 * i));
}

GoldenRecord TwoChildren() {
    GoldenRecord g;
    g.children.push_back({.name = "A", .type = kTypeText, .value = TextValue("first")});
    g.children.push_back({.name = "B", .type = kTypeText, .value = TextValue("second")});
    return g;
}

// Offsets inside the block of TwoChildren(): root record at 8, its table at 8 + 34.
constexpr size_t kRoot = 8;
constexpr size_t kTable = kRoot + 34;
constexpr size_t kFirstChild = kTable + 16;

TEST(BlockErrors, WrongHeaderIsRefusedBeforeTouchingTheTree) {
    const Bytes good = EncodeBlock(TwoChildren(), false);
    Target t;
    EXPECT_EQ(Serialize(t.tree.get())->ReadBinary(nullptr, 100, false, false), TV_E_POINTER);
    uint32_t size = 0;
    uint8_t* block = nullptr;
    EXPECT_EQ(Serialize2(t.tree.get())->WriteBinaryEx(nullptr, &size, false, false, false, false), TV_E_POINTER);
    EXPECT_EQ(Serialize2(t.tree.get())->WriteBinaryEx(&block, nullptr, false, false, false, false), TV_E_POINTER);
    Bytes magic = good;
    magic[3] = 'X';
    EXPECT_EQ(ReadBlock(t.tree.get(), magic), TV_E_BLOCK_BADHEADER);
    Bytes version = good;
    Set32(version, 4, 2);
    EXPECT_EQ(ReadBlock(t.tree.get(), version), TV_E_BLOCK_BADHEADER);
    // The byte order is the caller's to say; a little-endian version read big-endian is wrong.
    EXPECT_EQ(ReadBlock(t.tree.get(), good, false, true), TV_E_BLOCK_BADHEADER);
    EXPECT_EQ(ReadBlock(t.tree.get(), Bytes(good.begin(), good.begin() + 7)), TV_E_BLOCK_BADHEADER);
    EXPECT_EQ(Serialize(t.tree.get())->ReadBinary(good.data(), 0, false, false), TV_E_BLOCK_BADHEADER);
    EXPECT_TRUE(t.untouched());
}

TEST(BlockErrors, EveryTruncationFailsWithoutTouchingTheTree) {
    for (bool big : {false, true}) {
        const Bytes good = WriteBlock(EveryTypeTree().get(), {.bigEndian = big});
        // Without the trailing zero the block is still whole.
        Target whole;
        EXPECT_EQ(ReadBlock(whole.tree.get(), Bytes(good.begin(), good.end() - 1), false, big), TV_S_OK);
        for (size_t n = 8; n + 1 < good.size(); ++n) {
            Target t;
            ASSERT_EQ(ReadBlock(t.tree.get(), Bytes(good.begin(), good.begin() + n), false, big), TV_E_FAIL) << n;
            ASSERT_TRUE(t.untouched()) << n;
        }
    }
}

TEST(BlockErrors, LengthsCountsAndOffsetsThatLieFail) {
    const Bytes good = EncodeBlock(TwoChildren(), false);
    struct Case {
        const char* what;
        size_t at;
        uint32_t value;
    };
    const Case cases[] = {
        {"root length past the block", kRoot + 0, 0xFFFFFFF0u},
        {"root length below its fields", kRoot + 0, 20},
        {"name length zero", kRoot + 24, 0},
        {"name length past the record", kRoot + 24, 0x7FFFFFFF},
        {"value offset inside the name", kRoot + 12, 10},
        {"value offset past the record", kRoot + 12, 0xFFFFFFFC},
        {"table offset past the record", kRoot + 16, 0xFFFFFFF8},
        {"huge entry count", kRoot + 20, 0x20000000},
        {"entry count reaching into the children", kRoot + 20, 3},
        {"child offset pointing at its parent", kTable, 0},
        {"child offset inside the table", kTable, 40},
        {"child offset past the record", kTable, 0x10000},
        {"child length past its parent", kFirstChild, 0x1000},
        {"child name not terminated", kFirstChild + 24, 1},
        {"four billion records of one name", kTable + 4, 0xFFFFFFFFu},
        {"an entry of no records", kTable + 4, 0},
        // Read twice, one record reached from two entries would let a block grow work without bound.
        {"two entries sharing a record", kTable + 8, uint32_t(kFirstChild - kRoot)},
    };
    for (const Case& c : cases) {
        Bytes bad = good;
        Set32(bad, c.at, c.value);
        Node tree = NewTree();
        EXPECT_EQ(ReadBlock(tree.get(), bad), TV_E_FAIL) << c.what;
    }
}

TEST(BlockErrors, ChildrenReadBeforeAFaultStay) {
    Bytes bad = EncodeBlock(TwoChildren(), false);
    // The second entry claims three records of "B" where one follows.
    Set32(bad, kTable + 12, 3);
    Node tree = NewTree();
    EXPECT_EQ(ReadBlock(tree.get(), bad), TV_E_FAIL);
    EXPECT_EQ(Dump(tree.get(), BlockRules(false)),
              "\"\" t=0 f=0 v=-\n"
              "  \"A\" t=1 f=0 v=666972737400\n"
              "  \"B\" t=1 f=0 v=7365636f6e6400\n");
}

TEST(BlockErrors, ReferenceValueIsCheckedOnlyWhenItIsRead) {
    GoldenRecord g;
    g.children.push_back({.name = "Ref", .type = kTypeReference, .value = TextValue("data")});
    Bytes bad = EncodeBlock(g, false);
    const size_t child = kTable + 8;
    Set32(bad, child + 32, 0x7FFFFFFF);  // value length of "Ref", after its 28 + 4 name bytes
    EXPECT_EQ(ReadBlock(NewTree().get(), bad, false), TV_S_OK);
    EXPECT_EQ(ReadBlock(NewTree().get(), bad, true), TV_E_FAIL);
}

}  // namespace
}  // namespace tagvera::testing
