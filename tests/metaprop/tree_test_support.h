// Shared helpers of the property-tree tests: trees made standalone or through a counting host
// factory, and short readers for names, paths and values.
#ifndef TAGVERA_TESTS_METAPROP_TREE_TEST_SUPPORT_H
#define TAGVERA_TESTS_METAPROP_TREE_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <vector>

#include "metaprop/metaprop_component.h"
#include "tagvera/com_ptr.h"
#include "tagvera/metaprop.h"
#include "tagvera/plugin.h"
#include "tagvera/vocabulary.h"

namespace tagvera::testing {

using Node = ComPtr<IMPAMetaProperty>;

inline Node NewTree() {
    Node node;
    EXPECT_EQ(CreateStandaloneMetaProperty(node.put()), TV_S_OK);
    return node;
}

// Counts the components alive, as the package does.
class CountingPackage : public IKCAPackage_ {
public:
    HRESULT TV_STDCALL ComponentCreated() override {
        ++alive;
        ++created;
        return TV_S_OK;
    }
    HRESULT TV_STDCALL ComponentDestroyed() override {
        --alive;
        return TV_S_OK;
    }
    std::atomic<int> alive{0};
    std::atomic<int> created{0};
};

// A host context that is its own class factory; nodes are package components that get this context.
// failAfter makes every creation past that many fail, as a host out of memory would.
class FakeHost : public IKMAClassFactory {
public:
    explicit FakeHost(CountingPackage& package) : package_(package) {}

    HRESULT TV_STDCALL QueryInterface(const GUID& iid, void** out) override {
        if (iid == IID_IUnknown || iid == IID_IKMAClassFactory) {
            *out = static_cast<IKMAClassFactory*>(this);
            AddRef();
            return TV_S_OK;
        }
        *out = nullptr;
        return TV_E_NOINTERFACE;
    }
    tagvera::RefCount TV_STDCALL AddRef() override { return ++refs_; }
    tagvera::RefCount TV_STDCALL Release() override { return --refs_; }

    HRESULT TV_STDCALL CreateInstance(const GUID& classId, IUnknown* outer, const GUID& iid, void** out) override {
        *out = nullptr;
        if (classId != CLSID_CMPAMetaProperty) return TV_E_NOINTERFACE;
        if (failAfter >= 0 && creations >= failAfter) return TV_E_OUTOFMEMORY;
        ++creations;
        ComPtr<IUnknown> object;
        HRESULT hr = CreateMetaPropertyComponent(&package_, outer, object.put());
        if (Failed(hr)) return hr;
        if (auto user = QueryAs<IKNContextUser>(object, IID_IKNContextUser)) user->SetContext(this);
        return object->QueryInterface(iid, out);
    }

    Node NewTree() {
        Node node;
        EXPECT_EQ(CreateInstance(CLSID_CMPAMetaProperty, nullptr, IID_IMPAMetaProperty, node.putVoid()), TV_S_OK);
        return node;
    }

