// The importer on a host that runs out of memory, at each object it asks the host for in turn:
// the failure reaches the caller as E_OUTOFMEMORY, no half-read tree is handed out, and a write
// that fails leaves the file as it was.
#include <gtest/gtest.h>

#include "metaprop/tree_test_support.h"
#include "mp3/mp3_importer.h"
#include "mp3_importer/preferences_file.h"
#include "platform/scratch_dir.h"

namespace tagvera::testing {
namespace {

// Fails the one creation it is told to (counted from 0), and makes every other node.
class FailOnceHost final : public FakeHost {
public:
    using FakeHost::FakeHost;
    HRESULT TV_STDCALL CreateInstance(const GUID& classId, IUnknown* outer, const GUID& iid, void** out) override {
        if (calls++ == failAt) {
            *out = nullptr;
            return TV_E_OUTOFMEMORY;
        }
        return FakeHost::CreateInstance(classId, outer, iid, out);
    }
    int calls = 0;
    int failAt = -1;
};

class HostOutOfMemory : public ::testing::Test {
protected:
    // A file with all three tag sources (jukebox frame, ID3v2, ID3v1), as the importer writes them.
    void SetUp() override {
        test::WriteAll(path, test::ReadAll(std::string(TAGVERA_TEST_DATA_DIR) + "/mp3/cbr_96k_44k_notag.mp3"));
        ASSERT_EQ(EditTitle(Open(false).get()), TV_S_OK);
        original = test::ReadAll(path);
    }

    // An opened importer, on the failing host or on none.
    ComPtr<IMPAHandleMetaProperties2> Open(bool onHost) {
        ComPtr<IUnknown> unknown;
        EXPECT_EQ(CreateImportMP3File(nullptr, nullptr, unknown.put()), TV_S_OK);
        if (onHost) QueryAs<IKNContextUser>(unknown, IID_IKNContextUser)->SetContext(&host);
        auto importer = QueryAs<IMPAHandleMetaProperties2>(unknown, IID_IMPAHandleMetaProperties2);
        EXPECT_EQ(importer->SetFilename(path.c_str()), TV_S_OK);
        return importer;
    }

    static HRESULT Read(IMPAHandleMetaProperties2* importer, ComPtr<IMPAMetaProperty>& tree) {
        return QueryAs<IMPAInterrogateFile>(importer, IID_IMPAInterrogateFile)->Interrogate(tree.put());
    }

    static HRESULT EditTitle(IMPAHandleMetaProperties2* importer) {
        ComPtr<IMPAMetaProperty> tree;
        if (const HRESULT hr = Read(importer, tree); Failed(hr)) return hr;
        ComPtr<IMPAMetaProperty> title;
        if (const HRESULT hr = tree->AddText("Track:Name", "New title", 0, true, title.put()); Failed(hr)) return hr;
        title->SetChanged(kChanged);
        return importer->WriteMetaProperties(tree.get(), nullptr, 0);
    }

    CountingPackage package;
    FailOnceHost host{package};
    PreferencesFile prefs{""};
    test::ScratchDir dir;
    const std::string path = dir.file("song.mp3");
    std::vector<uint8_t> original;
};

TEST_F(HostOutOfMemory, EveryFailedCreationFailsTheRead) {
    ComPtr<IMPAMetaProperty> tree;
    ASSERT_EQ(Read(Open(true).get(), tree), TV_S_OK);
    const int needed = host.calls;  // from SetUp on, which made none through the host
    for (int n = 0; n < needed; ++n) {
        auto importer = Open(true);
        host.calls = 0;
        host.failAt = n;
        tree.reset();
        EXPECT_EQ(Read(importer.get(), tree), TV_E_OUTOFMEMORY) << "creation " << n + 1 << " of " << needed;
        EXPECT_FALSE(tree);
    }
}

TEST_F(HostOutOfMemory, AFailedWriteLeavesTheFile) {
    int needed = 0;
    {
        auto importer = Open(true);
        host.calls = 0;
        ASSERT_EQ(EditTitle(importer.get()), TV_S_OK);
        needed = host.calls;
    }
    for (int n = 0; n < needed; ++n) {
        test::WriteAll(path, original);
        auto importer = Open(true);
        host.calls = 0;
        host.failAt = n;
        const HRESULT hr = EditTitle(importer.get());
        host.failAt = -1;
        // A jukebox block that cannot be built is left out; every other step fails the write.
        EXPECT_TRUE(hr == TV_S_OK || hr == TV_E_OUTOFMEMORY) << std::hex << hr << " at creation " << n + 1;
        if (Failed(hr)) {
            EXPECT_EQ(test::ReadAll(path), original) << "creation " << n + 1;
        }
    }
}

}  // namespace
}  // namespace tagvera::testing
