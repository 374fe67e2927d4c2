// The directory table SetDLLAccessPath fills: parsing, trailing separators, lookup by kind index,
// and passing the table on in the same list form.
#include <gtest/gtest.h>

#include <string>

#include "package/directory_table.h"

using namespace tagvera;

namespace {

// A list block as a host builds it; the literal's own NUL ends it.
#define LIST(text) (text "\0")

TEST(DirectoryTable, StoresEachKindWithATrailingSeparator) {
    DLLAccessPath t;
    EXPECT_EQ(t.SetFromList(LIST("DT_Codecs=C:\\x\0DT_Common=/opt/common\0DT_Plugins=/opt/plugins/\0")), 3u);
    EXPECT_STREQ(t.Get(DT_Codecs), "C:\\x\\");
    EXPECT_STREQ(t.Get(DT_Common), "/opt/common/");
    EXPECT_STREQ(t.Get(DT_Plugins), "/opt/plugins/");
    EXPECT_EQ(t.Get(DT_EncSDK), nullptr) << "never set";
    EXPECT_EQ(t.Get(8u), nullptr);
    EXPECT_EQ(t.Get(0xFFFFFFFFu), nullptr);

    // Later entries replace earlier ones, in one list or the next, and the table keeps the rest.
    t.SetFromList(LIST("DT_Codecs=C:\\x\0DT_Codecs=D:\\y\0"));
    EXPECT_STREQ(t.Get(DT_Codecs), "D:\\y\\");
    t.SetFromList(LIST("DT_Codecs=E:\\z\0"));
    EXPECT_STREQ(t.Get(DT_Codecs), "E:\\z\\");
    EXPECT_STREQ(t.Get(DT_Common), "/opt/common/");
    EXPECT_EQ(t.size(), 3u);
}

TEST(DirectoryTable, SkipsWhatIsNotAnEntry) {
    DLLAccessPath t;
    EXPECT_EQ(t.SetFromList(LIST("no equals\0DT_Codecs=\0=C:\\x\0DT_Common=C:\\a=b\0")), 1u);
    EXPECT_EQ(t.Get(DT_Codecs), nullptr) << "an empty directory is ignored";
    EXPECT_STREQ(t.Get(DT_Common), "C:\\a=b\\") << "split at the first '='";
    EXPECT_EQ(t.SetFromList(""), 0u);
    EXPECT_EQ(t.SetFromList(nullptr), 0u);
    // Parsing stops at the first empty string.
    EXPECT_EQ(t.SetFromList(LIST("DT_EncSDK=/e\0\0DT_Objbrokr=/o\0")), 1u);
    EXPECT_EQ(t.Get(DT_Objbrokr), nullptr);
    // Kinds outside the eight are kept and passed on, just not reachable by index.
    EXPECT_EQ(t.SetFromList(LIST("DT_Other=/other\0")), 1u);
    EXPECT_STREQ(t.Get(std::string_view("DT_Other")), "/other/");
}

std::string g_received;
int g_calls = 0;
HRESULT TV_STDCALL Receive(const char* list) {
    ++g_calls;
    // Walk the block as SetDLLAccessPath would, to see where it ends.
    const char* p = list;
    while (*p) p += std::string_view(p).size() + 1;
    g_received.assign(list, static_cast<size_t>(p - list) + 1);
    return 7;
}

TEST(DirectoryTable, PassesTheWholeTableOnInListForm) {
    DLLAccessPath t;
    g_calls = 0;
    EXPECT_EQ(t.PassOn(Receive), TV_S_OK);
    EXPECT_EQ(g_calls, 0) << "an empty table passes nothing";

    t.SetFromList(LIST("DT_Common=/c\0DT_Codecs=C:\\x\0"));
    EXPECT_EQ(t.PassOn(Receive), 7) << "the receiver's answer comes back";
    EXPECT_EQ(g_calls, 1);
    EXPECT_EQ(g_received, std::string("DT_Codecs=C:\\x\\\0DT_Common=/c/\0\0", 31));
    EXPECT_EQ(t.PassOn(nullptr), TV_E_POINTER);
}

}  // namespace
