// Values and the change marker, adding with and without replace, the AddChild options, MergeFrom.
#include "tree_test_support.h"

namespace tagvera::testing {
namespace {

TEST(TreeValues, SecondSetValueMarksTheNodeChanged) {
    Node node = NewTree();
    const uint8_t one[] = {1};
    EXPECT_EQ(ChangedOf(node.get()), kUnchanged);
    ASSERT_EQ(node->SetValue(one, 1), TV_S_OK);
    EXPECT_EQ(ChangedOf(node.get()), kUnchanged);
    ASSERT_EQ(node->SetValue(one, 1), TV_S_OK);
    EXPECT_EQ(ChangedOf(node.get()), kChanged);
    node->SetChanged(kDeleted);
    EXPECT_EQ(ChangedOf(node.get()), kDeleted);
}

TEST(TreeValues, EmptyValuesAndNullPointers) {
    Node node = NewTree();
    const uint8_t* data = reinterpret_cast<const uint8_t*>(1);
    uint32_t size = 9;
    EXPECT_EQ(node->GetValue(&data, &size), TV_E_PROP_EMPTY);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 0u);
    // A value of no bytes still counts as a value for the change marker, but reads as empty.
    const uint8_t byte = 0;
    ASSERT_EQ(node->SetValue(&byte, 0), TV_S_OK);
    EXPECT_EQ(node->GetValue(&data, &size), TV_E_PROP_EMPTY);
    ASSERT_EQ(node->SetValue(nullptr, 0), TV_S_OK);
    EXPECT_EQ(ChangedOf(node.get()), kChanged);
    EXPECT_EQ(node->SetValue(nullptr, 3), TV_E_POINTER);
    EXPECT_EQ(node->SetName(nullptr), TV_E_POINTER);
    EXPECT_EQ(node->GetValue(nullptr, &size), TV_E_POINTER);
    EXPECT_EQ(node->GetName(nullptr), TV_E_POINTER);
}

std::vector<uint8_t> ValueOf(IMPAMetaProperty* node) {
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    return Succeeded(node->GetValue(&data, &size)) ? std::vector<uint8_t>(data, data + size) : std::vector<uint8_t>{};
}

TEST(TreeValues, ShortcutsStoreTheDocumentedLayouts) {
    Node root = NewTree();
    Node text, flag, number, url, group;
    ASSERT_EQ(root->AddText("T", "abc", 0x01, true, text.put()), TV_S_OK);
    ASSERT_EQ(root->AddFlag("F", 0x101, 0, true, flag.put()), TV_S_OK);
    ASSERT_EQ(root->AddNumber("N", 0x01020304, 0, true, number.put()), TV_S_OK);
    ASSERT_EQ(root->AddUrl("U", "http://x", 0, true, url.put()), TV_S_OK);
    ASSERT_EQ(root->AddGroup("G", kFlagStagnant, true, group.put()), TV_S_OK);
    EXPECT_EQ(ValueOf(text.get()), (std::vector<uint8_t>{'a', 'b', 'c', 0}));
    EXPECT_EQ(FlagsOf(text.get()), 0x01u);
    EXPECT_EQ(ValueOf(flag.get()), std::vector<uint8_t>{1});
    EXPECT_EQ(ValueOf(number.get()), (std::vector<uint8_t>{4, 3, 2, 1}));
    EXPECT_EQ(TypeOf(url.get()), kTypeUrl);
    EXPECT_EQ(TextOf(url.get()), "http://x");
    EXPECT_EQ(TypeOf(group.get()), kTypeGroup);
    EXPECT_EQ(FlagsOf(group.get()), uint32_t{kFlagStagnant});
    EXPECT_EQ(TextOf(group.get()), "<none>");

    EXPECT_EQ(root->AddText(nullptr, "x", 0, true, nullptr), TV_E_POINTER);
    EXPECT_EQ(root->AddText("x", nullptr, 0, true, nullptr), TV_E_POINTER);
    EXPECT_EQ(root->AddChild(nullptr, true, nullptr, 0), TV_E_POINTER);
}

TEST(TreeAdd, WithoutReplaceAnExistingNodeIsKept) {
    Node root = NewTree();
    Node old = AddText(root.get(), "Name", "old");
    Node placed;
    EXPECT_EQ(root->AddText("Name", "new", 0, false, placed.put()), TV_S_PROP_EXISTS);
    EXPECT_EQ(TextOf(Find(root.get(), "Name").get()), "old");
    // The caller is handed the node that stands under the name.
    EXPECT_EQ(placed.get(), old.get());

    // Adding a node where it already stands changes nothing.
    Node group = AddGroup(root.get(), "G");
    EXPECT_EQ(root->AddChild(old.get(), true, nullptr, 0), TV_S_OK);
    EXPECT_EQ(root->AddChild(old.get(), false, nullptr, 0), TV_S_PROP_EXISTS);
    EXPECT_EQ(root->AddChild(group.get(), false, nullptr, 0), TV_S_OK);
    EXPECT_EQ(ParentCount(old.get()), 1u);
    EXPECT_EQ(TextOf(Find(root.get(), "Name").get()), "old");
}

TEST(TreeAdd, WithReplaceTheNewNodeTakesOverChildrenAndPlace) {
    Node root = NewTree();
    Node old = AddText(root.get(), "Cover", "old.jpg");
    AddText(old.get(), "Extension", ".jpg");
    Node fresh = Loose("Cover", kTypeText, "new.png");
    ASSERT_EQ(root->AddChild(fresh.get(), true, nullptr, 0), TV_S_OK);

    Node now = Find(root.get(), "Cover");
    EXPECT_EQ(now.get(), fresh.get());
    EXPECT_EQ(TextOf(Find(now.get(), "Extension").get()), ".jpg");
    EXPECT_EQ(PathOf(Find(now.get(), "Extension").get()), "Cover:Extension");
    EXPECT_EQ(ParentCount(old.get()), 0u);
    EXPECT_EQ(ParentCount(fresh.get()), 1u);
    uint32_t count = 0;
    root->GetChildCount("Cover", &count);
    EXPECT_EQ(count, 1u);
}

TEST(TreeAdd, ReplaceKeepsChildrenOnlyForTheSameTypeOrTwoReferences) {
    Node root = NewTree();
    Node old = Loose("Pic", kTypeFileReference, "a.jpg");
    AddText(old.get(), "Kept", "1");
    ASSERT_EQ(root->AddChild(old.get(), true, nullptr, 0), TV_S_OK);

    Node reference = Loose("Pic", kTypeDataReference);
    ASSERT_EQ(root->AddChild(reference.get(), true, nullptr, 0), TV_S_OK);
    EXPECT_TRUE(Find(reference.get(), "Kept"));

    Node text = Loose("Pic", kTypeText, "plain");
    ASSERT_EQ(root->AddChild(text.get(), true, nullptr, 0), TV_S_OK);
    EXPECT_FALSE(Find(text.get(), "Kept"));
    EXPECT_EQ(Find(root.get(), "Pic").get(), text.get());
}

TEST(TreeAdd, GroupOntoGroupMergesTheChildren) {
    Node root = NewTree();
    Node album = AddGroup(root.get(), "Album");
    AddText(album.get(), "Name", "first");
    Node other = Loose("Album", kTypeGroup);
    AddText(other.get(), "Name", "second");
    AddText(other.get(), "Year", "1999");

    ASSERT_EQ(root->AddChild(other.get(), false, nullptr, 0), TV_S_OK);
    EXPECT_EQ(Find(root.get(), "Album").get(), album.get());
    EXPECT_EQ(TextOf(Find(root.get(), "Album:Name").get()), "first");
    EXPECT_EQ(TextOf(Find(root.get(), "Album:Year").get()), "1999");
    EXPECT_EQ(PathOf(Find(root.get(), "Album:Year").get()), "Album:Year");

    ASSERT_EQ(root->AddChild(other.get(), true, nullptr, 0), TV_S_OK);
    EXPECT_EQ(TextOf(Find(root.get(), "Album:Name").get()), "second");
    // AddGroup onto an existing group hands back the group in the tree.
    Node again;
    ASSERT_EQ(root->AddGroup("Album", 0, false, again.put()), TV_S_OK);
    EXPECT_EQ(again.get(), album.get());
}

TEST(TreeAdd, NameArgumentRenamesTheChildAndMakesMissingGroups) {
    Node root = NewTree();
    Node node = Loose("Old", kTypeText, "v");
    ASSERT_EQ(root->AddChild(node.get(), true, "Track:Sub:New", 0), TV_S_OK);
    EXPECT_EQ(NameOf(node.get()), "New");
    EXPECT_EQ(PathOf(node.get()), "Track:Sub:New");
    EXPECT_EQ(TypeOf(Find(root.get(), "Track:Sub").get()), kTypeGroup);
}

TEST(TreeAdd, StagnantNodesAreSkippedWhenAsked) {
    Node root = NewTree();
    Node stale = Loose("Mood", kTypeText, "x", kFlagStagnant);
    EXPECT_EQ(root->AddChild(stale.get(), true, nullptr, kAddSkipStagnant), TV_S_PROP_STAGNANT);
    EXPECT_FALSE(Find(root.get(), "Mood"));
    EXPECT_EQ(root->AddChild(stale.get(), true, nullptr, kAddSkipStagnant | kAddDisplayNameExempt),
              TV_S_PROP_STAGNANT);

    Node display = Loose("displayname", kTypeText, "x", kFlagStagnant);
    EXPECT_EQ(root->AddChild(display.get(), true, nullptr, kAddSkipStagnant), TV_S_PROP_STAGNANT);
    EXPECT_EQ(root->AddChild(display.get(), true, nullptr, kAddSkipStagnant | kAddDisplayNameExempt), TV_S_OK);
    // Without the option stagnant nodes go in like any other; bits above the low 8 are ignored.
    EXPECT_EQ(root->AddChild(stale.get(), true, nullptr, 0x100), TV_S_OK);
}

TEST(TreeAdd, MarkChangedFlagsNewAndDifferingNodes) {
    Node root = NewTree();
    Node first = Loose("A", kTypeText, "1");
    ASSERT_EQ(root->AddChild(first.get(), false, nullptr, kAddMarkChanged), TV_S_OK);
    EXPECT_EQ(FlagsOf(first.get()), uint32_t{kFlagModified});

    first->SetFlags(0);
    Node same = Loose("A", kTypeText, "1");
    EXPECT_EQ(root->AddChild(same.get(), false, nullptr, kAddMarkChanged), TV_S_PROP_EXISTS);
    EXPECT_EQ(FlagsOf(first.get()), 0u);
    Node differs = Loose("A", kTypeText, "2");
    EXPECT_EQ(root->AddChild(differs.get(), false, nullptr, kAddMarkChanged), TV_S_PROP_EXISTS);
    EXPECT_EQ(FlagsOf(first.get()), uint32_t{kFlagModified});
}

TEST(TreeAdd, CyclesAreRefused) {
    Node root = NewTree();
    Node group = AddGroup(root.get(), "G");
    Node inner = AddGroup(group.get(), "H");
    EXPECT_EQ(root->AddChild(root.get(), true, "Self", 0), TV_E_INVALIDARG);
    EXPECT_EQ(inner->AddChild(root.get(), true, "Up", 0), TV_E_INVALIDARG);
    EXPECT_EQ(inner->AddChild(group.get(), true, nullptr, 0), TV_E_INVALIDARG);
    EXPECT_FALSE(Find(inner.get(), "Up"));
    EXPECT_EQ(NameOf(root.get()), "");

    // A next-sibling link owns its target too: no loops through chains, and no chain link to an
    // owner (found by the tree-operations fuzzer: the root behind its grandchild leaked both).
    auto link = QueryAs<IMPAMetaPropertyLinkedList>(root, IID_IMPAMetaPropertyLinkedList);
    EXPECT_EQ(link->SetNext(link.get()), TV_E_INVALIDARG);
    auto innerLink = QueryAs<IMPAMetaPropertyLinkedList>(inner, IID_IMPAMetaPropertyLinkedList);
    EXPECT_EQ(innerLink->SetNext(link.get()), TV_E_INVALIDARG);
    Node other = Loose("H", kTypeGroup);
    auto otherLink = QueryAs<IMPAMetaPropertyLinkedList>(other, IID_IMPAMetaPropertyLinkedList);
    ASSERT_EQ(innerLink->SetNext(otherLink.get()), TV_S_OK);
    EXPECT_EQ(other->AddChild(root.get(), true, "Loop", 0), TV_E_INVALIDARG);
    ASSERT_EQ(innerLink->SetNext(nullptr), TV_S_OK);
    EXPECT_EQ(other->AddChild(root.get(), true, "Fine", 0), TV_S_OK);
    ASSERT_EQ(other->RemoveByPath("Fine"), TV_S_OK);
}

TEST(TreeAdd, ANodeUnderTwoNamesKeepsItsParentUntilBothGo) {
    Node root = NewTree();
    Node group = Loose("G", kTypeGroup);
    AddText(group.get(), "Leaf", "x");
    ASSERT_EQ(root->AddChild(group.get(), true, "First", 0), TV_S_OK);
    ASSERT_EQ(root->AddChild(group.get(), true, "Second", 0), TV_S_OK);
    ASSERT_EQ(root->RemoveByPath("Second"), TV_S_OK);
    EXPECT_EQ(ParentCount(group.get()), 1u);
    // Still below the root, so the root cannot go below it.
    EXPECT_EQ(group->AddChild(root.get(), true, "Loop", 0), TV_E_INVALIDARG);
    ASSERT_EQ(root->RemoveByPath("First"), TV_E_PROP_NOTFOUND);  // the node is named "Second" now
    group->SetName("First");
    ASSERT_EQ(root->RemoveByPath("First"), TV_S_OK);
    EXPECT_EQ(ParentCount(group.get()), 0u);
}

// --- MergeFrom -----------------------------------------------------------------------------------

Node SampleSource() {
    Node source = NewTree();
    AddText(source.get(), "Track:Name", "src title");
    AddText(source.get(), "Track:Genre", "Jazz");
    AddText(source.get(), "Lyrics", "la la");
    AddText(source.get(), "DisplayName", "Shown");
    return source;
}

TEST(TreeMerge, FillsGapsWithoutReplacingAndReplacesWhenAsked) {
    Node target = NewTree();
    AddText(target.get(), "Track:Name", "mine");
    Node source = SampleSource();

    ASSERT_EQ(target->MergeFrom(source.get(), false, 0), TV_S_OK);
    EXPECT_EQ(TextOf(Find(target.get(), "Track:Name").get()), "mine");
    EXPECT_EQ(TextOf(Find(target.get(), "Track:Genre").get()), "Jazz");
    EXPECT_EQ(TextOf(Find(target.get(), "Lyrics").get()), "la la");
    EXPECT_EQ(PathOf(Find(target.get(), "Track:Genre").get()), "Track:Genre");

    ASSERT_EQ(target->MergeFrom(source.get(), true, 0), TV_S_OK);
    EXPECT_EQ(TextOf(Find(target.get(), "Track:Name").get()), "src title");
    EXPECT_EQ(target->MergeFrom(nullptr, true, 0), TV_E_POINTER);
    Node empty = NewTree();
    EXPECT_EQ(target->MergeFrom(empty.get(), true, 0), TV_S_OK);
}

TEST(TreeMerge, ExistingNamesOnlyWithTheDisplayNameExemption) {
    Node target = NewTree();
    AddText(target.get(), "Track:Name", "mine");
    Node source = SampleSource();
    ASSERT_EQ(target->MergeFrom(source.get(), true, kAddExistingNamesOnly), TV_S_OK);
    EXPECT_EQ(ChildNames(target.get()), (std::vector<std::string>{"Track"}));
    // The rule holds inside merged groups too.
    EXPECT_EQ(ChildNames(Find(target.get(), "Track").get()), (std::vector<std::string>{"Name"}));
    EXPECT_EQ(TextOf(Find(target.get(), "Track:Name").get()), "src title");

    ASSERT_EQ(target->MergeFrom(source.get(), false, kAddExistingNamesOnly | kAddDisplayNameExempt), TV_S_OK);
    EXPECT_EQ(ChildNames(target.get()), (std::vector<std::string>{"DisplayName", "Track"}));
}

TEST(TreeMerge, DeepGroupsGiveTheTargetGroupsOfItsOwn) {
    Node source = SampleSource();
    Node shared = NewTree();
    ASSERT_EQ(shared->MergeFrom(source.get(), false, 0), TV_S_OK);
    EXPECT_EQ(Find(shared.get(), "Track").get(), Find(source.get(), "Track").get());

    Node deep = NewTree();
    ASSERT_EQ(deep->MergeFrom(source.get(), false, kAddDeepGroups), TV_S_OK);
    Node track = Find(deep.get(), "Track");
    ASSERT_TRUE(track);
    EXPECT_NE(track.get(), Find(source.get(), "Track").get());
    EXPECT_EQ(TextOf(Find(track.get(), "Genre").get()), "Jazz");
    EXPECT_EQ(ChildNames(Find(source.get(), "Track").get()), (std::vector<std::string>{"Genre", "Name"}));

    // Merging a tree into itself changes nothing, deep or not.
    ASSERT_EQ(source->MergeFrom(source.get(), true, 0), TV_S_OK);
    ASSERT_EQ(source->MergeFrom(source.get(), false, kAddDeepGroups), TV_S_OK);
    EXPECT_EQ(ChildNames(source.get()), (std::vector<std::string>{"DisplayName", "Lyrics", "Track"}));
    EXPECT_EQ(ChildNames(Find(source.get(), "Track").get()), (std::vector<std::string>{"Genre", "Name"}));
}

TEST(TreeMerge, MarkChangedReachesIntoMergedGroups) {
    Node target = NewTree();
    AddText(target.get(), "Track:Name", "old");
    Node source = NewTree();
    AddText(source.get(), "Track:Name", "new");
    AddText(source.get(), "Track:Genre", "Pop");
    ASSERT_EQ(target->MergeFrom(source.get(), true, kAddMarkChanged), TV_S_OK);
    EXPECT_EQ(TextOf(Find(target.get(), "Track:Name").get()), "new");
    EXPECT_TRUE(FlagsOf(Find(target.get(), "Track:Genre").get()) & kFlagModified);
}

TEST(TreeMerge, SharedNodesKnowBothParents) {
    Node a = NewTree();
    Node b = NewTree();
    Node name = AddText(a.get(), "Name", "x");
    ASSERT_EQ(b->MergeFrom(a.get(), false, 0), TV_S_OK);
    EXPECT_EQ(Find(b.get(), "Name").get(), name.get());
    EXPECT_EQ(ParentCount(name.get()), 2u);
    auto manager = QueryAs<IMPAMetaPropertyParentMgr>(name, IID_IMPAMetaPropertyParentMgr);
    ASSERT_EQ(manager->DetachFromParents(), TV_S_OK);
    EXPECT_EQ(ParentCount(name.get()), 0u);
    EXPECT_FALSE(Find(a.get(), "Name"));
    EXPECT_FALSE(Find(b.get(), "Name"));
}

TEST(TreeCompare, SameNameAndTypeAndEqual) {
    Node a = Loose("X", kTypeText, "v");
    EXPECT_EQ(a->IsSameNameAndType(Loose("X", kTypeText, "w").get()), 1);
    EXPECT_EQ(a->IsEqual(Loose("X", kTypeText, "w").get()), 0);
    EXPECT_EQ(a->IsEqual(Loose("X", kTypeText, "v").get()), 1);
    EXPECT_EQ(a->IsSameNameAndType(Loose("x", kTypeText, "v").get()), 0);
    EXPECT_EQ(a->IsSameNameAndType(Loose("X", kTypeUrl, "v").get()), 0);
    EXPECT_EQ(a->IsSameNameAndType(nullptr), 0);
    EXPECT_EQ(a->IsEqual(nullptr), 0);
    EXPECT_EQ(Loose("G", kTypeGroup)->IsEqual(Loose("G", kTypeGroup).get()), 1);
}

}  // namespace
}  // namespace tagvera::testing
