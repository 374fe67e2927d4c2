// Reference counting, interface lookup, aggregation, two-phase creation and the context mixin.
#include <gtest/gtest.h>

#include <vector>

#include "component/context_user.h"
#include "component/managed_component.h"
#include "tagvera/com_ptr.h"
#include "tagvera/mp3.h"
#include "tagvera/values.h"

using namespace tagvera;

namespace {

// Counts what the package hears.
struct PackageSpy final : IKCAPackage_ {
    int live = 0, created = 0, destroyed = 0;
    HRESULT TV_STDCALL ComponentCreated() override { return ++live, ++created, TV_S_OK; }
    HRESULT TV_STDCALL ComponentDestroyed() override { return --live, ++destroyed, TV_S_OK; }
};

// A host object that counts its references; answers the class factory id with `factory`, if set.
template <class Base = IUnknown>
struct Counted : Base {
    int refs = 1, queries = 0;
    IKMAClassFactory* factory = nullptr;
    HRESULT TV_STDCALL QueryInterface(const GUID& iid, void** out) override {
        ++queries;
        IUnknown* answer = iid == IID_IUnknown ? static_cast<IUnknown*>(this)
                          : iid == IID_IKMAClassFactory ? factory : nullptr;
        *out = answer;
        if (!answer) return TV_E_NOINTERFACE;
        answer->AddRef();
        return TV_S_OK;
    }
    tagvera::RefCount TV_STDCALL AddRef() override { return static_cast<tagvera::RefCount>(++refs); }
    tagvera::RefCount TV_STDCALL Release() override { return static_cast<tagvera::RefCount>(--refs); }
};

struct FakeFactory : Counted<IKMAClassFactory> {
    HRESULT TV_STDCALL CreateInstance(const GUID&, IUnknown*, const GUID&, void** out) override {
        *out = nullptr;
        return TV_E_FAIL;
    }
};

std::vector<const char*> g_events;

class Widget : public CUnknownIMP, public IMPAWriteReport, public CKCAContextUserMixin {
public:
    static bool failConstruct;
    int contextChanges = 0;

