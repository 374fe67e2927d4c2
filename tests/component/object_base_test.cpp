// Reference counting, interface lookup, aggregation, two-phase creation and the context mixin.
#include <gtest/gtest.h>

#include <vector>

#include "component/context_user.h"
#include "component/managed_component.h"
#include "tagvera/com_ptr.h"
#include "tagvera/values.h"

using namespace tagvera;

namespace {

// Counts what the package hears.
struct PackageSpy final : IKCAPackage_ {
    int live = 0;
    int created = 0;
    int destroyed = 0;
    HRESULT TV_STDCALL ComponentCreated() override {
        ++live;
        ++created;
        return TV_S_OK;
    }
    HRESULT TV_STDCALL ComponentDestroyed() override {
        --live;
        ++destroyed;
        return TV_S_OK;
    }
};

// A plain IUnknown that counts its references, standing in for a host object.
struct CountedUnknown : IUnknown {
    int refs = 1;
    int queries = 0;
    IUnknown* answer = nullptr;  // what QueryInterface hands out for the class factory id
    HRESULT TV_STDCALL QueryInterface(const GUID& iid, void** out) override {
        ++queries;
        if (iid == IID_IUnknown) {
            *out = this;
            AddRef();
            return TV_S_OK;
        }
        if (iid == IID_IKMAClassFactory && answer) {
            *out = answer;
            answer->AddRef();
            return TV_S_OK;
        }
        *out = nullptr;
        return TV_E_NOINTERFACE;
    }
    uint32_t TV_STDCALL AddRef() override { return static_cast<uint32_t>(++refs); }
    uint32_t TV_STDCALL Release() override { return static_cast<uint32_t>(--refs); }
};

struct FakeFactory : IKMAClassFactory {
    int refs = 1;
    HRESULT TV_STDCALL QueryInterface(const GUID&, void** out) override {
        *out = nullptr;
        return TV_E_NOINTERFACE;
    }
    uint32_t TV_STDCALL AddRef() override { return static_cast<uint32_t>(++refs); }
    uint32_t TV_STDCALL Release() override { return static_cast<uint32_t>(--refs); }
    HRESULT TV_STDCALL CreateInstance(const GUID&, IUnknown*, const GUID&, void** out) override {
        *out = nullptr;
        return TV_E_FAIL;
    }
};

std::vector<const char*> g_events;

class Widget : public CUnknownIMP, public IKMABuffer, public CKCAContextUserMixin {
public:
    static bool failConstruct;
    int contextChanges = 0;

    ~Widget() override { g_events.push_back("~Widget"); }
    TV_IMPLEMENT_IUNKNOWN
    HRESULT InternalQueryInterface(const GUID& iid, void** out) override {
        if (!out) return TV_E_POINTER;
        if (iid == IID_IUnknown) return Hand(static_cast<CUnknownIMP*>(this), out);
        if (iid == IID_IKMABuffer) return Hand(static_cast<IKMABuffer*>(this), out);
        if (iid == IID_IKNContextUser) return Hand(static_cast<IKNContextUser*>(this), out);
        return NoInterface(out);
    }
    HRESULT FinalConstruct() override {
        g_events.push_back("FinalConstruct");
        return failConstruct ? TV_E_OUTOFMEMORY : TV_S_OK;
    }
    void FinalRelease() override {
        g_events.push_back("FinalRelease");
        // Taking and dropping a reference here must not destroy the object a second time.
        AddRef();
        Release();
    }
    HRESULT OnContextChanged() override {
        ++contextChanges;
        return TV_E_FAIL;  // ignored: SetContext always succeeds
    }

