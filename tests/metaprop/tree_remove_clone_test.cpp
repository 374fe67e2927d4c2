// Removing children and cloning subtrees.
#include "tree_test_support.h"

namespace tagvera::testing {
namespace {

TEST(TreeRemove, RemoveChildTakesTheEntryItsChainAndTheParentLinks) {
    Node root = NewTree();
    Node name = AddText(root.get(), "Name", "x");
    AddText(root.get(), "Other", "y");
    ASSERT_EQ(root->RemoveChild(name.get()), TV_S_OK);
    EXPECT_FALSE(Find(root.get(), "Name"));
    EXPECT_EQ(ParentCount(name.get()), 0u);
    EXPECT_EQ(root->RemoveChild(name.get()), TV_E_PROP_NOTFOUND);
    EXPECT_EQ(root->RemoveChild(nullptr), TV_E_POINTER);
    EXPECT_EQ(ChildNames(root.get()), (std::vector<std::string>{"Other"}));

    // A node of the same name and type stands for the child, whatever its value.
    EXPECT_EQ(root->RemoveChild(Loose("Other", kTypeUrl, "y").get()), TV_E_PROP_NOTFOUND);
    EXPECT_EQ(root->RemoveChild(Loose("Other", kTypeText, "different").get()), TV_S_OK);
    EXPECT_FALSE(Find(root.get(), "Other"));

    // The whole same-name chain goes with its entry.
    Node first = AddText(root.get(), "B", "1");
    Node second = Loose("B", kTypeText, "2");
    Chain(first.get(), second.get());
    ASSERT_EQ(root->RemoveChild(second.get()), TV_S_OK);
    EXPECT_FALSE(Find(root.get(), "B"));
    EXPECT_EQ(ParentCount(first.get()), 0u);
}

TEST(TreeRemove, RemoveByPath) {
    Node root = NewTree();
    root->SetName("Root");
    AddText(root.get(), "Track:Name", "t");
    AddText(root.get(), "Track:Genre", "g");
    AddText(root.get(), "Mood", "m");

    ASSERT_EQ(root->RemoveByPath("Track:Name"), TV_S_OK);
    EXPECT_FALSE(Find(root.get(), "Track:Name"));
    // The root's own name may lead the path.
    ASSERT_EQ(root->RemoveByPath("Root:Track:Genre"), TV_S_OK);
    EXPECT_FALSE(Find(root.get(), "Track:Genre"));
    ASSERT_EQ(root->RemoveByPath("Mood"), TV_S_OK);
    EXPECT_EQ(ChildNames(root.get()), (std::vector<std::string>{"Track"}));

    EXPECT_EQ(root->RemoveByPath("Nowhere:Name"), TV_E_FAIL);
    EXPECT_EQ(root->RemoveByPath("Track:Nowhere:Name"), TV_E_FAIL);
    EXPECT_EQ(root->RemoveByPath("Track:Absent"), TV_E_PROP_NOTFOUND);
    EXPECT_EQ(root->RemoveByPath(nullptr), TV_E_POINTER);
}

Node RichTree() {
    Node root = NewTree();
    root->SetName("Root");
    root->SetParentPath("");
    AddText(root.get(), "Track:Name", "title", true, kFlagReadOnly);
    Node number;
    root->AddNumber("Statistics:Length", 1234, kFlagReadOnly, true, number.put());
    number->SetChanged(kChanged);
    Node flat = AddGroup(root.get(), "Extra", kFlagFlatten);
    AddText(flat.get(), "Mood", "calm");
    const uint8_t bytes[] = {0, 1, 2, 0, 255};
    root->AddProperty("Album:Cover Art", kTypeDataReference, 0, bytes, sizeof bytes, true, nullptr);
    return root;
}

void ExpectSameTree(IMPAMetaProperty* a, IMPAMetaProperty* b) {
    ASSERT_EQ(a->IsEqual(b), 1) << NameOf(a);
    EXPECT_EQ(FlagsOf(a), FlagsOf(b)) << NameOf(a);
    EXPECT_EQ(ChangedOf(a), ChangedOf(b)) << NameOf(a);
    EXPECT_EQ(PathOf(a), PathOf(b)) << NameOf(a);
    ASSERT_EQ(ChildNames(a), ChildNames(b)) << NameOf(a);
    for (const std::string& name : ChildNames(a)) {
        Node x = Find(a, name.c_str());
        Node y = Find(b, name.c_str());
        ASSERT_TRUE(x && y);
        EXPECT_NE(x.get(), y.get());
        ExpectSameTree(x.get(), y.get());
    }
}

TEST(TreeClone, CopiesEveryFieldAndPathIntoNewNodes) {
    Node root = RichTree();
    Node copy;
    ASSERT_EQ(root->Clone(copy.put()), TV_S_OK);
    ASSERT_TRUE(copy);
    EXPECT_NE(copy.get(), root.get());
    ExpectSameTree(root.get(), copy.get());
    EXPECT_EQ(PathOf(Find(copy.get(), "Extra:Mood").get()), "Root:Mood");

    // The copy is independent of the original.
    AddText(copy.get(), "Track:Name", "changed");
    EXPECT_EQ(TextOf(Find(root.get(), "Track:Name").get()), "title");
    EXPECT_EQ(ParentCount(Find(root.get(), "Track").get()), 1u);
    EXPECT_EQ(root->Clone(nullptr), TV_E_POINTER);

    // A copied subtree keeps its path and has no parent.
    ASSERT_EQ(Find(root.get(), "Track")->Clone(copy.put()), TV_S_OK);
    EXPECT_EQ(PathOf(copy.get()), "Root:Track");
    EXPECT_EQ(PathOf(Find(copy.get(), "Name").get()), "Root:Track:Name");
    EXPECT_EQ(ParentCount(copy.get()), 0u);
}

TEST(TreeClone, SameNameChainsCollapseAsReplacingAddsWould) {
    Node root = NewTree();
    Node first = AddText(root.get(), "B", "1");
    AddText(first.get(), "Child", "c");
    Node second = Loose("B", kTypeText, "2");
    Chain(first.get(), second.get());
    Node copy;
    ASSERT_EQ(root->Clone(copy.put()), TV_S_OK);
    EXPECT_EQ(Children(copy.get()), (std::vector<std::string>{"B=2"}));
    // The later node took over the earlier one's children.
    EXPECT_TRUE(Find(copy.get(), "B:Child"));
}

}  // namespace
}  // namespace tagvera::testing
