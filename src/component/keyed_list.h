// CKMAUniquelyKeyedList: a value list kept in insertion order with case-sensitive names, one
// singly linked list per kind, so the same name can carry a number, a buffer and a string apart.
// The KorvaMedia code keeps file header values in it.
#ifndef TAGVERA_COMPONENT_KEYED_LIST_H
#define TAGVERA_COMPONENT_KEYED_LIST_H

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "component/unknown.h"
#include "tagvera/values.h"

namespace tagvera {

// One kind's list. An index beside the chain keeps lookups constant-time, so a file with many
// values does not make filling the list quadratic.
template <class Value, class Holding>
class CSimpleMapStrCmp {
public:
    CSimpleMapStrCmp() = default;
    ~CSimpleMapStrCmp() { clear(); }
    CSimpleMapStrCmp(const CSimpleMapStrCmp&) = delete;
    CSimpleMapStrCmp& operator=(const CSimpleMapStrCmp&) = delete;

    const Value* find(std::string_view name) const {
        auto it = index_.find(name);
        return it == index_.end() ? nullptr : &it->second->value;
    }

    // Replaces the value of an existing name in place, else appends; the old value goes after
    // the new one is held (they may be the same object).
    void set(std::string_view name, Value value) {
        auto it = index_.find(name);
        if (it != index_.end()) {
            Holding::hold(value);
            Value old = it->second->value;
            it->second->value = value;
            Holding::drop(old);
            return;
        }
        Node* node = new Node{std::string(name), value, nullptr};
        try {
            index_.emplace(std::string_view(node->name), node);
        } catch (...) {
            delete node;
            throw;
        }
        Holding::hold(value);
        (tail_ ? tail_->next : head_) = node;
        tail_ = node;
    }

    void remove(std::string_view name) {
        auto it = index_.find(name);
        if (it == index_.end()) return;
        Node* node = it->second;
        index_.erase(it);
        Node* previous = nullptr;
        for (Node* n = head_; n != node; n = n->next) previous = n;
        (previous ? previous->next : head_) = node->next;
        if (tail_ == node) tail_ = previous;
        if (cursor_ == node) cursor_ = node->next;
        Holding::drop(node->value);
        delete node;
    }

    // Walks in insertion order; null at the end.
    bool first(const char** name, Value* value) {
        cursor_ = head_;
        return next(name, value);
    }
    bool next(const char** name, Value* value) {
        if (!cursor_) return false;
        *name = cursor_->name.c_str();
        *value = cursor_->value;
        cursor_ = cursor_->next;
        return true;
    }

private:
    struct Node {
        std::string name;
        Value value;
        Node* next;
    };

    void clear() {
        index_.clear();
        // Iterative, so a long list cannot exhaust the stack.
        for (Node* n = head_; n;) {
            Node* following = n->next;
            Holding::drop(n->value);
            delete n;
            n = following;
        }
        head_ = tail_ = cursor_ = nullptr;
    }

    Node* head_ = nullptr;
    Node* tail_ = nullptr;
    Node* cursor_ = nullptr;  // the next node an enumeration hands out
    std::unordered_map<std::string_view, Node*> index_;
};

struct HoldNothing {
    static void hold(uint32_t) {}
    static void drop(uint32_t) {}
};
struct HoldReference {
    static void hold(IKMABuffer* b) { b->AddRef(); }
    static void drop(IKMABuffer* b) { b->Release(); }
};

using CSimpleUlongMapStrCmp = CSimpleMapStrCmp<uint32_t, HoldNothing>;
using CSimpleBufferMapStrCmp = CSimpleMapStrCmp<IKMABuffer*, HoldReference>;

class CKMAUniquelyKeyedList : public CUnknownIMP, public IKMAValues, public IKMAValuesRemove {
public:
    TV_IMPLEMENT_IUNKNOWN
    HRESULT InternalQueryInterface(const GUID& iid, void** out) override;

    HRESULT TV_STDCALL SetNumberValue(const char* name, uint32_t value) override;
    HRESULT TV_STDCALL GetNumberValue(const char* name, uint32_t* value) override;
    HRESULT TV_STDCALL GetFirstNumberValue(const char** name, uint32_t* value) override;
    HRESULT TV_STDCALL GetNextNumberValue(const char** name, uint32_t* value) override;
    HRESULT TV_STDCALL SetBufferValue(const char* name, IKMABuffer* buffer) override;
    HRESULT TV_STDCALL GetBufferValue(const char* name, IKMABuffer** buffer) override;
    HRESULT TV_STDCALL GetFirstBufferValue(const char** name, IKMABuffer** buffer) override;
    HRESULT TV_STDCALL GetNextBufferValue(const char** name, IKMABuffer** buffer) override;
    HRESULT TV_STDCALL SetStringValue(const char* name, IKMABuffer* text) override;
    HRESULT TV_STDCALL GetStringValue(const char* name, IKMABuffer** text) override;
    HRESULT TV_STDCALL GetFirstStringValue(const char** name, IKMABuffer** text) override;
    HRESULT TV_STDCALL GetNextStringValue(const char** name, IKMABuffer** text) override;

    HRESULT TV_STDCALL RemoveValue(const char* name) override;
    HRESULT TV_STDCALL RemoveNumberValue(const char* name) override;
    HRESULT TV_STDCALL RemoveBufferValue(const char* name) override;
    HRESULT TV_STDCALL RemoveStringValue(const char* name) override;

private:
    static HRESULT setIn(CSimpleBufferMapStrCmp& list, const char* name, IKMABuffer* buffer);
    static HRESULT getFrom(const CSimpleBufferMapStrCmp& list, const char* name, IKMABuffer** buffer);
    static HRESULT walk(CSimpleBufferMapStrCmp& list, bool restart, const char** name, IKMABuffer** buffer);

    CSimpleUlongMapStrCmp numbers_;
    CSimpleBufferMapStrCmp buffers_;
    CSimpleBufferMapStrCmp strings_;
};

}  // namespace tagvera

#endif