    HRESULT TV_STDCALL Get(uint8_t**, uint32_t*) override { return TV_E_NOTIMPL; }
    HRESULT TV_STDCALL Set(const uint8_t*, uint32_t) override { return TV_E_NOTIMPL; }
    HRESULT TV_STDCALL SetSize(uint32_t) override { return TV_E_NOTIMPL; }
    uint32_t TV_STDCALL GetSize() override { return 0; }
    uint8_t* TV_STDCALL GetBuffer() override { return nullptr; }
};
bool Widget::failConstruct = false;

class ObjectBase : public ::testing::Test {
protected:
    void SetUp() override {
        g_events.clear();
        Widget::failConstruct = false;
    }
    PackageSpy package;
};

TEST_F(ObjectBase, CreatorHandsOutOneReferenceAndTellsThePackage) {
    IUnknown* unknown = nullptr;
    ASSERT_EQ(CreateManagedComponent<Widget>(&package, nullptr, &unknown), TV_S_OK);
    ASSERT_NE(unknown, nullptr);
    EXPECT_EQ(package.live, 1);
    EXPECT_EQ(unknown->AddRef(), 2u);
    EXPECT_EQ(unknown->Release(), 1u);
    EXPECT_EQ(unknown->Release(), 0u);
    EXPECT_EQ(package.live, 0);
    EXPECT_EQ(g_events, (std::vector<const char*>{"FinalConstruct", "FinalRelease", "~Widget"}));

    g_events.clear();
    EXPECT_EQ(CreateManagedComponent<Widget>(&package, nullptr, nullptr), TV_E_POINTER);
    EXPECT_EQ(package.created, 1) << "a null out pointer creates nothing";
    EXPECT_TRUE(g_events.empty());
}

TEST_F(ObjectBase, FailedFinalConstructDestroysTheObjectAndStillCounts) {
    Widget::failConstruct = true;
    IUnknown* unknown = reinterpret_cast<IUnknown*>(0x1);
    EXPECT_EQ(CreateManagedComponent<Widget>(&package, nullptr, &unknown), TV_E_OUTOFMEMORY);
    EXPECT_EQ(unknown, nullptr);
    EXPECT_EQ(package.created, 1);
    EXPECT_EQ(package.destroyed, 1);
    // Destroyed without FinalRelease: it never lived.
    EXPECT_EQ(g_events, (std::vector<const char*>{"FinalConstruct", "~Widget"}));
}

TEST_F(ObjectBase, QueryInterfaceKeepsIdentityAndRefusesUnknownIds) {
    IUnknown* unknown = nullptr;
    ASSERT_EQ(CreateManagedComponent<Widget>(&package, nullptr, &unknown), TV_S_OK);
    auto owner = ComPtr<IUnknown>::Adopt(unknown);

    auto buffer = QueryAs<IKMABuffer>(owner, IID_IKMABuffer);
    ASSERT_TRUE(buffer);
    auto again = QueryAs<IUnknown>(buffer, IID_IUnknown);
    EXPECT_EQ(again.get(), unknown) << "IUnknown from any interface is the same pointer";

    void* out = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(unknown->QueryInterface(IID_IKMAValues, &out), TV_E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(unknown->QueryInterface(IID_IKMABuffer, nullptr), TV_E_POINTER);

    // An object already handed out cannot become part of an aggregate.
    auto* widget = static_cast<Widget*>(static_cast<CUnknownIMP*>(unknown));
    IUnknown* second = reinterpret_cast<IUnknown*>(0x1);
    EXPECT_EQ(widget->SetupAggregation(nullptr, &second), TV_E_FAIL);
    EXPECT_EQ(second, nullptr);
}

TEST_F(ObjectBase, AggregatedObjectDelegatesToItsOuterObject) {
    CountedUnknown outer;
    IUnknown* inner = nullptr;
    ASSERT_EQ(CreateManagedComponent<Widget>(&package, &outer, &inner), TV_S_OK);
    ASSERT_NE(inner, nullptr);

    // The inner unknown is the aggregate's own: it counts for itself.
    void* innerUnknown = nullptr;
    ASSERT_EQ(inner->QueryInterface(IID_IUnknown, &innerUnknown), TV_S_OK);
    EXPECT_EQ(innerUnknown, inner);
    EXPECT_EQ(inner->Release(), 1u);
    EXPECT_EQ(outer.refs, 1);

    // Interfaces of the object count on the outer object and ask it for other interfaces.
    IKMABuffer* buffer = nullptr;
    ASSERT_EQ(inner->QueryInterface(IID_IKMABuffer, reinterpret_cast<void**>(&buffer)), TV_S_OK);
    EXPECT_EQ(outer.refs, 2);
    buffer->AddRef();
    EXPECT_EQ(outer.refs, 3);
    buffer->Release();
    buffer->Release();
    EXPECT_EQ(outer.refs, 1);
    void* viaOuter = nullptr;
    const int queries = outer.queries;
    EXPECT_EQ(buffer->QueryInterface(IID_IUnknown, &viaOuter), TV_S_OK);
    EXPECT_EQ(outer.queries, queries + 1);
    EXPECT_EQ(viaOuter, &outer);
    outer.Release();

    // Dropping the inner unknown destroys the object, without FinalRelease.
    EXPECT_EQ(package.live, 1);
    EXPECT_EQ(inner->Release(), 0u);
    EXPECT_EQ(package.live, 0);
    EXPECT_EQ(g_events, (std::vector<const char*>{"FinalConstruct", "~Widget"}));
}

TEST_F(ObjectBase, SetContextTakesTheFactoryAndAlwaysSucceeds) {
    IUnknown* unknown = nullptr;
    ASSERT_EQ(CreateManagedComponent<Widget>(&package, nullptr, &unknown), TV_S_OK);
    auto* widget = static_cast<Widget*>(static_cast<CUnknownIMP*>(unknown));
    auto user = QueryAs<IKNContextUser>(unknown, IID_IKNContextUser);
    ASSERT_TRUE(user);

    FakeFactory factory;
    CountedUnknown context;
    context.answer = &factory;
    EXPECT_EQ(user->SetContext(&context), TV_S_OK);
    EXPECT_EQ(widget->classFactory(), &factory);
    EXPECT_EQ(factory.refs, 2);
    EXPECT_EQ(context.refs, 1) << "the context itself is not kept";

    // The same context again: the factory stays as it is, the hook still runs.
    EXPECT_EQ(user->SetContext(&context), TV_S_OK);
    EXPECT_EQ(factory.refs, 2);
    EXPECT_EQ(widget->contextChanges, 2);

    // A context without a factory: the old one is released and nothing is held.
    CountedUnknown bare;
    EXPECT_EQ(user->SetContext(&bare), TV_S_OK);
    EXPECT_EQ(widget->classFactory(), nullptr);
    EXPECT_EQ(factory.refs, 1);

    IKMAValues* values = reinterpret_cast<IKMAValues*>(0x1);
    EXPECT_EQ(widget->CreateThroughHost(IID_IKMAValues, IID_IKMAValues, &values), TV_E_NOCLASSFACTORY);
    EXPECT_EQ(values, nullptr);

    EXPECT_EQ(user->SetContext(&context), TV_S_OK);
    EXPECT_EQ(factory.refs, 2);
    EXPECT_EQ(user->SetContext(nullptr), TV_S_OK);
    EXPECT_EQ(factory.refs, 1);
    EXPECT_EQ(user->SetContext(&context), TV_S_OK);
    user.reset();
    unknown->Release();
    EXPECT_EQ(factory.refs, 1) << "the factory is released with the component";
}

}  // namespace
