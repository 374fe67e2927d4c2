// The library's whole life as a host sees it, through the exported entry points of the built
// libtagvera.so: directory list, the one package, initialisation, the component table, component
// creation, busy/idle notifications and shutdown.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "host/component_info.h"
#include "host/guid_text.h"
#include "host/host_context.h"
#include "host/library.h"
#include "host/objects.h"
#include "tagvera/tagvera.h"

using namespace tagvera;
using namespace tagvera::host;

namespace {

// An outer object for aggregation, or a context without a class factory: counts references and
// answers only IUnknown.
struct Outer : IUnknown {
    int refs = 1;
    HRESULT TV_STDCALL QueryInterface(const GUID& iid, void** out) override {
        if (iid == IID_IUnknown) {
            *out = this;
            AddRef();
            return TV_S_OK;
        }
        *out = nullptr;
        return TV_E_NOINTERFACE;
    }
    tagvera::RefCount TV_STDCALL AddRef() override { return static_cast<tagvera::RefCount>(++refs); }
    tagvera::RefCount TV_STDCALL Release() override { return static_cast<tagvera::RefCount>(--refs); }
};

uint32_t RefCount(IUnknown* p) {
    p->AddRef();
    return p->Release();
}

class Lifecycle : public ::testing::Test {
protected:
    // A failed test may leave the library's reference behind; the next test loads afresh anyway.
    void TearDown() override { lib.Shutdown(); }
    Library lib{TAGVERA_LIBRARY_PATH};
};

TEST_F(Lifecycle, WholeLifeThroughTheEntryPoints) {
    EXPECT_EQ(lib.Shutdown(), TV_E_FAIL) << "no package yet";
    EXPECT_EQ(lib.SetAccessPath({{"DT_Codecs", "/opt/codecs"}, {"DT_Common", "C:\\common"}, {"DT_Plugins", ""}}), TV_S_OK);
    EXPECT_EQ(lib.SetAccessPathBlock("no equals sign\0DT_Codecs=/again\0\0"), TV_S_OK);
    EXPECT_EQ(lib.SetAccessPathBlock(nullptr), TV_S_OK);
    EXPECT_EQ(lib.CreateInstance(nullptr), TV_E_INVALIDARG);

    // Two calls: the same object, each with its own reference (plus the library's own).
    IUnknown* first = nullptr;
    IUnknown* second = nullptr;
    ASSERT_EQ(lib.CreateInstance(&first), TV_S_OK);
    ASSERT_EQ(lib.CreateInstance(&second), TV_S_OK);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, second);
    EXPECT_EQ(RefCount(first), 3u);
    second->Release();
    auto unknown = ComPtr<IUnknown>::Adopt(first);

    auto plugin = QueryAs<IKMAPlugin>(unknown, IID_IKMAPlugin);
    auto package = QueryAs<IKMAComponentPlugin>(unknown, IID_IKMAComponentPlugin);
    auto ns = QueryAs<IKMAPluginNamespace>(unknown, IID_IKMAPluginNamespace);
    ASSERT_TRUE(plugin && package && ns);

    // Before InitializePlugin there is no host factory to make values with.
    ComPtr<IKMAValues> info;
    EXPECT_EQ(package->GetComponentInfo(0, info.put()), TV_E_FAIL);
    ComPtr<IKMABuffer> uri;
    EXPECT_EQ(ns->GetPluginNamespace(uri.put()), TV_E_NOCLASSFACTORY);
    EXPECT_EQ(uri.get(), nullptr);

    Outer bare;
    EXPECT_EQ(plugin->InitializePlugin(nullptr), TV_E_POINTER);
    EXPECT_EQ(plugin->InitializePlugin(&bare), TV_E_NOINTERFACE);

    auto context = HostContext::Create();
    context->AttachPackage(package.get());
    ASSERT_EQ(plugin->InitializePlugin(context.get()), TV_S_OK);
    const PackageEvents& events = *context->events();
    EXPECT_EQ(events.calls, (std::vector<std::string>{"Register(tagvera)", "Configure(2000,1)"}));
    EXPECT_EQ(events.liveLifetimeObjects, 1);
    EXPECT_EQ(events.liveRegistrationObjects, 1);

