// Paths, lookup by name and path, the FindByPath fallback, and the enumerations.
#include "tree_test_support.h"

namespace tagvera::testing {
namespace {

TEST(TreePaths, AddingByPathMakesGroupsAndPathsFollowTheParents) {
    Node root = NewTree();
    ASSERT_EQ(root->AddText("Album:Name", "Blue", 0, false, nullptr), TV_S_OK);
    EXPECT_EQ(TypeOf(Find(root.get(), "Album").get()), kTypeGroup);
    EXPECT_EQ(TextOf(Find(root.get(), "Album:Name").get()), "Blue");
    EXPECT_EQ(PathOf(Find(root.get(), "Album:Name").get()), "Album:Name");
    // The root has neither name nor path.
    const char* text = nullptr;
    EXPECT_EQ(root->GetName(&text), TV_E_PROP_EMPTY);
    EXPECT_EQ(root->GetPath(&text), TV_E_PROP_EMPTY);

    // SetParentPath rewrites the subtree's paths; a flatten group adds nothing to them.
    root->SetName("Library");
    Node flat = AddGroup(Find(root.get(), "Album").get(), "Extra", kFlagFlatten);
    Node leaf = AddText(flat.get(), "Mood", "calm");
    EXPECT_EQ(PathOf(flat.get()), "Album");
    EXPECT_EQ(PathOf(leaf.get()), "Album:Mood");
    ASSERT_EQ(root->SetParentPath(""), TV_S_OK);
    EXPECT_EQ(PathOf(root.get()), "Library");
    EXPECT_EQ(PathOf(leaf.get()), "Library:Album:Mood");
    ASSERT_EQ(root->SetParentPath("Top"), TV_S_OK);
    EXPECT_EQ(PathOf(leaf.get()), "Top:Library:Album:Mood");
    EXPECT_EQ(root->SetParentPath(nullptr), TV_E_POINTER);
}

TEST(TreeFind, MissingNamesAndEmptyNodesGiveTheirCodes) {
    Node root = NewTree();
    IMPAMetaProperty* out = reinterpret_cast<IMPAMetaProperty*>(1);
    EXPECT_EQ(root->FindFirstChild("Nope", &out), TV_E_PROP_NOTFOUND);
    EXPECT_EQ(out, nullptr);
    out = reinterpret_cast<IMPAMetaProperty*>(1);
    EXPECT_EQ(root->FindByPath("Nope", &out), TV_E_PROP_NOTFOUND);
    EXPECT_EQ(out, nullptr);
    const char* name = nullptr;
    EXPECT_EQ(root->GetFirstChildName(&name), TV_E_PROP_ENDOFLIST);
    EXPECT_EQ(root->GetFirstChild(&out), TV_E_PROP_ENDOFLIST);
    uint32_t count = 7;
    EXPECT_EQ(root->GetChildCount("Nope", &count), TV_E_PROP_NOTFOUND);
    EXPECT_EQ(root->GetTotalChildCount(&count), TV_S_OK);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(root->FindFirstChild(nullptr, &out), TV_E_POINTER);
}

TEST(TreeFind, AChildNamedWithASeparatorIsFoundByItsName) {
    Node root = NewTree();
    Node odd = Loose("a:b", kTypeText, "odd");
    ASSERT_EQ(root->AddChild(odd.get(), true, nullptr, 0), TV_S_OK);
    AddText(root.get(), "a:c", "nested");
    EXPECT_EQ(ChildNames(root.get()), (std::vector<std::string>{"a", "a:b"}));
    // Every name the enumeration gives can be asked for.
    EXPECT_EQ(Find(root.get(), "a:b").get(), odd.get());
    EXPECT_EQ(CountOf(root.get(), "a:b"), 1u);
    EXPECT_EQ(TextOf(Find(root.get(), "a:c").get()), "nested");
}

TEST(TreeFind, PlainNamesFallBackToPriorityGroupsThenDepthFirst) {
    Node root = NewTree();
    AddText(root.get(), "Artist:Name", "artist");
    AddText(root.get(), "Album:Name", "album");
    AddText(root.get(), "Aardvark:Name", "aardvark");
    EXPECT_EQ(TextOf(FindByPath(root.get(), "Name").get()), "album");
    AddText(root.get(), "Track:Name", "title");
    EXPECT_EQ(TextOf(FindByPath(root.get(), "Name").get()), "title");
    AddText(root.get(), "Name", "direct");  // a direct child always wins
    EXPECT_EQ(TextOf(FindByPath(root.get(), "Name").get()), "direct");

    // Other children in enumeration order, each subtree before the next; inside a group the priority
    // groups apply again.
    AddText(root.get(), "Zed:Deep:Mood", "zed");
    AddText(root.get(), "Beta:Inner:Mood", "beta-inner");
    AddText(root.get(), "Gamma:Mood", "gamma");
    EXPECT_EQ(TextOf(FindByPath(root.get(), "Mood").get()), "beta-inner");
    AddText(root.get(), "Beta:Track:Mood", "beta-track");
    EXPECT_EQ(TextOf(FindByPath(root.get(), "Mood").get()), "beta-track");

    // Leading parts are followed first; the fallback applies below the node they reach.
    AddText(root.get(), "Disc:Track:Title", "inside");
    AddText(root.get(), "Track:Title", "outside");
    EXPECT_EQ(TextOf(FindByPath(root.get(), "Disc:Title").get()), "inside");
    EXPECT_FALSE(FindByPath(root.get(), "Missing:Name"));
}

TEST(TreeFind, FallbackStaysLinearOverNestedAndSharedGroups) {
    // Searching "Track" twice per level would cost 2^60 here.
    Node nested = NewTree();
    std::string path;
    for (int i = 0; i < 60; ++i) path += "Track:";
    AddText(nested.get(), (path + "Leaf").c_str(), "x");
    EXPECT_FALSE(FindByPath(nested.get(), "Absent"));
    EXPECT_EQ(TextOf(FindByPath(nested.get(), "Leaf").get()), "x");

    // Each level holds the next one under two names: walking every occurrence would cost 2^50.
    Node root = NewTree();
    Node level = root;
    for (int i = 0; i < 50; ++i) {
        Node next = Loose("b", kTypeGroup);
        ASSERT_EQ(level->AddChild(next.get(), true, "a", 0), TV_S_OK);
        ASSERT_EQ(level->AddChild(next.get(), true, "b", 0), TV_S_OK);
        level = next;
    }
    Node leaf = AddText(level.get(), "Leaf", "x");
    ASSERT_EQ(root->SetParentPath("R"), TV_S_OK);
    EXPECT_EQ(PathOf(leaf.get()).substr(0, 6), "R::b:b");  // the root has no name
    EXPECT_FALSE(FindByPath(root.get(), "Absent"));
    EXPECT_EQ(FindByPath(root.get(), "Leaf").get(), leaf.get());
}

TEST(TreeEnumeration, ChildrenComeByNameThenInChainOrderAndRestart) {
    Node root = NewTree();
    Node b = AddText(root.get(), "B", "b1");
    AddText(root.get(), "A", "a");
    Chain(b.get(), Loose("B", kTypeText, "b2").get());
    EXPECT_EQ(Children(root.get()), (std::vector<std::string>{"A=a", "B=b1", "B=b2"}));
    EXPECT_EQ(CountOf(root.get(), "B"), 2u);
    uint32_t count = 0;
    EXPECT_EQ(root->GetTotalChildCount(&count), TV_S_OK);
    EXPECT_EQ(count, 3u);

    Node found;
    ASSERT_EQ(root->FindFirstChild("B", found.put()), TV_S_OK);
    ASSERT_EQ(root->FindNextChild("B", found.put()), TV_S_OK);
    EXPECT_EQ(TextOf(found.get()), "b2");
    EXPECT_EQ(root->FindNextChild("B", found.put()), TV_E_PROP_ENDOFLIST);
    EXPECT_EQ(root->FindNextChild("B", found.put()), TV_E_PROP_ENDOFLIST);
    EXPECT_EQ(root->FindNextChild("C", found.put()), TV_E_PROP_NOTFOUND);
    ASSERT_EQ(root->FindFirstChild("B", found.put()), TV_S_OK);  // starts over
    EXPECT_EQ(TextOf(found.get()), "b1");

    const char* name = nullptr;
    ASSERT_EQ(root->GetFirstChildName(&name), TV_S_OK);
    ASSERT_EQ(root->GetNextChildName(&name), TV_S_OK);
    EXPECT_EQ(root->GetNextChildName(&name), TV_E_PROP_ENDOFLIST);
    EXPECT_EQ(name, nullptr);
    ASSERT_EQ(root->GetFirstChildName(&name), TV_S_OK);
    EXPECT_STREQ(name, "A");
}

TEST(TreeEnumeration, SurvivesRemovingTheCurrentChildAndAddingNewOnes) {
    Node root = NewTree();
    for (const char* n : {"A", "B", "C", "D"}) AddText(root.get(), n, n);
    Node child;
    const char* name = nullptr;
    ASSERT_EQ(root->GetFirstChild(child.put()), TV_S_OK);
    ASSERT_EQ(root->GetFirstChildName(&name), TV_S_OK);  // gives A, next is B
    ASSERT_EQ(root->RemoveChild(child.get()), TV_S_OK);  // A goes
    ASSERT_EQ(root->GetNextChild(child.put()), TV_S_OK);
    EXPECT_EQ(NameOf(child.get()), "B");
    ASSERT_EQ(root->RemoveByPath("B"), TV_S_OK);  // the next name and the current child
    AddText(root.get(), "Cc", "new");
    std::vector<std::string> rest;
    while (root->GetNextChildName(&name) == TV_S_OK) rest.push_back(name);
    EXPECT_EQ(rest, (std::vector<std::string>{"C", "Cc", "D"}));
    ASSERT_EQ(root->GetNextChild(child.put()), TV_S_OK);
    EXPECT_EQ(NameOf(child.get()), "C");
}

TEST(TreeEnumeration, NameAndChildEnumerationsDoNotDisturbEachOther) {
    Node root = NewTree();
    for (const char* n : {"A", "B", "C"}) AddText(root.get(), n, n);
    std::vector<std::string> seen;
    const char* name = nullptr;
    for (HRESULT hr = root->GetFirstChildName(&name); hr == TV_S_OK; hr = root->GetNextChildName(&name)) {
        seen.push_back(name);
        Node child, copy;
        ASSERT_EQ(root->GetFirstChild(child.put()), TV_S_OK);
        // Adding a node sets its paths, which walks its children but not this enumeration.
        ASSERT_EQ(root->Clone(copy.put()), TV_S_OK);
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"A", "B", "C"}));
}

}  // namespace
}  // namespace tagvera::testing
