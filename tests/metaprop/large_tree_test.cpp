// Groups of a library's size: every child found, enumeration in order, removal, merge and clone.
#include <algorithm>
#include <cstdio>

#include "tree_test_support.h"

namespace tagvera::testing {
namespace {

constexpr int kChildren = 100000;

std::string ItemName(int i) {
    char name[32];
    std::snprintf(name, sizeof name, "Track %06d", i);
    return name;
}

TEST(LargeTree, AGroupOfAHundredThousandChildren) {
    Node root = NewTree();
    Node library = AddGroup(root.get(), "Library");
    // Inserted back to front, so every insertion goes before all present names.
    for (int i = kChildren - 1; i >= 0; --i)
        ASSERT_EQ(library->AddNumber(ItemName(i).c_str(), static_cast<uint32_t>(i), 0, false, nullptr), TV_S_OK);

    uint32_t count = 0;
    ASSERT_EQ(library->GetChildNameCount(&count), TV_S_OK);
    EXPECT_EQ(count, static_cast<uint32_t>(kChildren));
    for (int i = 0; i < kChildren; i += 997) {
        const std::string path = "Library:" + ItemName(i);
        Node node = Find(root.get(), path.c_str());
        ASSERT_TRUE(node) << path;
        EXPECT_EQ(NumberOf(node.get()), static_cast<uint32_t>(i));
        EXPECT_EQ(PathOf(node.get()), path);
    }
    std::vector<std::string> names = ChildNames(library.get());
    ASSERT_EQ(names.size(), static_cast<size_t>(kChildren));
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));

    for (int i = 0; i < kChildren; i += 2) ASSERT_EQ(library->RemoveByPath(ItemName(i).c_str()), TV_S_OK);
    ASSERT_EQ(library->GetTotalChildCount(&count), TV_S_OK);
    EXPECT_EQ(count, static_cast<uint32_t>(kChildren / 2));

    Node copy;
    ASSERT_EQ(root->Clone(copy.put()), TV_S_OK);
    Node merged = NewTree();
    ASSERT_EQ(merged->MergeFrom(copy.get(), false, kAddDeepGroups), TV_S_OK);
    ASSERT_EQ(merged->MergeFrom(root.get(), true, 0), TV_S_OK);
    ASSERT_EQ(Find(merged.get(), "Library")->GetChildNameCount(&count), TV_S_OK);
    EXPECT_EQ(count, static_cast<uint32_t>(kChildren / 2));
    EXPECT_EQ(NumberOf(FindByPath(merged.get(), ItemName(kChildren - 1).c_str()).get()),
              static_cast<uint32_t>(kChildren - 1));
}

}  // namespace
}  // namespace tagvera::testing