    // Describing itself.
    bool loadMultiple = false;
    const char *description = nullptr, *rights = nullptr, *more = nullptr;
    uint32_t version = 0;
    ASSERT_EQ(plugin->DescribePlugin(&loadMultiple, &description, &rights, &more, &version), TV_S_OK);
    EXPECT_TRUE(loadMultiple);
    EXPECT_STREQ(description, "tagvera");
    EXPECT_GT(std::strlen(rights), 0u);
    EXPECT_STREQ(more, "");
    EXPECT_EQ(version, 282u);
    EXPECT_EQ(plugin->DescribePlugin(nullptr, &description, &rights, &more, &version), TV_E_POINTER);
    EXPECT_EQ(package->GetComponentCount(), 8);
    EXPECT_STREQ(package->GetPackageName(), "tagvera");
    ASSERT_EQ(ns->GetPluginNamespace(uri.put()), TV_S_OK);
    const std::string nsText = BufferText(uri.get());
    EXPECT_EQ(uri->GetSize(), nsText.size() + 1) << "the namespace carries its NUL";
    EXPECT_EQ(nsText.rfind("http", 0), 0u);

    // The rows, in their order and with their values, are the command's (components --json).
    ASSERT_EQ(package->GetComponentInfo(7, info.put()), TV_S_OK);
    EXPECT_EQ(package->GetComponentInfo(8, info.put()), TV_E_FAIL);
    EXPECT_EQ(info.get(), nullptr);
    EXPECT_EQ(package->GetComponentInfo(0, nullptr), TV_E_POINTER);

    // Creating components: built ones are new, independent objects; the rest are not implemented.
    EXPECT_FALSE(events.busy);
    for (const auto& row : kKnownComponents) {
        SCOPED_TRACE(row.className);
        ComPtr<IUnknown> a, b;
        const HRESULT hr = package->CreateComponent(*row.classId, a.put(), nullptr);
        if (hr == TV_E_NOTIMPL) {
            EXPECT_EQ(a.get(), nullptr);
            continue;
        }
        ASSERT_EQ(hr, TV_S_OK);
        EXPECT_TRUE(events.busy);
        ASSERT_EQ(package->CreateComponent(*row.classId, b.put(), nullptr), TV_S_OK);
        EXPECT_NE(a.get(), b.get());
        EXPECT_EQ(RefCount(a.get()), 1u);
        EXPECT_TRUE(QueryAs<IKNContextUser>(a, IID_IKNContextUser)) << "every component takes the host context";
        a.reset();
        EXPECT_TRUE(events.busy) << "one component still lives";
        b.reset();
        EXPECT_FALSE(events.busy);
    }
    {
        ComPtr<IUnknown> tree;
        EXPECT_EQ(package->CreateComponent(CLSID_CMPAMetaProperty, tree.put(), nullptr), TV_S_OK)
            << "the property tree is always built";
    }
    IUnknown* none = reinterpret_cast<IUnknown*>(0x1);
    EXPECT_EQ(package->CreateComponent(IID_IKMAPlugin, &none, nullptr), TV_E_FAIL);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(package->CreateComponent(CLSID_CMPAMetaProperty, nullptr, nullptr), TV_E_POINTER);

    // Shutdown while the host still holds references: refused, and the package stays usable.
    const int busyBefore = events.busyCount;
    EXPECT_EQ(lib.Shutdown(), TV_E_FAIL);
    EXPECT_EQ(events.busyCount, busyBefore + 1) << "shutdown tells the lifetime object it is busy";
    EXPECT_EQ(lib.Shutdown(), TV_E_FAIL) << "the library's own reference is gone already";
    EXPECT_EQ(package->GetComponentCount(), 8);

    // The last reference goes: the package unregisters and lets the host objects go.
    context->DetachPackage();
    plugin.reset();
    ns.reset();
    package.reset();
    info.reset();
    uri.reset();
    unknown.reset();
    EXPECT_EQ(events.calls.back(), "Unregister");
    EXPECT_EQ(events.liveLifetimeObjects, 0);
    EXPECT_EQ(events.liveRegistrationObjects, 0);
    EXPECT_EQ(lib.Shutdown(), TV_E_FAIL) << "no package any more";

