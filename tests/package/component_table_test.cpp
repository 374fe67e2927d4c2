// Every creator in the component table honours the creator contract (the table's rows and values
// are checked through the built library by the host lifecycle tests).
#include <gtest/gtest.h>

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
