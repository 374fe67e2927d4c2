// The package's answers when the host's class factory lets it down: each step of InitializePlugin,
// GetComponentInfo and GetPluginNamespace, through the built library.
#include <gtest/gtest.h>

#include <vector>

#include "host/component_info.h"
#include "host/host_context.h"
#include "host/library.h"
#include "host/objects.h"
#include "host/ref_counted.h"
#include "tagvera/tagvera.h"

using namespace tagvera;
using namespace tagvera::host;

namespace {

// A class factory that fails the classes it is told to and hands the rest to a real host context.
// It can also hand out buffers someone else still holds, which refuse to be filled.
class FailingFactory final : public RefCounted<IKMAClassFactory> {
public:
    FailingFactory() : inner_(HostContext::Create()) {}
    ~FailingFactory() override {
        for (auto* b : kept_) b->Release();
    }

    std::vector<GUID> failing;
    HRESULT failure = TV_E_OUTOFMEMORY;
    bool sharedBuffers = false;
    HostContext& inner() { return *inner_.get(); }
    IKMABuffer* lastBuffer() const { return kept_.empty() ? nullptr : kept_.back(); }

    HRESULT TV_STDCALL CreateInstance(const GUID& classId, IUnknown* outer, const GUID& iid, void** out) override {
        for (const GUID& f : failing)
            if (f == classId) {
                *out = nullptr;
                return failure;
            }
        const HRESULT hr = inner_->CreateInstance(classId, outer, iid, out);
        if (Succeeded(hr) && sharedBuffers && classId == CLSID_CZNBuffer) {
            auto* b = static_cast<IKMABuffer*>(*out);
            b->AddRef();
            kept_.push_back(b);
        }
        return hr;
    }

private:
    void* find(const GUID& iid) override { return iid == IID_IKMAClassFactory ? static_cast<IKMAClassFactory*>(this) : nullptr; }
    ComPtr<HostContext> inner_;
    std::vector<IKMABuffer*> kept_;
};

class FailingHost : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(lib.CreateInstance(unknown.put()), TV_S_OK);
        plugin = QueryAs<IKMAPlugin>(unknown, IID_IKMAPlugin);
        package = QueryAs<IKMAComponentPlugin>(unknown, IID_IKMAComponentPlugin);
        ns = QueryAs<IKMAPluginNamespace>(unknown, IID_IKMAPluginNamespace);
        factory = ComPtr<FailingFactory>::Adopt(new FailingFactory());
    }
    void TearDown() override {
        plugin.reset();
        package.reset();
        ns.reset();
        unknown.reset();
        EXPECT_EQ(lib.Shutdown(), TV_S_OK) << "nothing kept the package alive";
        factory.reset();
    }
    const PackageEvents& events() { return *factory->inner().events(); }

    Library lib{TAGVERA_LIBRARY_PATH};
    ComPtr<IUnknown> unknown;
    ComPtr<IKMAPlugin> plugin;
    ComPtr<IKMAComponentPlugin> package;
    ComPtr<IKMAPluginNamespace> ns;
    ComPtr<FailingFactory> factory;
};

TEST_F(FailingHost, InitializePluginReturnsTheFailureOfEitherHostObject) {
    factory->failing = {CLSID_PackageLifetime};
    EXPECT_EQ(plugin->InitializePlugin(factory.get()), TV_E_OUTOFMEMORY);
    EXPECT_TRUE(events().calls.empty()) << "nothing registered, nothing configured";

    factory->failing = {CLSID_PackageRegistration};
    factory->failure = TV_E_FAIL;
    EXPECT_EQ(plugin->InitializePlugin(factory.get()), TV_E_FAIL);
    EXPECT_TRUE(events().calls.empty());
    EXPECT_EQ(events().liveLifetimeObjects, 1) << "the lifetime object is kept";

    // A try that succeeds replaces the objects and registers once.
    factory->failing.clear();
    EXPECT_EQ(plugin->InitializePlugin(factory.get()), TV_S_OK);
    EXPECT_EQ(events().calls, (std::vector<std::string>{"Register(tagvera)", "Configure(2000,1)"}));
    EXPECT_EQ(events().liveLifetimeObjects, 1);
    EXPECT_EQ(events().liveRegistrationObjects, 1);
}

TEST_F(FailingHost, ComponentInfoWithoutAValueListFails) {
    ASSERT_EQ(plugin->InitializePlugin(factory.get()), TV_S_OK);
    factory->failing = {CLSID_CZNHeader};
    factory->failure = TV_E_OUTOFMEMORY;
    ComPtr<IKMAValues> info;
    EXPECT_EQ(package->GetComponentInfo(2, info.put()), TV_E_FAIL);
    EXPECT_EQ(info.get(), nullptr);
}

TEST_F(FailingHost, ComponentInfoLeavesOutWhatCannotBeSet) {
    ASSERT_EQ(plugin->InitializePlugin(factory.get()), TV_S_OK);
    factory->failing = {CLSID_CZNBuffer};
    ComPtr<IKMAValues> info;
    ASSERT_EQ(package->GetComponentInfo(2, info.put()), TV_S_OK);
    const ValueSnapshot v = SnapshotValues(info.get());
    EXPECT_EQ(v.numbers, (std::vector<std::pair<std::string, uint32_t>>{{"LoadMultiple", 1}}));
    EXPECT_TRUE(v.buffers.empty());
    EXPECT_TRUE(v.strings.empty());
}

TEST_F(FailingHost, NamespaceFailures) {
    ASSERT_EQ(plugin->InitializePlugin(factory.get()), TV_S_OK);
    factory->failing = {CLSID_CZNBuffer};
    ComPtr<IKMABuffer> uri;
    EXPECT_EQ(ns->GetPluginNamespace(uri.put()), TV_E_FAIL) << "the factory's failure becomes E_FAIL";

    // A buffer that cannot be filled: released again, the fill's failure returned.
    factory->failing.clear();
    factory->sharedBuffers = true;
    EXPECT_EQ(ns->GetPluginNamespace(uri.put()), TV_E_NOCLASSFACTORY);
    EXPECT_EQ(uri.get(), nullptr);
    ASSERT_NE(factory->lastBuffer(), nullptr);
    EXPECT_EQ(factory->lastBuffer()->AddRef(), 2u) << "only the factory's own reference is left";
    factory->lastBuffer()->Release();
    EXPECT_EQ(ns->GetPluginNamespace(nullptr), TV_E_POINTER);
}

}  // namespace
