// The jukebox metadata frame's parser on its own: what it accepts, what Build keeps and drops, and
// reference data through a data source.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tags/jukebox/jukebox_parser.h"
#include "mp3_importer/tree_support.h"
#include "platform/scratch_dir.h"
#include "tagvera/vocabulary.h"

namespace tagvera {
namespace {

using testing::BlockOf;
using testing::Bytes;
using testing::NewTree;
using testing::NodeAt;
using testing::NumberAt;
using testing::TextAt;

ComPtr<IMPAKJMDParser> NewParser() {
    ComPtr<IMPAKJMDParser> parser;
    EXPECT_EQ(CreateJukeboxParser(nullptr, parser.put()), TV_S_OK);
    return parser;
}

// A tree as the jukebox stores it: title, artist, album, comments, a year and a nested credit.
ComPtr<IMPAMetaProperty> StoredTree() {
    auto tree = NewTree();
    tree->AddText("Track:Name", "Stored Title", 0, true, nullptr);
    tree->AddText("Track:Comments", "Stored comment", 0, true, nullptr);
    tree->AddNumber("Track:Year", 1999, 0, true, nullptr);
    tree->AddText("Artist:Name", "Stored Artist", 0, true, nullptr);
    tree->AddText("Album:Name", "Stored Album", 0, true, nullptr);
    tree->AddText("Track:Credits:Producer", "Stored Producer", 0, true, nullptr);
    return tree;
}

Bytes Parsed(IMPAKJMDParser* parser) {
    ComPtr<IKMABuffer> buffer;
    EXPECT_EQ(parser->GetBlock(buffer.put()), TV_S_OK);
    if (!buffer) return {};
    uint8_t* data = nullptr;
    uint32_t size = 0;
    buffer->Get(&data, &size);
    return Bytes(data, data + size);
}

// The held block read back into a fresh tree.
ComPtr<IMPAMetaProperty> Held(IMPAKJMDParser* parser) {
    auto tree = NewTree();
    EXPECT_EQ(parser->CopyToTree(tree.get()), TV_S_OK);
    return tree;
}

TEST(JukeboxParser, RefusesBadBlocksAndArguments) {
    auto parser = NewParser();
    EXPECT_TRUE(QueryAs<IMPAKJMDParser>(parser, IID_IMPAKJMDParser));
    EXPECT_FALSE(QueryAs<IMPAMetaProperty>(parser, IID_IMPAMetaProperty));
    Bytes block = BlockOf(StoredTree().get());
    ASSERT_GE(block.size(), 32u);
    // Short blocks are refused before the magic is looked at.
    EXPECT_EQ(parser->Parse(block.data(), 31), TV_E_FAIL);
    EXPECT_EQ(parser->Parse(nullptr, 100), TV_E_FAIL);
    Bytes notABlock(64, 'x');
    EXPECT_EQ(parser->Parse(notABlock.data(), 31), TV_E_FAIL);
    EXPECT_EQ(parser->Parse(notABlock.data(), 32), TV_E_INVALIDARG);
    // A good magic over a record that does not hold together.
    std::memcpy(notABlock.data(), "KJMD", 4);
    EXPECT_EQ(parser->Parse(notABlock.data(), 64), TV_E_FAIL);

    // Nothing is held after a failure.
    auto tree = NewTree();
    uint8_t byte = 0;
    ComPtr<IKMABuffer> buffer;
    EXPECT_EQ(parser->CopyToTree(tree.get()), TV_E_NOTLOADED);
    EXPECT_EQ(parser->GetPropertyData(tree.get(), &byte, 1), TV_E_NOTLOADED);
    EXPECT_EQ(parser->SavePropertyData(tree.get(), "/tmp/x"), TV_E_NOTLOADED);
    EXPECT_EQ(parser->GetBlock(buffer.put()), TV_E_NOTLOADED);
    EXPECT_EQ(parser->Build(nullptr, nullptr, 0), TV_E_POINTER);
    EXPECT_EQ(parser->GetBlock(nullptr), TV_E_POINTER);

    ASSERT_EQ(parser->Parse(block.data(), uint32_t(block.size())), TV_S_OK);
    EXPECT_EQ(parser->CopyToTree(nullptr), TV_E_POINTER);
    EXPECT_EQ(parser->GetPropertyData(nullptr, &byte, 1), TV_E_POINTER);
    EXPECT_EQ(parser->GetPropertyData(tree.get(), nullptr, 1), TV_E_POINTER);
    EXPECT_EQ(parser->SavePropertyData(tree.get(), nullptr), TV_E_POINTER);
}

TEST(JukeboxParser, BuildKeepsWhatDidNotChangeAndDropsWhatWasDeleted) {
    auto parser = NewParser();
    Bytes block = BlockOf(StoredTree().get());
    ASSERT_EQ(parser->Parse(block.data(), uint32_t(block.size())), TV_S_OK);
    EXPECT_EQ(Parsed(parser.get()), block) << "handed out unchanged";

    // The host's tree: the title changed (a value set over an existing one), the comment deleted.
    auto edited = StoredTree();
    const char newTitle[] = "New Title";
    NodeAt(edited.get(), "Track:Name")->SetValue(reinterpret_cast<const uint8_t*>(newTitle), sizeof newTitle);
    edited->AddText("Album:Name", "Unchanged in the block", 0, true, nullptr);  // a new node, state 0
    NodeAt(edited.get(), "Track:Comments")->SetChanged(kDeleted);
    // Only two levels are walked: a change further down is not taken.
    const char deep[] = "Deep";
    NodeAt(edited.get(), "Track:Credits:Producer")->SetValue(reinterpret_cast<const uint8_t*>(deep), sizeof deep);

    ASSERT_EQ(parser->Build(edited.get(), nullptr, 0), TV_S_OK);
    auto rebuilt = Held(parser.get());
    EXPECT_EQ(TextAt(rebuilt.get(), "Track:Name"), "New Title");
    EXPECT_EQ(TextAt(rebuilt.get(), "Album:Name"), "Stored Album");
    EXPECT_EQ(TextAt(rebuilt.get(), "Artist:Name"), "Stored Artist");
    EXPECT_FALSE(NodeAt(rebuilt.get(), "Track:Comments"));
    EXPECT_EQ(NumberAt(rebuilt.get(), "Track:Year"), 1999u);
    EXPECT_EQ(TextAt(rebuilt.get(), "Track:Credits:Producer"), "Stored Producer");
    // The block the writer stores is big-endian, standard magic.
    Bytes out = Parsed(parser.get());
    ASSERT_GE(out.size(), 8u);
    EXPECT_EQ(std::string(out.begin(), out.begin() + 4), "KJMD");
    EXPECT_EQ(out[7], 1);
}

TEST(JukeboxParser, BuildWithForceTakesEverythingAtTwoLevels) {
    auto parser = NewParser();
    auto tree = StoredTree();
    ASSERT_EQ(parser->Build(tree.get(), nullptr, 1), TV_S_OK);
    auto rebuilt = Held(parser.get());
    EXPECT_EQ(TextAt(rebuilt.get(), "Track:Name"), "Stored Title");
    EXPECT_EQ(TextAt(rebuilt.get(), "Artist:Name"), "Stored Artist");
    // The host's tree is left as it was: Build adds copies, not the host's own nodes.
    EXPECT_EQ(testing::ParentCount(NodeAt(tree.get(), "Track:Name").get()), 1u);
}

TEST(JukeboxParser, CoverThroughADataSourceIsStoredAndReadBack) {
    const Bytes picture = test::Pattern(5000, 3);
    auto tree = NewTree();
    ComPtr<IMPAMetaProperty> cover;
    ASSERT_EQ(tree->AddProperty("Album:Cover Art", kTypeReference, 0, nullptr, 0, true, cover.put()), TV_S_OK);
    cover->AddNumber(kPropDataSize, uint32_t(picture.size()), 0, true, nullptr);
    cover->AddText(kPropMimeType, "image/jpeg", 0, true, nullptr);
    cover->SetChanged(kChanged);
    testing::FakeDataSource source(picture);

    auto parser = NewParser();
    // Without a data source a changed reference is left out.
    ASSERT_EQ(parser->Build(tree.get(), nullptr, 0), TV_S_OK);
    Bytes buffer(picture.size());
    EXPECT_EQ(parser->GetPropertyData(cover.get(), buffer.data(), uint32_t(buffer.size())), TV_E_FAIL);

    ASSERT_EQ(parser->Build(tree.get(), &source, 0), TV_S_OK);
    EXPECT_EQ(parser->GetPropertyData(cover.get(), buffer.data(), uint32_t(buffer.size())), TV_S_OK);
    EXPECT_EQ(buffer, picture);
    // A short buffer gets the first bytes.
    Bytes head(10);
    EXPECT_EQ(parser->GetPropertyData(cover.get(), head.data(), uint32_t(head.size())), TV_S_OK);
    EXPECT_EQ(head, Bytes(picture.begin(), picture.begin() + 10));

    // In the block: a type-10 record with "DataSize"; read without reference data into a tree.
    auto held = Held(parser.get());
    auto stored = NodeAt(held.get(), "Album:Cover Art");
    ASSERT_TRUE(stored);
    EXPECT_EQ(testing::TypeOf(stored.get()), uint32_t(kTypeReference));
    EXPECT_EQ(NumberAt(stored.get(), kPropDataSize), picture.size());

    test::ScratchDir dir;
    ASSERT_EQ(parser->SavePropertyData(cover.get(), dir.file("cover.jpg").c_str()), TV_S_OK);
    EXPECT_EQ(test::ReadAll(dir.file("cover.jpg")), picture);
    EXPECT_EQ(parser->SavePropertyData(cover.get(), dir.file("missing/cover.jpg").c_str()), TV_E_FAIL);
}

TEST(JukeboxParser, PropertyDataOnlyForStoredReferences) {
    auto parser = NewParser();
    auto stored = StoredTree();
    ComPtr<IMPAMetaProperty> tiny;
    stored->AddProperty("Album:Tiny", kTypeDataReference, 0, reinterpret_cast<const uint8_t*>("x"), 1, true,
                        tiny.put());
    Bytes block = BlockOf(stored.get());
    ASSERT_EQ(parser->Parse(block.data(), uint32_t(block.size())), TV_S_OK);
    uint8_t buffer[16] = {};
    EXPECT_EQ(parser->GetPropertyData(NodeAt(stored.get(), "Track:Name").get(), buffer, sizeof buffer), TV_E_FAIL)
        << "not a reference";
    EXPECT_EQ(parser->GetPropertyData(tiny.get(), buffer, sizeof buffer), TV_E_FAIL);   // fewer than 2 bytes
    auto elsewhere = NewTree();
    ComPtr<IMPAMetaProperty> missing;
    elsewhere->AddProperty("Album:Back Cover", kTypeReference, 0, nullptr, 0, true, missing.put());
    EXPECT_EQ(parser->GetPropertyData(missing.get(), buffer, sizeof buffer), TV_E_FAIL);
}

}  // namespace
}  // namespace tagvera
