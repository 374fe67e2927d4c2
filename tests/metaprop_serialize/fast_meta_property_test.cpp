// CFastMetaProperty: answers from a block in place, agrees with the tree ReadBinary builds, and
// builds that tree only when something needs it.
#include <gtest/gtest.h>

#include <cstring>

#include "golden_block.h"
#include "metaprop/fast_meta_property.h"
#include "serialize_support.h"

namespace tagvera::testing {
namespace {

using View = ComPtr<IMPAMetaPropertyBuffer>;

// A view owning a copy of block.
View MakeView(const Bytes& block, bool big = false, HRESULT expect = TV_S_OK) {
    View view;
    EXPECT_EQ(CreateFastMetaProperty(view.put()), TV_S_OK);
    auto* copy = new uint8_t[block.size()];
    std::memcpy(copy, block.data(), block.size());
    EXPECT_EQ(view->SetBuffer(copy, uint32_t(block.size()), big), expect);
    return view;
}

bool Built(IMPAMetaProperty* node) { return static_cast<CFastMetaProperty*>(static_cast<IMPAMetaPropertyBuffer*>(node))->built(); }

class FastView : public ::testing::TestWithParam<bool> {
protected:
    bool big() const { return GetParam(); }
    Node tree_ = EveryTypeTree();
    Bytes block_ = WriteBlock(tree_.get(), {.keepReferences = true, .bigEndian = GetParam()});
    View view_ = MakeView(block_, GetParam());
};

TEST_P(FastView, AnswersReadsInPlaceWithoutBuildingATree) {
    Node track, name, mime;
    ASSERT_EQ(view_->FindFirstChild("Track", track.put()), TV_S_OK);
    EXPECT_EQ(PathOf(track.get()), "Track");
    ASSERT_EQ(track->FindFirstChild("Name", name.put()), TV_S_OK);
    EXPECT_EQ(TextOf(name.get()), "Autumn Leaves");
    EXPECT_EQ(PathOf(name.get()), "Track:Name");
    uint32_t changed = 7;
    ASSERT_EQ(view_->FindFirstChild("Statistics:MimeType", mime.put()), TV_S_OK);
    mime->GetChanged(&changed);
    EXPECT_EQ(TypeOf(mime.get()), kTypeText);
    EXPECT_EQ(FlagsOf(mime.get()), kFlagReadOnly | kFlagPrivate);
    EXPECT_EQ(changed, 0u);

    // The value is the block's own bytes.
    const uint8_t *data = nullptr, *blockStart = nullptr;
    uint32_t size = 0, unused = 0;
    ASSERT_EQ(name->GetValue(&data, &size), TV_S_OK);
    view_->GetValue(&blockStart, &unused);
    EXPECT_EQ(size, 14u);
    EXPECT_LT(blockStart, data);

    // Child names come in table order, as the tree gives them.
    EXPECT_EQ(ChildNames(view_.get()), ChildNames(tree_.get()));
    EXPECT_FALSE(Built(view_.get()));
    EXPECT_FALSE(Built(track.get()));
    EXPECT_FALSE(Built(name.get()));
}

TEST_P(FastView, ChildNamesCompareWithoutCase) {
    Node found;
    EXPECT_EQ(view_->FindFirstChild("TRACK:name", found.put()), TV_S_OK);
    EXPECT_EQ(TextOf(found.get()), "Autumn Leaves");
    uint32_t count = 0;
    EXPECT_EQ(view_->GetChildCount("statistics", &count), TV_S_OK);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(view_->GetChildCount("Nope", &count), TV_E_PROP_NOTFOUND);
    EXPECT_EQ(view_->FindFirstChild("Track:Nope", found.put()), TV_E_PROP_NOTFOUND);
    EXPECT_EQ(found.get(), nullptr);
}

TEST_P(FastView, FindByPathFallsBackLikeTheTree) {
    Node full = NewTree();
    ASSERT_EQ(ReadBlock(full.get(), block_, true, big()), TV_S_OK);
    for (const char* path : {"Name", "Year", "Inner", "L3", "Deep:L3", "Home", "Binary:Twelve", "Track:Genre"}) {
        Node fast, slow;
        ASSERT_EQ(view_->FindByPath(path, fast.put()), TV_S_OK) << path;
        ASSERT_EQ(full->FindByPath(path, slow.put()), TV_S_OK) << path;
        EXPECT_EQ(PathOf(fast.get()), PathOf(slow.get())) << path;
        EXPECT_EQ(TextOf(fast.get()), TextOf(slow.get())) << path;
    }
    Node none;
    EXPECT_EQ(view_->FindByPath("Nowhere", none.put()), TV_E_PROP_NOTFOUND);
    EXPECT_EQ(view_->FindByPath("Nowhere:Name", none.put()), TV_E_PROP_NOTFOUND);
    EXPECT_FALSE(Built(view_.get()));
}

TEST_P(FastView, ChangesAndEnumerationBuildTheFullNode) {
    uint32_t total = 0, expected = 0;
    EXPECT_EQ(view_->GetTotalChildCount(&total), TV_S_OK);
    EXPECT_TRUE(Built(view_.get()));
    tree_->GetTotalChildCount(&expected);
    EXPECT_EQ(total, expected);

    View view = MakeView(block_, big());
    Node next;
    EXPECT_EQ(view->FindNextChild("Track", next.put()), TV_E_NOTIMPL);
    ASSERT_EQ(view->SetName("renamed"), TV_S_OK);
    EXPECT_TRUE(Built(view.get()));
    Node track;
    ASSERT_EQ(view->FindFirstChild("Track", track.put()), TV_S_OK);
    EXPECT_EQ(view->FindNextChild("Track", next.put()), TV_E_PROP_ENDOFLIST);
    // Once built, names compare as the tree compares them.
    EXPECT_EQ(view->FindFirstChild("track", track.put()), TV_E_PROP_NOTFOUND);
}

TEST_P(FastView, ChildViewsOutliveTheirRootAndItsNextBlock) {
    Node name;
    ASSERT_EQ(view_->FindByPath("Album:Name", name.put()), TV_S_OK);
    auto* other = new uint8_t[block_.size()];
    std::memcpy(other, block_.data(), block_.size());
    ASSERT_EQ(view_->SetBuffer(other, uint32_t(block_.size()), big()), TV_S_OK);
    view_.reset();
    EXPECT_EQ(TextOf(name.get()), "P\xc3\xb6rtrait <in> \"Jazz\" & 'Blues'");
}

std::string ByteOrderName(const ::testing::TestParamInfo<bool>& p) { return p.param ? "BigEndian" : "LittleEndian"; }
INSTANTIATE_TEST_SUITE_P(ByteOrders, FastView, ::testing::Bool(), ByteOrderName);

TEST(FastViewErrors, WithoutABlockAndWithWhatIsNotABlock) {
    View view;
    ASSERT_EQ(CreateFastMetaProperty(view.put()), TV_S_OK);
    const char* name = nullptr;
    Node out;
    EXPECT_EQ(view->GetName(&name), TV_E_NOTLOADED);
    EXPECT_EQ(view->FindByPath("x", out.put()), TV_E_NOTLOADED);
    EXPECT_EQ(view->GetFirstChild(out.put()), TV_E_NOTIMPL);
    EXPECT_EQ(view->SetName("x"), TV_E_NOTIMPL);
    EXPECT_EQ(view->SetBuffer(nullptr, 100, false), TV_E_POINTER);
    // A view is a node, but not one that serializes.
    EXPECT_EQ(static_cast<void*>(QueryAs<IMPAMetaProperty>(view, IID_IMPAMetaProperty).get()), view.get());
    void* c = nullptr;
    EXPECT_EQ(view->QueryInterface(IID_IMPAMetaPropertySerialize, &c), TV_E_NOINTERFACE);

    const Bytes good = EncodeBlock({.children = {{.name = "A", .type = kTypeText, .value = TextValue("a")}}}, false);
    MakeView(Bytes(good.begin(), good.begin() + 11), false, TV_E_FAIL);
    Bytes magic = good;
    magic[0] = 'X';
    View refused = MakeView(magic, false, TV_E_FAIL);
    EXPECT_EQ(refused->GetName(&name), TV_E_NOTLOADED);
    // Root record longer than the bytes given; the wrong byte order.
    MakeView(Bytes(good.begin(), good.end() - 2), false, TV_E_FAIL);
    MakeView(good, true, TV_E_FAIL);
    MakeView(good, false, TV_S_OK);
}

TEST(FastViewErrors, MalformedChildIsFoundOnlyWhenVisited) {
    GoldenRecord g;
    g.children.push_back({.name = "A", .type = kTypeText, .value = TextValue("fine")});
    g.children.push_back({.name = "B", .type = kTypeText, .value = TextValue("broken")});
    Bytes bad = EncodeBlock(g, false);
    bad[8 + 34 + 8] = 0xF0;  // B's offset now points past the root record
    View view = MakeView(bad);
    Node a, b;
    EXPECT_EQ(view->FindFirstChild("A", a.put()), TV_S_OK);
    EXPECT_EQ(TextOf(a.get()), "fine");
    EXPECT_EQ(view->FindFirstChild("B", b.put()), TV_E_FAIL);
    // A tree cannot be built from it either.
    EXPECT_EQ(view->SetName("x"), TV_E_NOTIMPL);
}

TEST(FastViewErrors, SearchThroughAHostilyDeepBlockStops) {
    GoldenRecord deep;
    GoldenRecord* at = &deep;
    for (int i = 0; i < 300; ++i) {
        at->children.push_back({.name = "g", .type = kTypeGroup});
        at = &at->children.back();
    }
    Node out;
    EXPECT_EQ(MakeView(EncodeBlock(deep, false))->FindByPath("missing", out.put()), TV_E_FAIL);
}

}  // namespace
}  // namespace tagvera::testing
