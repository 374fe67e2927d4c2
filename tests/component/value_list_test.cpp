// IKMAValues sorted without regard to case: the library's CZNHeader and the host's list alike.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "component/value_objects.h"
#include "tagvera/com_ptr.h"
#include "value_makers.h"

using namespace tagvera;

namespace {

class ValuesContract : public MakerTest {};

std::vector<std::string> StringNames(IKMAValues* v) {
    std::vector<std::string> out;
    const char* name = nullptr;
    ComPtr<IKMABuffer> b;
    for (HRESULT hr = v->GetFirstStringValue(&name, b.put()); Succeeded(hr); hr = v->GetNextStringValue(&name, b.put()))
        out.emplace_back(name);
    return out;
}

TEST_P(ValuesContract, NamesCompareWithoutRegardToCase) {
    auto v = MakeValues();
    ASSERT_EQ(v->SetNumberValue("Width", 1), TV_S_OK);
    uint32_t n = 0;
    ASSERT_EQ(v->GetNumberValue("WIDTH", &n), TV_S_OK);
    EXPECT_EQ(n, 1u);
    ASSERT_EQ(v->SetNumberValue("wIdTh", 7), TV_S_OK);
    EXPECT_EQ(NumberValues(v.get()), std::vector<std::string>{"Width=7"})
        << "one entry per name, keeping the first spelling";
}

TEST_P(ValuesContract, EnumerationIsInNameOrderAndSkipsOtherKinds) {
    auto v = MakeValues();
    v->SetNumberValue("b", 2);
    v->SetNumberValue("C", 3);
    v->SetStringValue("Only text", MakeBuffer("x").get());
    v->SetNumberValue("a", 1);
    EXPECT_EQ(NumberValues(v.get()), (std::vector<std::string>{"a=1", "b=2", "C=3"}));
    EXPECT_EQ(StringNames(v.get()), std::vector<std::string>{"Only text"});

    // Each kind has its own cursor.
    const char* name = nullptr;
    uint32_t value = 0;
    ComPtr<IKMABuffer> b;
    ASSERT_EQ(v->GetFirstNumberValue(&name, &value), TV_S_OK);
    ASSERT_EQ(v->GetFirstStringValue(&name, b.put()), TV_S_OK);
    ASSERT_EQ(v->GetNextNumberValue(&name, &value), TV_S_OK);
    EXPECT_STREQ(name, "b");
    EXPECT_EQ(v->GetNextStringValue(&name, b.put()), TV_E_FAIL);
}

TEST_P(ValuesContract, EmptyListsAndAbsentNamesFail) {
    auto v = MakeValues();
    const char* name = nullptr;
    uint32_t n = 0;
    ComPtr<IKMABuffer> b;
    EXPECT_EQ(v->GetFirstNumberValue(&name, &n), TV_E_FAIL);
    EXPECT_EQ(v->GetNextNumberValue(&name, &n), TV_E_FAIL);
    EXPECT_EQ(v->GetFirstBufferValue(&name, b.put()), TV_E_FAIL);
    EXPECT_EQ(v->GetNumberValue("x", &n), TV_E_FAIL);
    EXPECT_EQ(v->GetBufferValue("x", b.put()), TV_E_FAIL);
    EXPECT_EQ(b.get(), nullptr);
    EXPECT_EQ(v->SetBufferValue("x", nullptr), TV_E_FAIL);
    EXPECT_EQ(v->SetStringValue("x", nullptr), TV_E_FAIL);
    // A name set only as a string has no number.
    v->SetStringValue("x", MakeBuffer("t").get());
    EXPECT_EQ(v->GetNumberValue("x", &n), TV_E_FAIL);
    EXPECT_EQ(v->GetFirstNumberValue(&name, &n), TV_E_FAIL);
    EXPECT_EQ(v->SetNumberValue(nullptr, 1), TV_E_POINTER);
    EXPECT_EQ(v->GetNumberValue("x", nullptr), TV_E_POINTER);
    // Its own interfaces only: removal is the keyed list's.
    void* out = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(v->QueryInterface(IID_IKMABuffer, &out), TV_E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(v->QueryInterface(IID_IKMAValuesRemove, &out), TV_E_NOINTERFACE);
}

TEST_P(ValuesContract, KindsOfOneNameLiveSideBySide) {
    auto v = MakeValues();
    auto data = MakeBuffer("data");
    auto text = MakeBuffer("text");
    v->SetBufferValue("Name", data.get());
    v->SetStringValue("name", text.get());
    v->SetNumberValue("NAME", 5);
    ComPtr<IKMABuffer> got;
    ASSERT_EQ(v->GetBufferValue("name", got.put()), TV_S_OK);
    EXPECT_EQ(got.get(), data.get());
    ASSERT_EQ(v->GetStringValue("Name", got.put()), TV_S_OK);
    EXPECT_EQ(got.get(), text.get());
    uint32_t n = 0;
    ASSERT_EQ(v->GetNumberValue("name", &n), TV_S_OK);
    EXPECT_EQ(n, 5u);
}

TEST_P(ValuesContract, BuffersAreHeldWhileStoredAndReleasedWhenReplacedOrDestroyed) {
    auto v = MakeValues();
    auto first = MakeBuffer("1");
    auto second = MakeBuffer("2");
    ASSERT_EQ(v->SetBufferValue("k", first.get()), TV_S_OK);
    EXPECT_EQ(first->AddRef(), 3u) << "caller, list, and this AddRef";
    first->Release();
    // Setting the same buffer again must not drop its last reference on the way.
    ASSERT_EQ(v->SetBufferValue("k", first.get()), TV_S_OK);
    EXPECT_EQ(first->AddRef(), 3u);
    first->Release();
    ASSERT_EQ(v->SetBufferValue("k", second.get()), TV_S_OK);
    EXPECT_EQ(first->AddRef(), 2u);
    first->Release();

    const char* name = nullptr;
    ComPtr<IKMABuffer> got;
    ASSERT_EQ(v->GetFirstBufferValue(&name, got.put()), TV_S_OK);
    EXPECT_EQ(got.get(), second.get());
    EXPECT_EQ(second->AddRef(), 4u) << "caller, list, enumeration's reference, this AddRef";
    second->Release();
    got.reset();
    v.reset();
    EXPECT_EQ(second->AddRef(), 2u);
    second->Release();
}

TEST_P(ValuesContract, EnumeratedNamesStayValidWhileOthersAreAdded) {
    auto v = MakeValues();
    v->SetNumberValue("m-first", 1);
    const char* name = nullptr;
    uint32_t n = 0;
    ASSERT_EQ(v->GetFirstNumberValue(&name, &n), TV_S_OK);
    for (int i = 0; i < 200; ++i) v->SetNumberValue(("name " + std::to_string(i)).c_str(), i);
    EXPECT_STREQ(name, "m-first");
    EXPECT_EQ(NumberValues(v.get()).size(), 201u);
}

INSTANTIATE_TEST_SUITE_P(Implementations, ValuesContract, ::testing::ValuesIn(AllValueMakers()), MakerName);

}  // namespace
