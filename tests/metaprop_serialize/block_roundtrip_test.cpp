// Trees through the block and back: every type, flag and reference kind in both byte orders, the
// fields left out, and what reading does to the tree it reads into.
#include <gtest/gtest.h>

#include "golden_block.h"
#include "mp3_importer/preferences_file.h"
#include "platform/scratch_dir.h"
#include "serialize_support.h"

namespace tagvera::testing {
namespace {

Node ReadBack(const Bytes& block, bool keep, bool big) {
    Node tree = NewTree();
    EXPECT_EQ(ReadBlock(tree.get(), block, keep, big), TV_S_OK);
    return tree;
}

TEST(BlockRoundTrip, EveryTypeAndFlagSurvivesInBothByteOrders) {
    Node tree = EveryTypeTree();
    for (bool big : {false, true}) {
        for (bool keep : {false, true}) {
            const Bytes block = WriteBlock(tree.get(), {.keepReferences = keep, .bigEndian = big});
            Node back = ReadBack(block, keep, big);
            EXPECT_EQ(Dump(back.get(), BlockRules(keep)), Dump(tree.get(), BlockRules(keep)))
                << "big " << big << " keep " << keep;
            // And the tree read back writes the very same block.
            EXPECT_EQ(WriteBlock(back.get(), {.keepReferences = keep, .bigEndian = big}), block);
        }
    }
}

TEST(BlockRoundTrip, ReferencesTravelAsSizeExtensionAndBytesWhenKept) {
    test::ScratchDir dir;
    const Bytes picture = test::Pattern(1000);
    Node tree = NewTree();
    AddTyped(tree.get(), "Cover Art", dir.write("cover.jpg", picture), kTypeFileReference, kFlagShortcut);
    for (bool big : {false, true}) {
        Node plain = ReadBack(WriteBlock(tree.get(), {.bigEndian = big}), true, big);
        EXPECT_EQ(Dump(plain.get(), BlockRules(true)),
                  "\"\" t=0 f=0 v=-\n"
                  "  \"Cover Art\" t=10 f=0x10 v=-\n"
                  "    \"DataSize\" t=4 f=0x4 v=e8030000\n"
                  "    \"Extension\" t=1 f=0x4 v=2e6a706700\n");
        Node kept = ReadBack(WriteBlock(tree.get(), {.keepReferences = true, .bigEndian = big}), true, big);
        EXPECT_EQ(ValueAt(kept.get(), "Cover Art"), picture);
    }

    // A file that is gone keeps only its extension.
    Node missing = NewTree();
    AddTyped(missing.get(), "Lyrics", dir.file("absent.txt"), kTypeFileReference);
    EXPECT_EQ(Dump(ReadBack(WriteBlock(missing.get(), {.keepReferences = true}), true, false).get()),
              "\"\" t=0 f=0 v=00\n"
              "  \"Lyrics\" t=10 f=0 v=00\n"
              "    \"Extension\" t=1 f=0x4 v=2e74787400\n");

    // Bytes held by reference travel with their size.
    Node data = NewTree();
    const uint8_t bytes[] = {1, 2, 3, 4, 5};
    Add(data.get(), "Thumb", kTypeDataReference, 0, bytes, 5);
    EXPECT_EQ(Dump(ReadBack(WriteBlock(data.get()), true, false).get(), BlockRules(true)),
              "\"\" t=0 f=0 v=-\n"
              "  \"Thumb\" t=10 f=0 v=-\n"
              "    \"DataSize\" t=4 f=0x4 v=05000000\n");
    EXPECT_EQ(Dump(ReadBack(WriteBlock(data.get(), {.keepReferences = true}), true, false).get(), BlockRules(true)),
              "\"\" t=0 f=0 v=-\n"
              "  \"Thumb\" t=10 f=0 v=0102030405\n"
              "    \"DataSize\" t=4 f=0x4 v=05000000\n");
}

// File references stored by the variant come back as valueless references (file_reference_test).
TEST(BlockRoundTrip, VariantStoresReferencesAsTheyAre) {
    Node tree = EveryTypeTree();
    const uint8_t bytes[] = {0xaa, 0xbb};
    Add(tree.get(), "DataRef", kTypeDataReference, kFlagPrivate, bytes, 2);
    for (bool big : {false, true}) {
        const Bytes block = WriteBlock(tree.get(), {.keepReferences = true, .variant = true, .bigEndian = big});
        EXPECT_EQ(std::string(block.begin(), block.begin() + 4), "KJAD");
        Node back = ReadBack(block, true, big);
        EXPECT_EQ(Dump(back.get(), BlockRules(true)), Dump(tree.get(), BlockRules(true)));
    }
}

bool Has(const Bytes& block, const char* path) {
    Node found;
    return ReadBack(block, false, false)->FindFirstChild(path, found.put()) == TV_S_OK;
}

TEST(BlockRoundTrip, DatabaseFieldsStayOutUnlessAskedFor) {
    Node tree = EveryTypeTree();
    const Bytes off = WriteBlock(tree.get(), {.databaseFields = false});
    EXPECT_FALSE(Has(off, "Statistics:FileSize"));
    EXPECT_FALSE(Has(off, "Statistics:Filename"));
    EXPECT_TRUE(Has(off, "Statistics:MimeType"));
    EXPECT_TRUE(Has(off, "Track:CD TOC"));  // only the variant leaves it out
    EXPECT_FALSE(Has(WriteBlock(tree.get(), {.variant = true, .databaseFields = false}), "Track:CD TOC"));
    const Bytes on = WriteBlock(tree.get(), {.variant = true, .databaseFields = true});
    EXPECT_TRUE(Has(on, "Statistics:FileSize"));
    EXPECT_TRUE(Has(on, "Track:CD TOC"));

    // Names compare without regard to case.
    Node odd = NewTree();
    AddNumber(AddGroup(odd.get(), "STATISTICS").get(), "filesize", 1);
    EXPECT_FALSE(Has(WriteBlock(odd.get(), {.databaseFields = false}), "STATISTICS:filesize"));

    // WriteBinary takes the choice from the preference, off by default.
    for (const char* value : {"", "1", "0", "yes"}) {
        PreferencesFile prefs(*value ? std::string("WriteDBFields = string:") + value + "\n" : "");
        uint8_t* block = nullptr;
        uint32_t size = 0;
        ASSERT_EQ(Serialize(tree.get())->WriteBinary(&block, &size, false, false, false), TV_S_OK);
        const Bytes bytes(block, block + size);
        delete[] block;
        EXPECT_EQ(Has(bytes, "Statistics:FileSize"), *value && *value != '0') << value;
    }
}

TEST(BlockRoundTrip, NodesMarkedDeletedAreLeftOut) {
    Node tree = NewTree();
    Node track = AddGroup(tree.get(), "Track");
    AddTyped(track.get(), "Name", "kept");
    AddTyped(track.get(), "Comments", "gone")->SetChanged(kDeleted);
    AddGroup(tree.get(), "Gone")->SetChanged(kDeleted);
    AddTyped(tree.get(), "Changed", "kept too")->SetChanged(kChanged);
    Node back = ReadBack(WriteBlock(tree.get()), false, false);
    EXPECT_EQ(Dump(back.get(), BlockRules(false)),
              "\"\" t=0 f=0 v=-\n"
              "  \"Changed\" t=1 f=0 v=6b65707420746f6f00\n"
              "  \"Track\" t=9 f=0 v=-\n"
              "    \"Name\" t=1 f=0 v=6b65707400\n");
}

TEST(BlockRoundTrip, SameNameChainIsWrittenWholeAndReadAsItsFirstNode) {
    Node tree = NewTree();
    Node first = AddTyped(tree.get(), "Artist", "first");
    Node second = AddTyped(NewTree().get(), "Artist", "second");
    auto link = QueryAs<IMPAMetaPropertyLinkedList>(first, IID_IMPAMetaPropertyLinkedList);
    ASSERT_EQ(link->SetNext(QueryAs<IMPAMetaPropertyLinkedList>(second, IID_IMPAMetaPropertyLinkedList).get()), TV_S_OK);

    GoldenRecord golden{.children = {{.name = "Artist", .type = kTypeText, .value = TextValue("first")},
                                     {.name = "Artist", .type = kTypeText, .value = TextValue("second")}}};
    const Bytes block = WriteBlock(tree.get());
    EXPECT_EQ(block, EncodeBlock(golden, false));
    Node back = ReadBack(block, false, false);
    EXPECT_EQ(Dump(back.get(), BlockRules(false)),
              "\"\" t=0 f=0 v=-\n"
              "  \"Artist\" t=1 f=0 v=666972737400\n");
}

int g_deleteCalls = 0;
void CountingDelete(void*) { ++g_deleteCalls; }

TEST(BlockRoundTrip, PointerTypesNeverCarryBytesThroughABlock) {
    // A block whose type-13 record holds an address and a "DeleteFunc" child holding a function's:
    // read into a tree and dropped, nothing may be called.
    static int target = 0;
    void* address = &target;
    void (*function)(void*) = CountingDelete;
    GoldenRecord golden;
    GoldenRecord owned{.name = "Owned", .type = kTypeOwnedPointer};
    owned.value.assign(reinterpret_cast<uint8_t*>(&address), reinterpret_cast<uint8_t*>(&address) + sizeof address);
    GoldenRecord deleter{.name = "DeleteFunc", .type = kTypeNumber};
    deleter.value.assign(reinterpret_cast<uint8_t*>(&function),
                         reinterpret_cast<uint8_t*>(&function) + sizeof function);
    owned.children.push_back(deleter);
    golden.children.push_back(owned);
    golden.children.push_back({.name = "Iface", .type = kTypeInterfacePointer, .value = Bytes(sizeof(void*), 0x41)});
    g_deleteCalls = 0;
    {
        Node tree = NewTree();
        ASSERT_EQ(ReadBlock(tree.get(), EncodeBlock(golden, false)), TV_S_OK);
        EXPECT_EQ(ValueAt(tree.get(), "Owned"), Bytes{});
    }
    EXPECT_EQ(g_deleteCalls, 0);

    // A root holding text that a block turns into a pointer type loses the text first.
    {
        Node tree = NewTree();
        tree->SetValue(reinterpret_cast<const uint8_t*>("AAAAAAAAAAAAAAA"), 16);
        GoldenRecord root{.type = kTypeOwnedPointer, .value = owned.value, .children = {deleter}};
        ASSERT_EQ(ReadBlock(tree.get(), EncodeBlock(root, false)), TV_S_OK);
        EXPECT_EQ(Dump(tree.get()).substr(0, 8), "\"\" t=13 ");
    }
    EXPECT_EQ(g_deleteCalls, 0);

    // Writing one stores no address either.
    Node tree = NewTree();
    Add(tree.get(), "Live", kTypeOwnedPointer, 0, &address, sizeof address);
    EXPECT_EQ(WriteBlock(tree.get()),
              EncodeBlock({.children = {{.name = "Live", .type = kTypeOwnedPointer}}}, false));
}

TEST(BlockRoundTrip, ReadingReplacesTheRootAndAddsChildren) {
    // Two records of one name: a second group merges, a second text is dropped.
    GoldenRecord golden{.name = "after", .type = kTypeGroup, .flags = kFlagReadOnly, .value = TextValue("new")};
    golden.children = {
        {.name = "Note", .type = kTypeText, .value = TextValue("first")},
        {.name = "Note", .type = kTypeText, .value = TextValue("second")},
        {.name = "Track", .type = kTypeGroup,
         .children = {{.name = "Name", .type = kTypeText, .value = TextValue("from the block")}}},
        {.name = "Track", .type = kTypeGroup,
         .children = {{.name = "Year", .type = kTypeNumber, .flags = kFlagReadOnly, .value = NumberValue(1959)}}},
    };
    for (bool big : {false, true}) {
        Node tree = NewTree();
        tree->SetName("before");
        tree->SetValue(reinterpret_cast<const uint8_t*>("old"), 4);
        AddTyped(tree.get(), "Keep", "mine");
        AddTyped(AddGroup(tree.get(), "Track").get(), "Old", "mine too");
        ASSERT_EQ(ReadBlock(tree.get(), EncodeBlock(golden, big), false, big), TV_S_OK);
        EXPECT_EQ(Dump(tree.get(), {.withChanged = true}),
                  "\"after\" t=9 f=0x1 c=1 v=6e657700\n"
                  "  \"Keep\" t=1 f=0 c=0 v=6d696e6500\n"
                  "  \"Note\" t=1 f=0 c=0 v=666972737400\n"
                  "  \"Track\" t=9 f=0 c=0 v=-\n"
                  "    \"Name\" t=1 f=0 c=0 v=66726f6d2074686520626c6f636b00\n"
                  "    \"Old\" t=1 f=0 c=0 v=6d696e6520746f6f00\n"
                  "    \"Year\" t=4 f=0x1 c=0 v=a7070000\n")
            << big;
    }
}

TEST(BlockRoundTrip, NestingIsBoundedOnBothSides) {
    auto nested = [](int levels) {
        Node root = NewTree();
        Node at = root;
        for (int i = 0; i < levels; ++i) at = AddGroup(at.get(), "g");
        return root;
    };
    Node ok = nested(128);
    const Bytes block = WriteBlock(ok.get());
    Node back = ReadBack(block, false, false);
    EXPECT_EQ(Dump(back.get(), BlockRules(false)), Dump(ok.get(), BlockRules(false)));

    Node tooDeep = nested(129);
    uint8_t* out = nullptr;
    uint32_t size = 0;
    EXPECT_EQ(Serialize2(tooDeep.get())->WriteBinaryEx(&out, &size, false, false, false, true), TV_E_FAIL);
    EXPECT_EQ(out, nullptr);

    GoldenRecord deep;
    GoldenRecord* at = &deep;
    for (int i = 0; i < 129; ++i) {
        at->children.push_back({.name = "g", .type = kTypeGroup});
        at = &at->children.back();
    }
    Node reader = NewTree();
    EXPECT_EQ(ReadBlock(reader.get(), EncodeBlock(deep, false)), TV_E_FAIL);
}

}  // namespace
}  // namespace tagvera::testing
