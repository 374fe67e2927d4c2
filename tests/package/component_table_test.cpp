// The component table's shape: eight component rows in order, each starting with LoadMultiple,
// only number and string attributes, and every creator honouring the creator contract.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "package/component_table.h"
#include "tagvera/components.h"

using namespace tagvera;

namespace {

std::vector<const ComponentTableRow*> ComponentRows() {
    std::vector<const ComponentTableRow*> rows;
    for (const ComponentTableRow* r = kTagveraComponentTable; r->kind != kRowEnd; ++r)
        if (r->kind == kRowComponent) rows.push_back(r);
    return rows;
}

TEST(ComponentTable, EightComponentsInTableOrder) {
    const auto rows = ComponentRows();
    ASSERT_EQ(rows.size(), 8u);
    for (size_t i = 0; i < rows.size(); ++i) EXPECT_EQ(rows[i]->classId(), *kKnownComponents[i].classId) << i;
}

TEST(ComponentTable, AttributesFollowTheirComponentAndStartWithLoadMultiple) {
    std::set<std::string> seenNames;
    for (const ComponentTableRow* r = kTagveraComponentTable; r->kind != kRowEnd; ++r) {
        if (r->kind != kRowComponent) continue;
        ASSERT_NE(r->creator, nullptr);
        const ComponentTableRow* first = r + 1;
        EXPECT_EQ(first->kind, kRowNumber);
        EXPECT_STREQ(first->name, "LoadMultiple");
        EXPECT_EQ(first->value.number, 1u);
        for (const ComponentTableRow* a = r + 1; a->kind != kRowComponent && a->kind != kRowEnd; ++a) {
            EXPECT_TRUE(a->kind == kRowNumber || a->kind == kRowString) << "no byte attributes in this table";
            if (a->kind == kRowString) {
                const std::string text = a->text();
                EXPECT_EQ(text.find(';'), std::string::npos) << "lists are '|'-separated: " << text;
                EXPECT_EQ(text.find('.'), std::string::npos) << "extensions come without a dot: " << text;
                for (char c : text) EXPECT_FALSE(c >= 'A' && c <= 'Z') << "lists are lower case: " << text;
            }
        }
    }
}

TEST(ComponentTable, CreatorsHonourTheContract) {
    for (const ComponentTableRow* r : ComponentRows()) {
        EXPECT_EQ(r->creator(nullptr, nullptr, nullptr), TV_E_POINTER);
        IUnknown* out = reinterpret_cast<IUnknown*>(0x1);
        const HRESULT hr = r->creator(nullptr, nullptr, &out);
        EXPECT_TRUE(hr == TV_S_OK || hr == TV_E_NOTIMPL);
        if (Succeeded(hr)) {
            ASSERT_NE(out, nullptr);
            EXPECT_EQ(out->Release(), 0u);
        } else {
            EXPECT_EQ(out, nullptr);
        }
    }
}

}  // namespace