    int refs() const { return refs_; }
    int creations = 0;
    int failAfter = -1;

private:
    CountingPackage& package_;
    std::atomic<int> refs_{0};
};

// A field through its getter (zero when the getter fails).
template <class T>
T FieldOf(IMPAMetaProperty* node, HRESULT (TV_STDCALL IMPAMetaProperty::*get)(T*)) {
    T value{};
    (node->*get)(&value);
    return value;
}
inline std::string NameOf(IMPAMetaProperty* node) {
    const char* name = FieldOf(node, &IMPAMetaProperty::GetName);
    return name ? name : "";
}
inline std::string PathOf(IMPAMetaProperty* node) {
    const char* path = FieldOf(node, &IMPAMetaProperty::GetPath);
    return path ? path : "";
}
inline uint32_t TypeOf(IMPAMetaProperty* node) { return FieldOf(node, &IMPAMetaProperty::GetType); }
inline uint32_t FlagsOf(IMPAMetaProperty* node) { return FieldOf(node, &IMPAMetaProperty::GetFlags); }
inline uint32_t ChangedOf(IMPAMetaProperty* node) { return FieldOf(node, &IMPAMetaProperty::GetChanged); }

// The value as text without its NUL; "<none>" when the node has no value.
inline std::string TextOf(IMPAMetaProperty* node) {
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    if (Failed(node->GetValue(&data, &size))) return "<none>";
    return std::string(reinterpret_cast<const char*>(data), strnlen(reinterpret_cast<const char*>(data), size));
}

inline uint32_t NumberOf(IMPAMetaProperty* node) {
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    if (Failed(node->GetValue(&data, &size)) || size != 4) return 0xDEADBEEF;
    return data[0] | data[1] << 8 | data[2] << 16 | static_cast<uint32_t>(data[3]) << 24;
}

// How many children a name has; UINT32_MAX when the name is not there.
inline uint32_t CountOf(IMPAMetaProperty* node, const char* name) {
    uint32_t count = 0;
    return Succeeded(node->GetChildCount(name, &count)) ? count : UINT32_MAX;
}

inline Node Find(IMPAMetaProperty* node, const char* path) {
    Node found;
    node->FindFirstChild(path, found.put());
    return found;
}

inline Node FindByPath(IMPAMetaProperty* node, const char* path) {
    Node found;
    node->FindByPath(path, found.put());
    return found;
}

inline std::vector<std::string> ChildNames(IMPAMetaProperty* node) {
    std::vector<std::string> names;
    const char* name = nullptr;
    HRESULT hr = node->GetFirstChildName(&name);
    for (; hr == TV_S_OK; hr = node->GetNextChildName(&name)) names.push_back(name);
    EXPECT_EQ(hr, TV_E_PROP_ENDOFLIST);
    return names;
}

// Every child as "name=text" in enumeration order.
inline std::vector<std::string> Children(IMPAMetaProperty* node) {
    std::vector<std::string> out;
    Node child;
    for (HRESULT hr = node->GetFirstChild(child.put()); hr == TV_S_OK; hr = node->GetNextChild(child.put()))
        out.push_back(NameOf(child.get()) + "=" + TextOf(child.get()));
    return out;
}

inline uint32_t ParentCount(IMPAMetaProperty* node) {
    auto manager = QueryAs<IMPAMetaPropertyParentMgr>(node, IID_IMPAMetaPropertyParentMgr);
    uint32_t count = 0;
    if (manager) manager->GetParentCount(&count);
    return count;
}

inline Node AddText(IMPAMetaProperty* parent, const char* name, const char* text, bool replace = true,
                    uint32_t flags = 0) {
    Node node;
    EXPECT_TRUE(Succeeded(parent->AddText(name, text, flags, replace, node.put()))) << name;
    return node;
}

inline Node AddGroup(IMPAMetaProperty* parent, const char* name, uint32_t flags = 0) {
    Node node;
    EXPECT_TRUE(Succeeded(parent->AddGroup(name, flags, true, node.put()))) << name;
    return node;
}

// A node standing alone, not yet in any tree.
inline Node Loose(const char* name, uint32_t type, const char* text = nullptr, uint32_t flags = 0) {
    Node node = NewTree();
    node->SetName(name);
    node->SetType(type);
    node->SetFlags(flags);
    if (text) node->SetValue(reinterpret_cast<const uint8_t*>(text), static_cast<uint32_t>(std::strlen(text) + 1));
    return node;
}

// Links b after a in a same-name chain, as a host may do through IMPAMetaPropertyLinkedList.
inline void Chain(IMPAMetaProperty* a, IMPAMetaProperty* b) {
    auto link = QueryAs<IMPAMetaPropertyLinkedList>(a, IID_IMPAMetaPropertyLinkedList);
    auto next = QueryAs<IMPAMetaPropertyLinkedList>(b, IID_IMPAMetaPropertyLinkedList);
    ASSERT_TRUE(link && next);
    ASSERT_EQ(link->SetNext(next.get()), TV_S_OK);
}

}  // namespace tagvera::testing

#endif
