// The block's layout, pinned by blocks laid out byte by byte: what the writer must produce and
// what the reader must accept.
#include <gtest/gtest.h>

#include "golden_block.h"
#include "serialize_support.h"

namespace tagvera::testing {
namespace {

const Bytes kEmptyRootLittle = {
    'K', 'J', 'M', 'D', 1, 0, 0, 0,
    34, 0, 0, 0,  // record length
    0, 0, 0, 0,   // type
    0, 0, 0, 0,   // flags
    29, 0, 0, 0,  // value offset
    34, 0, 0, 0,  // child table offset
    0, 0, 0, 0,   // entries
    1, 0, 0, 0,   // name length
    0,            // name
    1, 0, 0, 0,   // value length
    0,            // value
    0,            // trailing zero
};

const Bytes kEmptyRootBig = {
    'K', 'J', 'M', 'D', 0, 0, 0, 1,
    0, 0, 0, 34, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 29, 0, 0, 0, 34, 0, 0, 0, 0, 0, 0, 0, 1,
    0, 0, 0, 0, 1, 0, 0,
};

// A root with one text child "A" = "x".
const Bytes kOneChildLittle = {
    'K', 'J', 'M', 'D', 1, 0, 0, 0,
    78, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 29, 0, 0, 0, 34, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0,
    0,                        // root name
    1, 0, 0, 0, 0,            // root value
    42, 0, 0, 0, 1, 0, 0, 0,  // table: first "A" at 42, one record
    36, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 30, 0, 0, 0, 36, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0,
    'A', 0,
    2, 0, 0, 0, 'x', 0,
    0,
};

TEST(BlockFormat, SmallTreesAreWrittenByteForByte) {
    // The writer and the tests' own encoder both agree with the bytes laid out by hand.
    Node root = NewTree();
    EXPECT_EQ(WriteBlock(root.get()), kEmptyRootLittle);
    EXPECT_EQ(WriteBlock(root.get(), {.bigEndian = true}), kEmptyRootBig);
    EXPECT_EQ(EncodeBlock({}, false), kEmptyRootLittle);
    EXPECT_EQ(EncodeBlock({}, true), kEmptyRootBig);
    AddTyped(root.get(), "A", "x");
    EXPECT_EQ(WriteBlock(root.get()), kOneChildLittle);
    EXPECT_EQ(EncodeBlock({.children = {{.name = "A", .type = kTypeText, .value = TextValue("x")}}}, false),
              kOneChildLittle);
}

TEST(BlockFormat, WriterMatchesHandLaidBlockForEveryTypeOrderAndMagic) {
    // The tree's children in enumeration (byte) order, each with the value the writer stores.
    Node tree = NewTree();
    Node group = AddGroup(tree.get(), "G", kFlagShortcut);
    AddTyped(group.get(), "b", "text");
    AddNumber(group.get(), "a", 0x01020304);
    const uint8_t bin[] = {9, 8, 7};
    Add(tree.get(), "Bin", kTypeBinary, kFlagType, bin, 3);
    const uint8_t on = 1;
    Add(tree.get(), "Flag", kTypeFlag, 0, &on, 1);
    AddTyped(tree.get(), "Link", "http://x", kTypeUrl);
    AddTyped(tree.get(), "Ref", "held bytes", kTypeReference);
    Add(tree.get(), "Zilch", kTypeNone, 0, nullptr, 0);

    for (bool big : {false, true}) {
        for (bool keep : {false, true}) {
            GoldenRecord golden;
            golden.children = {
                {.name = "Bin", .type = kTypeBinary, .flags = kFlagType, .value = {9, 8, 7}},
                {.name = "Flag", .type = kTypeFlag, .value = {1}},
                {.name = "G", .type = kTypeGroup, .flags = kFlagShortcut, .children = {
                    {.name = "a", .type = kTypeNumber, .value = NumberValue(0x01020304)},
                    {.name = "b", .type = kTypeText, .value = TextValue("text")}}},
                {.name = "Link", .type = kTypeUrl, .value = TextValue("http://x")},
                {.name = "Ref", .type = kTypeReference, .value = keep ? TextValue("held bytes") : Bytes{0}},
                {.name = "Zilch", .type = kTypeNone},
            };
            EXPECT_EQ(WriteBlock(tree.get(), {.keepReferences = keep, .bigEndian = big}), EncodeBlock(golden, big))
                << "big " << big << " keep " << keep;
        }
    }
    // Only the variant that keeps references says so in its magic; the reader takes both.
    const Bytes variant = WriteBlock(tree.get(), {.variant = true});
    EXPECT_EQ(std::string(variant.begin(), variant.begin() + 4), "KJMD");
    EXPECT_EQ(ReadBlock(NewTree().get(), EncodeBlock({}, false, "KJAD")), TV_S_OK);
}

TEST(BlockFormat, TrailingZeroOnlyWhenTheBufferHasRoom) {
    // A root whose record is 9992 bytes fills the first 10000-byte buffer exactly.
    Node tree = NewTree();
    const std::string fill(9992 - 34, 'v');
    tree->SetValue(reinterpret_cast<const uint8_t*>(fill.c_str()), uint32_t(fill.size() + 1));
    EXPECT_EQ(WriteBlock(tree.get()).size(), 10000u);
    // One byte less leaves room for the zero.
    tree->SetValue(reinterpret_cast<const uint8_t*>(fill.c_str()), uint32_t(fill.size()));
    const Bytes b = WriteBlock(tree.get());
    EXPECT_EQ(b.size(), 10000u);
    EXPECT_EQ(b.back(), 0);
}

}  // namespace
}  // namespace tagvera::testing
