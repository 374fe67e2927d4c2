// The keyed list: insertion order, case-sensitive names, removal; library and host alike.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tagvera/com_ptr.h"
#include "value_makers.h"

using namespace tagvera;

namespace {

class KeyedListContract : public MakerTest {};

TEST_P(KeyedListContract, InsertionOrderAndCaseSensitiveNames) {
    auto v = MakeKeyedList();
    v->SetNumberValue("b", 1);
    v->SetNumberValue("a", 2);
    v->SetNumberValue("Name", 3);
    v->SetNumberValue("name", 4);
    v->SetNumberValue("b", 5);  // replaced in place, keeps its position
    EXPECT_EQ(NumberValues(v.get()), (std::vector<std::string>{"b=5", "a=2", "Name=3", "name=4"}));
    uint32_t n = 0;
    EXPECT_EQ(v->GetNumberValue("NAME", &n), TV_E_FAIL);
}

TEST_P(KeyedListContract, EndsOfEnumerationFail) {
    auto v = MakeKeyedList();
    const char* name = nullptr;
    uint32_t n = 0;
    ComPtr<IKMABuffer> b;
    EXPECT_EQ(v->GetFirstNumberValue(&name, &n), TV_E_FAIL);
    EXPECT_EQ(v->GetFirstStringValue(&name, b.put()), TV_E_FAIL);
    v->SetStringValue("s", MakeBuffer().get());
    ASSERT_EQ(v->GetFirstStringValue(&name, b.put()), TV_S_OK);
    EXPECT_EQ(v->GetNextStringValue(&name, b.put()), TV_E_FAIL);
    EXPECT_EQ(v->GetNextStringValue(&name, b.put()), TV_E_FAIL);
    EXPECT_EQ(v->SetBufferValue("b", nullptr), TV_E_FAIL);
}

TEST_P(KeyedListContract, RemovalPerKindAndForAllKinds) {
    auto v = MakeKeyedList();
    auto remove = QueryAs<IKMAValuesRemove>(v, IID_IKMAValuesRemove);
    ASSERT_TRUE(remove);
    auto data = MakeBuffer();
    v->SetNumberValue("x", 1);
    v->SetBufferValue("x", data.get());
    v->SetStringValue("x", data.get());
    v->SetNumberValue("y", 2);
    EXPECT_EQ(data->AddRef(), 4u);
    data->Release();

    EXPECT_EQ(remove->RemoveBufferValue("x"), TV_S_OK);
    ComPtr<IKMABuffer> got;
    EXPECT_EQ(v->GetBufferValue("x", got.put()), TV_E_FAIL);
    EXPECT_EQ(v->GetStringValue("x", got.put()), TV_S_OK);
    got.reset();
    EXPECT_EQ(remove->RemoveValue("x"), TV_S_OK);
    EXPECT_EQ(v->GetStringValue("x", got.put()), TV_E_FAIL);
    EXPECT_EQ(NumberValues(v.get()), std::vector<std::string>{"y=2"});
    EXPECT_EQ(data->AddRef(), 2u) << "removed values are released";
    data->Release();

    EXPECT_EQ(remove->RemoveValue("absent"), TV_S_OK);
    EXPECT_EQ(remove->RemoveNumberValue("absent"), TV_S_OK);
    EXPECT_EQ(remove->RemoveStringValue(nullptr), TV_S_OK);
}

TEST_P(KeyedListContract, RemovingDuringEnumerationContinuesWithTheNext) {
    auto v = MakeKeyedList();
    auto remove = QueryAs<IKMAValuesRemove>(v, IID_IKMAValuesRemove);
    for (const char* n : {"a", "b", "c", "d"}) v->SetNumberValue(n, 0);
    const char* name = nullptr;
    uint32_t value = 0;
    ASSERT_EQ(v->GetFirstNumberValue(&name, &value), TV_S_OK);
    EXPECT_STREQ(name, "a");
    remove->RemoveNumberValue("b");  // the next one to come
    remove->RemoveNumberValue("d");  // the tail
    ASSERT_EQ(v->GetNextNumberValue(&name, &value), TV_S_OK);
    EXPECT_STREQ(name, "c");
    EXPECT_EQ(v->GetNextNumberValue(&name, &value), TV_E_FAIL);
    v->SetNumberValue("e", 0);  // appended after the new tail
    EXPECT_EQ(NumberValues(v.get()), (std::vector<std::string>{"a=0", "c=0", "e=0"}));
}

TEST_P(KeyedListContract, ManyValuesStayCheap) {
    auto v = MakeKeyedList();
    for (uint32_t i = 0; i < 50000; ++i) v->SetNumberValue(("k" + std::to_string(i)).c_str(), i);
    uint32_t n = 0;
    ASSERT_EQ(v->GetNumberValue("k49999", &n), TV_S_OK);
    EXPECT_EQ(n, 49999u);
}

INSTANTIATE_TEST_SUITE_P(Implementations, KeyedListContract, ::testing::ValuesIn(AllValueMakers()), MakerName);

}  // namespace