    // A fresh package after shutdown: not initialised, and gone with KMAShutdown when alone.
    ComPtr<IUnknown> fresh;
    ASSERT_EQ(lib.CreateInstance(fresh.put()), TV_S_OK);
    auto freshPackage = QueryAs<IKMAComponentPlugin>(fresh, IID_IKMAComponentPlugin);
    EXPECT_EQ(freshPackage->GetComponentInfo(0, info.put()), TV_E_FAIL);
    freshPackage.reset();
    fresh.reset();
    EXPECT_EQ(lib.Shutdown(), TV_S_OK);
    EXPECT_EQ(lib.Shutdown(), TV_E_FAIL);
}

TEST_F(Lifecycle, ComponentsTakeAnOuterObjectAndKeepThePackageUntilTheyGo) {
    ComPtr<IUnknown> unknown;
    ASSERT_EQ(lib.CreateInstance(unknown.put()), TV_S_OK);
    for (const GUID* iid : {&IID_IKMAPlugin, &IID_IKMAComponentPlugin, &IID_IKMAPluginNamespace, &IID_IKMAToolServices}) {
        auto itf = QueryAs<IUnknown>(unknown, *iid);
        ASSERT_TRUE(itf);
        EXPECT_EQ(QueryAs<IUnknown>(itf, IID_IUnknown).get(), unknown.get()) << "one IUnknown from every interface";
    }
    void* out = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(unknown->QueryInterface(IID_IKMAValues, &out), TV_E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(unknown->QueryInterface(IID_IKNContextUser, &out), TV_E_NOINTERFACE);
    EXPECT_EQ(unknown->QueryInterface(IID_IKMAPlugin, nullptr), TV_E_POINTER);
    auto package = QueryAs<IKMAComponentPlugin>(unknown, IID_IKMAComponentPlugin);
    auto context = HostContext::Create();
    ASSERT_EQ(QueryAs<IKMAPlugin>(unknown, IID_IKMAPlugin)->InitializePlugin(context.get()), TV_S_OK);
    const PackageEvents& events = *context->events();

    // The outer object is passed on; the aggregation rules themselves are the component base's.
    Outer outer;
    IUnknown* inner = nullptr;
    ASSERT_EQ(package->CreateComponent(CLSID_CMPAMetaProperty, &inner, &outer), TV_S_OK);
    ASSERT_NE(inner, static_cast<IUnknown*>(&outer));
    IMPAMetaProperty* aggregated = nullptr;
    ASSERT_EQ(inner->QueryInterface(IID_IMPAMetaProperty, reinterpret_cast<void**>(&aggregated)), TV_S_OK);
    void* viaNode = nullptr;
    ASSERT_EQ(aggregated->QueryInterface(IID_IUnknown, &viaNode), TV_S_OK);
    EXPECT_EQ(viaNode, &outer);
    EXPECT_EQ(outer.refs, 3) << "the interface and the outer unknown count on the outer object";
    outer.Release();
    aggregated->Release();
    EXPECT_EQ(inner->Release(), 0u);
    EXPECT_FALSE(events.busy);

    ComPtr<IUnknown> tree;
    ASSERT_EQ(package->CreateComponent(CLSID_CMPAMetaProperty, tree.put(), nullptr), TV_S_OK);
    package.reset();
    unknown.reset();
    EXPECT_EQ(lib.Shutdown(), TV_E_FAIL) << "a live component still needs the package";
    EXPECT_TRUE(events.registered);
    auto node = QueryAs<IMPAMetaProperty>(tree, IID_IMPAMetaProperty);
    ASSERT_TRUE(node);
    EXPECT_EQ(node->SetName("still usable"), TV_S_OK);
    node.reset();
    tree.reset();
    EXPECT_FALSE(events.registered) << "the package went with its last component";
    EXPECT_EQ(events.calls.back(), "Unregister");
    EXPECT_EQ(events.liveLifetimeObjects, 0);
}

}  // namespace