    ~Widget() override { g_events.push_back("~Widget"); }
    TV_IMPLEMENT_IUNKNOWN
    HRESULT InternalQueryInterface(const GUID& iid, void** out) override {
        if (!out) return TV_E_POINTER;
        if (iid == IID_IUnknown) return Hand(static_cast<CUnknownIMP*>(this), out);
        if (iid == IID_IMPAWriteReport) return Hand(static_cast<IMPAWriteReport*>(this), out);
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
    HRESULT TV_STDCALL GetWriteReport(char*, uint32_t*) override { return TV_E_NOTIMPL; }
};
bool Widget::failConstruct = false;

class ObjectBase : public ::testing::Test {
protected:
    void SetUp() override {
        g_events.clear();
        Widget::failConstruct = false;
    }
    IUnknown* Make(IUnknown* outer = nullptr) {
        IUnknown* unknown = nullptr;
        EXPECT_EQ(CreateManagedComponent<Widget>(&package, outer, &unknown), TV_S_OK);
        return unknown;
    }
    PackageSpy package;
};

TEST_F(ObjectBase, CreatorHandsOutOneReferenceAndTellsThePackage) {
    IUnknown* unknown = Make();
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

    // A failed FinalConstruct destroys the object without FinalRelease: it never lived.
    Widget::failConstruct = true;
    unknown = reinterpret_cast<IUnknown*>(0x1);
    EXPECT_EQ(CreateManagedComponent<Widget>(&package, nullptr, &unknown), TV_E_OUTOFMEMORY);
    EXPECT_EQ(unknown, nullptr);
    EXPECT_EQ(package.created - package.destroyed, 0);
    EXPECT_EQ(g_events, (std::vector<const char*>{"FinalConstruct", "~Widget"}));
}

TEST_F(ObjectBase, QueryInterfaceKeepsIdentityAndRefusesUnknownIds) {
    auto owner = ComPtr<IUnknown>::Adopt(Make());
    auto report = QueryAs<IMPAWriteReport>(owner, IID_IMPAWriteReport);
    ASSERT_TRUE(report);
    EXPECT_EQ(QueryAs<IUnknown>(report, IID_IUnknown).get(), owner.get()) << "one IUnknown from any interface";
    void* out = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(owner->QueryInterface(IID_IKMAValues, &out), TV_E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(owner->QueryInterface(IID_IMPAWriteReport, nullptr), TV_E_POINTER);

    // An object already handed out cannot become part of an aggregate.
    IUnknown* second = reinterpret_cast<IUnknown*>(0x1);
    EXPECT_EQ(static_cast<Widget*>(static_cast<CUnknownIMP*>(owner.get()))->SetupAggregation(nullptr, &second),
              TV_E_FAIL);
    EXPECT_EQ(second, nullptr);
}

TEST_F(ObjectBase, AggregatedObjectDelegatesToItsOuterObject) {
    Counted<> outer;
    IUnknown* inner = Make(&outer);
    ASSERT_NE(inner, nullptr);
    // The inner unknown is the aggregate's own: it counts for itself.
    void* innerUnknown = nullptr;
    ASSERT_EQ(inner->QueryInterface(IID_IUnknown, &innerUnknown), TV_S_OK);
    EXPECT_EQ(innerUnknown, inner);
    EXPECT_EQ(inner->Release(), 1u);
    EXPECT_EQ(outer.refs, 1);

    // Interfaces of the object count on the outer object and ask it for other interfaces.
    IMPAWriteReport* report = nullptr;
    ASSERT_EQ(inner->QueryInterface(IID_IMPAWriteReport, reinterpret_cast<void**>(&report)), TV_S_OK);
    report->AddRef();
    EXPECT_EQ(outer.refs, 3);
    report->Release();
    report->Release();
    EXPECT_EQ(outer.refs, 1);
    void* viaOuter = nullptr;
    const int queries = outer.queries;
    EXPECT_EQ(report->QueryInterface(IID_IUnknown, &viaOuter), TV_S_OK);
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
    IUnknown* unknown = Make();
    auto* widget = static_cast<Widget*>(static_cast<CUnknownIMP*>(unknown));
    auto user = QueryAs<IKNContextUser>(unknown, IID_IKNContextUser);
    ASSERT_TRUE(user);
    FakeFactory factory;
    Counted<> context, bare;
    context.factory = &factory;
    EXPECT_EQ(user->SetContext(&context), TV_S_OK);
    EXPECT_EQ(widget->classFactory(), &factory);
    EXPECT_EQ(factory.refs, 2);
    EXPECT_EQ(context.refs, 1) << "the context itself is not kept";
    // The same context again: the factory stays as it is, the hook still runs.
    EXPECT_EQ(user->SetContext(&context), TV_S_OK);
    EXPECT_EQ(factory.refs, 2);
    EXPECT_EQ(widget->contextChanges, 2);
    // A context without a factory: the old one is released and nothing is held.
    EXPECT_EQ(user->SetContext(&bare), TV_S_OK);
    EXPECT_EQ(widget->classFactory(), nullptr);
    EXPECT_EQ(factory.refs, 1);
    IKMAValues* values = reinterpret_cast<IKMAValues*>(0x1);
    EXPECT_EQ(widget->CreateThroughHost(IID_IKMAValues, IID_IKMAValues, &values), TV_E_NOCLASSFACTORY);
    EXPECT_EQ(values, nullptr);

    EXPECT_EQ(user->SetContext(&context), TV_S_OK);
    EXPECT_EQ(user->SetContext(nullptr), TV_S_OK);
    EXPECT_EQ(factory.refs, 1);
    EXPECT_EQ(user->SetContext(&context), TV_S_OK);
    user.reset();
    unknown->Release();
    EXPECT_EQ(factory.refs, 1) << "the factory is released with the component";
}

}  // namespace
