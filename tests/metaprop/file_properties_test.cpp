// IMPAFileProperties: the shortcuts read and write their group and property with the flags hosts
// rely on (one row per kind of flag, not the whole table), and the text getters keep to the
// caller's buffer.
#include "tree_test_support.h"

namespace tagvera::testing {
namespace {

class FileProperties : public ::testing::Test {
protected:
    Node tree = NewTree();
    ComPtr<IMPAFileProperties> properties = QueryAs<IMPAFileProperties>(tree, IID_IMPAFileProperties);
};

std::string Get(IMPAFileProperties* properties, HRESULT (TV_STDCALL IMPAFileProperties::*getter)(char*, uint32_t*)) {
    char buffer[256];
    uint32_t size = sizeof buffer;
    if ((properties->*getter)(buffer, &size) != TV_S_OK) return "<failed>";
    EXPECT_EQ(size, std::strlen(buffer));
    return buffer;
}

struct TextCase {
    HRESULT (TV_STDCALL IMPAFileProperties::*getter)(char*, uint32_t*);
    HRESULT (TV_STDCALL IMPAFileProperties::*setter)(const char*);
    const char* path;
    uint32_t flags;
};

TEST_F(FileProperties, TextShortcutsUseTheirGroupsAndFlags) {
    const TextCase cases[] = {
        {&IMPAFileProperties::GetFilename, &IMPAFileProperties::SetFilename, "Statistics:Filename", 0x01},
        {&IMPAFileProperties::GetTitle, &IMPAFileProperties::SetTitle, "Track:Name", 0},
        {&IMPAFileProperties::GetPublisher, &IMPAFileProperties::SetPublisher, "Credits:Published", 0},
        {&IMPAFileProperties::GetMimeType, &IMPAFileProperties::SetMimeType, "Statistics:MimeType", 0x03},
    };
    ASSERT_TRUE(properties);
    for (const TextCase& c : cases) {
        const std::string value = std::string("value of ") + c.path;
        ASSERT_EQ((properties.get()->*c.setter)(value.c_str()), TV_S_OK) << c.path;
        Node node = Find(tree.get(), c.path);
        ASSERT_TRUE(node) << c.path;
        EXPECT_EQ(TypeOf(node.get()), kTypeText) << c.path;
        EXPECT_EQ(FlagsOf(node.get()), c.flags) << c.path;
        EXPECT_EQ(Get(properties.get(), c.getter), value) << c.path;
        // Setting again replaces the value.
        ASSERT_EQ((properties.get()->*c.setter)("again"), TV_S_OK);
        EXPECT_EQ(Get(properties.get(), c.getter), "again") << c.path;
        EXPECT_EQ((properties.get()->*c.setter)(nullptr), TV_E_POINTER);
    }
    EXPECT_EQ(ChildNames(tree.get()), (std::vector<std::string>{"Credits", "Statistics", "Track"}));
    EXPECT_EQ(TypeOf(Find(tree.get(), "Track").get()), kTypeGroup);
}

struct NumberCase {
    HRESULT (TV_STDCALL IMPAFileProperties::*getter)(uint32_t*);
    HRESULT (TV_STDCALL IMPAFileProperties::*setter)(uint32_t);
    const char* path;
};

TEST_F(FileProperties, NumberShortcutsStoreReadOnlyNumbers) {
    const NumberCase cases[] = {
        {&IMPAFileProperties::GetLength, &IMPAFileProperties::SetLength, "Statistics:Length"},
        {&IMPAFileProperties::GetFileProtection, &IMPAFileProperties::SetFileProtection, "Statistics:File Protection"},
        {&IMPAFileProperties::GetQuality, &IMPAFileProperties::SetQuality, "Statistics:Quality"},
    };
    uint32_t value = 1;
    for (const NumberCase& c : cases) {
        ASSERT_EQ((properties.get()->*c.setter)(4000000000u), TV_S_OK) << c.path;
        Node node = Find(tree.get(), c.path);
        ASSERT_TRUE(node) << c.path;
        EXPECT_EQ(TypeOf(node.get()), kTypeNumber);
        EXPECT_EQ(FlagsOf(node.get()), uint32_t{kFlagReadOnly});
        EXPECT_EQ(NumberOf(node.get()), 4000000000u);
        ASSERT_EQ((properties.get()->*c.getter)(&value), TV_S_OK);
        EXPECT_EQ(value, 4000000000u);
        EXPECT_EQ((properties.get()->*c.getter)(nullptr), TV_E_POINTER);
    }
}

TEST_F(FileProperties, TrackNumberIsWrittenAsTwoDigitTextAndReadAsANumber) {
    ASSERT_EQ(properties->SetTrackNumber(7), TV_S_OK);
    Node node = Find(tree.get(), "Track:CD Track #");
    ASSERT_TRUE(node);
    EXPECT_EQ(TypeOf(node.get()), kTypeText);
    EXPECT_EQ(TextOf(node.get()), "07");
    uint32_t value = 0;
    ASSERT_EQ(properties->GetTrackNumber(&value), TV_S_OK);
    EXPECT_EQ(value, 7u);
    ASSERT_EQ(properties->SetTrackNumber(123), TV_S_OK);
    EXPECT_EQ(TextOf(Find(tree.get(), "Track:CD Track #").get()), "123");
    // Text from a tag reads by its leading digits.
    AddText(tree.get(), "Track:CD Track #", "4/12");
    ASSERT_EQ(properties->GetTrackNumber(&value), TV_S_OK);
    EXPECT_EQ(value, 4u);
}

TEST_F(FileProperties, TextGetterFailuresLeaveAnEmptyBuffer) {
    char buffer[8] = "junk";
    uint32_t size = sizeof buffer;
    EXPECT_EQ(properties->GetTitle(buffer, &size), TV_E_PROP_NOTFOUND);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(size, 0u);

    properties->SetTitle("abcdefg");  // 8 bytes with the NUL: fits exactly
    size = sizeof buffer;
    ASSERT_EQ(properties->GetTitle(buffer, &size), TV_S_OK);
    EXPECT_STREQ(buffer, "abcdefg");
    EXPECT_EQ(size, 7u);

    properties->SetTitle("abcdefgh");
    size = sizeof buffer;
    EXPECT_EQ(properties->GetTitle(buffer, &size), TV_E_BUFFERTOOSMALL);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(size, 0u);
    size = 0;
    EXPECT_EQ(properties->GetTitle(buffer, &size), TV_E_BUFFERTOOSMALL);

    // Only text counts as text.
    tree->AddUrl("Track:Name", "http://x", 0, true, nullptr);
    size = sizeof buffer;
    EXPECT_EQ(properties->GetTitle(buffer, &size), TV_E_PROP_NOTFOUND);
    EXPECT_EQ(properties->GetTitle(nullptr, &size), TV_E_POINTER);
    EXPECT_EQ(properties->GetTitle(buffer, nullptr), TV_E_POINTER);
}

TEST_F(FileProperties, NumberGetterAcceptsTextAndFourByteNumbersOnly) {
    uint32_t value = 99;
    EXPECT_EQ(properties->GetLength(&value), TV_E_PROP_NOTFOUND);
    EXPECT_EQ(value, 0u);
    AddText(tree.get(), "Statistics:Length", "  215 seconds");
    ASSERT_EQ(properties->GetLength(&value), TV_S_OK);
    EXPECT_EQ(value, 215u);
    AddText(tree.get(), "Statistics:Length", "unknown");
    ASSERT_EQ(properties->GetLength(&value), TV_S_OK);
    EXPECT_EQ(value, 0u);
    const uint8_t three[] = {1, 2, 3};
    tree->AddProperty("Statistics:Length", kTypeNumber, 0, three, 3, true, nullptr);
    value = 5;
    EXPECT_EQ(properties->GetLength(&value), TV_E_FAIL);
    EXPECT_EQ(value, 0u);
    tree->AddFlag("Statistics:Length", 1, 0, true, nullptr);
    EXPECT_EQ(properties->GetLength(&value), TV_E_FAIL);
}

}  // namespace
}  // namespace tagvera::testing
