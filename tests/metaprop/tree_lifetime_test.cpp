// Ownership and lifetime: trees made through a host factory, references held by chains, cursors and
// callers, parents that are not owned, the pointer-owning types, the interface table, and trees
// deep enough to overflow any recursion.
#include "tree_test_support.h"

#include "metaprop/meta_property.h"

namespace tagvera::testing {
namespace {

// Trees made through a host factory that counts the package's components.
class TreeLifetime : public ::testing::Test {
protected:
    CountingPackage package;
    FakeHost host{package};
};

TEST_F(TreeLifetime, NodesMadeThroughTheHostAreAllReleased) {
    {
        Node root = host.NewTree();
        AddText(root.get(), "Track:Name", "t");
        AddText(root.get(), "Album:Name", "a");
        Node copy;
        ASSERT_EQ(root->Clone(copy.put()), TV_S_OK);
        ASSERT_EQ(root->MergeFrom(copy.get(), true, kAddDeepGroups), TV_S_OK);
        // Children of a node that has the factory are made through it as well.
        EXPECT_EQ(host.creations, package.created.load());
        EXPECT_GT(package.alive.load(), 5);
        Node cursor;
        ASSERT_EQ(root->GetFirstChild(cursor.put()), TV_S_OK);
        ASSERT_EQ(root->FindFirstChild("Track:Name", cursor.put()), TV_S_OK);
    }
    EXPECT_EQ(package.alive.load(), 0);
    EXPECT_EQ(host.refs(), 0);
}

TEST_F(TreeLifetime, ParentsAreNotOwnedButChildrenAre) {
    Node child;
    {
        Node root = host.NewTree();
        child = AddText(root.get(), "Name", "x");
        EXPECT_EQ(ParentCount(child.get()), 1u);
    }
    // The parent went; the child no longer names it.
    EXPECT_EQ(package.alive.load(), 1);
    EXPECT_EQ(ParentCount(child.get()), 0u);
    auto manager = QueryAs<IMPAMetaPropertyParentMgr>(child, IID_IMPAMetaPropertyParentMgr);
    IMPAMetaProperty* parent = reinterpret_cast<IMPAMetaProperty*>(1);
    EXPECT_EQ(manager->GetParent(0, &parent), TV_E_FAIL);
    EXPECT_EQ(parent, nullptr);
    EXPECT_EQ(manager->DetachFromParents(), TV_S_OK);

    // The list holds each parent once.
    Node a = NewTree(), b = NewTree();
    ASSERT_EQ(manager->AddParent(a.get()), TV_S_OK);
    ASSERT_EQ(manager->AddParent(b.get()), TV_S_OK);
    ASSERT_EQ(manager->AddParent(a.get()), TV_S_OK);
    EXPECT_EQ(ParentCount(child.get()), 2u);
    ASSERT_EQ(manager->GetParent(1, &parent), TV_S_OK);
    EXPECT_EQ(parent, b.get());
    parent->Release();
    ASSERT_EQ(manager->RemoveParent(a.get()), TV_S_OK);
    ASSERT_EQ(manager->RemoveParent(a.get()), TV_S_OK);
    EXPECT_EQ(ParentCount(child.get()), 1u);
    ASSERT_EQ(manager->RemoveParent(b.get()), TV_S_OK);
    manager.reset();
    child.reset();
    EXPECT_EQ(package.alive.load(), 0);
}

TEST_F(TreeLifetime, LinkedListHandsOutReferences) {
    {
        Node a = host.NewTree();
        Node b = host.NewTree();
        Chain(a.get(), b.get());
        auto link = QueryAs<IMPAMetaPropertyLinkedList>(a, IID_IMPAMetaPropertyLinkedList);
        auto next = ComPtr<IMPAMetaPropertyLinkedList>::Adopt(link->GetNext());
        auto expected = QueryAs<IMPAMetaPropertyLinkedList>(b, IID_IMPAMetaPropertyLinkedList);
        EXPECT_EQ(next.get(), expected.get());
        b.reset();
        next.reset();
        expected.reset();
        EXPECT_EQ(package.alive.load(), 2);  // the chain keeps b
        ASSERT_EQ(link->SetNext(nullptr), TV_S_OK);
        EXPECT_EQ(package.alive.load(), 1);
        EXPECT_EQ(link->GetNext(), nullptr);
    }
    EXPECT_EQ(package.alive.load(), 0);
}

int g_freed = 0;
void* g_freedPointer = nullptr;
void CountingDelete(void* pointer) {
    ++g_freed;
    g_freedPointer = pointer;
    delete static_cast<int*>(pointer);
}

void StorePointer(IMPAMetaProperty* node, const void* pointer) {
    ASSERT_EQ(node->SetValue(reinterpret_cast<const uint8_t*>(&pointer), sizeof pointer), TV_S_OK);
}

TEST_F(TreeLifetime, OwnedPointerIsFreedThroughDeleteFunc) {
    g_freed = 0;
    int* payload = new int(7);
    {
        Node node = NewTree();
        node->SetType(kTypeOwnedPointer);
        StorePointer(node.get(), payload);
        PropertyDeleteFunc function = &CountingDelete;
        ASSERT_EQ(node->AddProperty(kPropDeleteFunc, kTypeNumber, 0, reinterpret_cast<const uint8_t*>(&function),
                                    sizeof function, true, nullptr),
                  TV_S_OK);
        // A copy does not take the pointer: it would be freed twice.
        Node copy;
        ASSERT_EQ(node->Clone(copy.put()), TV_S_OK);
        const uint8_t* data = nullptr;
        uint32_t size = 0;
        EXPECT_EQ(copy->GetValue(&data, &size), TV_E_PROP_EMPTY);
        copy.reset();
        EXPECT_EQ(g_freed, 0);
        // Setting the same pointer again keeps it.
        StorePointer(node.get(), payload);
        EXPECT_EQ(g_freed, 0);
    }
    EXPECT_EQ(g_freed, 1);
    EXPECT_EQ(g_freedPointer, payload);

    // A DeleteFunc too short to hold a function is not called.
    int local = 0;
    {
        Node node = NewTree();
        node->SetType(kTypeOwnedPointer);
        StorePointer(node.get(), &local);
        const uint32_t shortValue = 1;
        node->AddProperty(kPropDeleteFunc, kTypeNumber, 0, reinterpret_cast<const uint8_t*>(&shortValue), 1, true,
                          nullptr);
    }
    EXPECT_EQ(g_freed, 1);
}

TEST_F(TreeLifetime, InterfacePointerHoldsOneReference) {
    {
        Node held = host.NewTree();
        Node node = host.NewTree();
        node->SetType(kTypeInterfacePointer);
        IUnknown* pointer = held.get();
        pointer->AddRef();  // the reference the value carries
        StorePointer(node.get(), pointer);
        Node copy;
        ASSERT_EQ(node->Clone(copy.put()), TV_S_OK);  // the copy gets its own reference
        held.reset();
        copy.reset();
        EXPECT_EQ(package.alive.load(), 2);
        // Replacing the pointer lets the old one go.
        StorePointer(node.get(), nullptr);
        EXPECT_EQ(package.alive.load(), 1);
    }
    EXPECT_EQ(package.alive.load(), 0);
}

TEST_F(TreeLifetime, HostFailuresSurfaceAndLeaveNothingBehind) {
    {
        Node root = host.NewTree();
        for (int i = 0; i < 20; ++i) AddText(root.get(), ("Group:Item" + std::to_string(i)).c_str(), "v");
        host.failAfter = host.creations;
        EXPECT_EQ(root->AddText("More", "x", 0, true, nullptr), TV_E_OUTOFMEMORY);
        host.failAfter = host.creations + 10;
        IMPAMetaProperty* copy = reinterpret_cast<IMPAMetaProperty*>(1);
        EXPECT_EQ(root->Clone(&copy), TV_E_OUTOFMEMORY);
        EXPECT_EQ(copy, nullptr);
    }
    EXPECT_EQ(package.alive.load(), 0);
}

// --- Deep trees ----------------------------------------------------------------------------------

TEST(TreeDepth, AHundredThousandLevelsWorkWithoutRecursion) {
    constexpr int kDepth = 100000;
    Node root = NewTree();
    Node at = root;
    for (int i = 0; i < kDepth; ++i) at = AddGroup(at.get(), "Level");
    AddText(at.get(), "Bottom", "found");
    at.reset();

    EXPECT_EQ(TextOf(FindByPath(root.get(), "Bottom").get()), "found");
    IMPAMetaProperty* out = nullptr;
    EXPECT_EQ(root->FindByPath("Absent", &out), TV_E_PROP_NOTFOUND);
    ASSERT_EQ(root->SetParentPath("Top"), TV_S_OK);
    Node copy;
    ASSERT_EQ(root->Clone(copy.put()), TV_S_OK);
    EXPECT_EQ(TextOf(FindByPath(copy.get(), "Bottom").get()), "found");
    copy.reset();
    root.reset();  // destruction does not recurse either
}

TEST(TreeDepth, MergesDeeperThanTheLimitFailCleanly) {
    for (const uint32_t depth : {kMaxTreeDepth + 10, kMaxTreeDepth - 10}) {
        Node a = NewTree(), b = NewTree();
        Node x = a, y = b;
        for (uint32_t i = 0; i < depth; ++i) {
            x = AddGroup(x.get(), "G");
            y = AddGroup(y.get(), "G");
        }
        AddText(y.get(), "Leaf", "v");
        y.reset();
        EXPECT_EQ(a->MergeFrom(b.get(), false, 0), depth > kMaxTreeDepth ? TV_E_FAIL : TV_S_OK) << depth;
        EXPECT_EQ(bool(Find(x.get(), "Leaf")), depth < kMaxTreeDepth) << depth;
    }
}

TEST(TreeDepth, LongSameNameChainsAreReleasedWithoutRecursion) {
    Node root = NewTree();
    Node first = AddText(root.get(), "Item", "0");
    Node last = first;
    for (int i = 1; i < 100000; ++i) {
        Node next = Loose("Item", kTypeText, "n");
        Chain(last.get(), next.get());
        last = next;
    }
    last.reset();
    first.reset();
    EXPECT_EQ(CountOf(root.get(), "Item"), 100000u);
}

}  // namespace
}  // namespace tagvera::testing
