// The host's keyed list: insertion order, case-sensitive names, one list per kind.
#include <list>
#include <new>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "host/objects.h"
#include "host/ref_counted.h"

namespace tagvera::host {

namespace {

template <class V>
class KindList {
public:
    ~KindList() {
        for (auto& n : nodes_) drop(n.value);
    }
    const V* find(std::string_view name) const {
        auto it = index_.find(name);
        return it == index_.end() ? nullptr : &it->second->value;
    }
    void set(std::string_view name, V value) {
        auto it = index_.find(name);
        if (it != index_.end()) {
            hold(value);
            V old = std::exchange(it->second->value, value);
            drop(old);
            return;
        }
        nodes_.push_back({std::string(name), value});
        auto node = std::prev(nodes_.end());
        try {
            index_.emplace(node->name, node);
        } catch (...) {
            nodes_.pop_back();
            throw;
        }
        hold(value);
    }
    void remove(std::string_view name) {
        auto it = index_.find(name);
        if (it == index_.end()) return;
        auto node = it->second;
        index_.erase(it);
        if (cursor_ == node) ++cursor_;
        drop(node->value);
        nodes_.erase(node);
    }
    bool next(const char** name, V* value, bool restart) {
        if (restart) cursor_ = nodes_.begin();
        if (cursor_ == nodes_.end()) return false;
        *name = cursor_->name.c_str();
        *value = cursor_->value;
        ++cursor_;
        return true;
    }

private:
    struct Node {
        std::string name;
        V value;
    };
    static void hold(uint32_t) {}
    static void drop(uint32_t) {}
    static void hold(IKMABuffer* b) { b->AddRef(); }
    static void drop(IKMABuffer* b) { b->Release(); }

    std::list<Node> nodes_;
    std::unordered_map<std::string_view, typename std::list<Node>::iterator> index_;
    // The next node an enumeration hands out; end() stays end() when nodes are appended.
    typename std::list<Node>::iterator cursor_ = nodes_.end();
};

class HostKeyedList final : public RefCounted<IKMAValues, IKMAValuesRemove> {
public:
    HRESULT TV_STDCALL SetNumberValue(const char* name, uint32_t value) override {
        if (!name) return TV_E_POINTER;
        return Guarded([&] { numbers_.set(name, value); });
    }
    HRESULT TV_STDCALL GetNumberValue(const char* name, uint32_t* value) override {
        if (!name || !value) return TV_E_POINTER;
        const uint32_t* found = numbers_.find(name);
        if (!found) return TV_E_FAIL;
        *value = *found;
        return TV_S_OK;
    }
    HRESULT TV_STDCALL GetFirstNumberValue(const char** name, uint32_t* value) override {
        if (!name || !value) return TV_E_POINTER;
        return numbers_.next(name, value, true) ? TV_S_OK : TV_E_FAIL;
    }
    HRESULT TV_STDCALL GetNextNumberValue(const char** name, uint32_t* value) override {
        if (!name || !value) return TV_E_POINTER;
        return numbers_.next(name, value, false) ? TV_S_OK : TV_E_FAIL;
    }
    HRESULT TV_STDCALL SetBufferValue(const char* name, IKMABuffer* b) override { return Set(buffers_, name, b); }
    HRESULT TV_STDCALL GetBufferValue(const char* name, IKMABuffer** b) override { return Get(buffers_, name, b); }
    HRESULT TV_STDCALL GetFirstBufferValue(const char** name, IKMABuffer** b) override { return Next(buffers_, name, b, true); }
    HRESULT TV_STDCALL GetNextBufferValue(const char** name, IKMABuffer** b) override { return Next(buffers_, name, b, false); }
    HRESULT TV_STDCALL SetStringValue(const char* name, IKMABuffer* b) override { return Set(strings_, name, b); }
    HRESULT TV_STDCALL GetStringValue(const char* name, IKMABuffer** b) override { return Get(strings_, name, b); }
    HRESULT TV_STDCALL GetFirstStringValue(const char** name, IKMABuffer** b) override { return Next(strings_, name, b, true); }
    HRESULT TV_STDCALL GetNextStringValue(const char** name, IKMABuffer** b) override { return Next(strings_, name, b, false); }

    HRESULT TV_STDCALL RemoveValue(const char* name) override {
        if (name) {
            numbers_.remove(name);
            buffers_.remove(name);
            strings_.remove(name);
        }
        return TV_S_OK;
    }
    HRESULT TV_STDCALL RemoveNumberValue(const char* name) override {
        if (name) numbers_.remove(name);
        return TV_S_OK;
    }
    HRESULT TV_STDCALL RemoveBufferValue(const char* name) override {
        if (name) buffers_.remove(name);
        return TV_S_OK;
    }
    HRESULT TV_STDCALL RemoveStringValue(const char* name) override {
        if (name) strings_.remove(name);
        return TV_S_OK;
    }

private:
    void* find(const GUID& iid) override {
        if (iid == IID_IKMAValues) return static_cast<IKMAValues*>(this);
        if (iid == IID_IKMAValuesRemove) return static_cast<IKMAValuesRemove*>(this);
        return nullptr;
    }

    static HRESULT Set(KindList<IKMABuffer*>& list, const char* name, IKMABuffer* b) {
        if (!name) return TV_E_POINTER;
        if (!b) return TV_E_FAIL;
        return Guarded([&] { list.set(name, b); });
    }
    static HRESULT Get(const KindList<IKMABuffer*>& list, const char* name, IKMABuffer** b) {
        if (!name || !b) return TV_E_POINTER;
        *b = nullptr;
        IKMABuffer* const* found = list.find(name);
        if (!found) return TV_E_FAIL;
        *b = *found;
        (*b)->AddRef();
        return TV_S_OK;
    }
    static HRESULT Next(KindList<IKMABuffer*>& list, const char** name, IKMABuffer** b, bool restart) {
        if (!name || !b) return TV_E_POINTER;
        *b = nullptr;
        IKMABuffer* found = nullptr;
        if (!list.next(name, &found, restart)) return TV_E_FAIL;
        *b = found;
        found->AddRef();
        return TV_S_OK;
    }

    KindList<uint32_t> numbers_;
    KindList<IKMABuffer*> buffers_;
    KindList<IKMABuffer*> strings_;
};

}  // namespace

HRESULT NewHostKeyedList(IKMAValues** out) {
    if (!out) return TV_E_POINTER;
    *out = new (std::nothrow) HostKeyedList();
    return *out ? TV_S_OK : TV_E_OUTOFMEMORY;
}

}  // namespace tagvera::host
