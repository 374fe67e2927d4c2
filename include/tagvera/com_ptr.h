// Owns one reference to an interface and releases it when it goes; for hosts and the library alike.
//
//     tagvera::ComPtr<IKMAValues> info;
//     if (tagvera::Succeeded(package->GetComponentInfo(2, info.put()))) ...
//     auto plugin = tagvera::QueryAs<IKMAPlugin>(unknown, tagvera::IID_IKMAPlugin);
#ifndef TAGVERA_COM_PTR_H
#define TAGVERA_COM_PTR_H

#include <cstddef>
#include <utility>

#include "tagvera/abi.h"

namespace tagvera {

template <class T>
class ComPtr {
public:
    ComPtr() noexcept = default;
    ComPtr(std::nullptr_t) noexcept {}
    ComPtr(const ComPtr& other) noexcept : p_(other.p_) {
        if (p_) p_->AddRef();
    }
    ComPtr(ComPtr&& other) noexcept : p_(std::exchange(other.p_, nullptr)) {}
    ComPtr& operator=(ComPtr other) noexcept {
        std::swap(p_, other.p_);
        return *this;
    }
    ~ComPtr() { reset(); }

    // Takes over a reference the caller already owns.
    static ComPtr Adopt(T* p) noexcept {
        ComPtr c;
        c.p_ = p;
        return c;
    }
    // Adds a reference of its own.
    static ComPtr Share(T* p) noexcept {
        if (p) p->AddRef();
        return Adopt(p);
    }

    T* get() const noexcept { return p_; }
    T* operator->() const noexcept { return p_; }
    explicit operator bool() const noexcept { return p_ != nullptr; }

    void reset() noexcept {
        if (T* p = std::exchange(p_, nullptr)) p->Release();
    }
    // Gives the reference away to the caller.
    [[nodiscard]] T* detach() noexcept { return std::exchange(p_, nullptr); }

    // For out-parameters: drops what is held and hands out the slot to fill.
    T** put() noexcept {
        reset();
        return &p_;
    }
    void** putVoid() noexcept {
        reset();
        return reinterpret_cast<void**>(&p_);
    }

    friend bool operator==(const ComPtr& a, const ComPtr& b) noexcept { return a.p_ == b.p_; }
    friend bool operator==(const ComPtr& a, std::nullptr_t) noexcept { return a.p_ == nullptr; }

private:
    T* p_ = nullptr;
};

// Asks any interface for another one; empty when the object does not answer iid.
template <class U, class T>
ComPtr<U> QueryAs(T* from, const GUID& iid) noexcept {
    void* raw = nullptr;
    if (!from || Failed(from->QueryInterface(iid, &raw)) || !raw) return {};
    return ComPtr<U>::Adopt(static_cast<U*>(raw));
}
template <class U, class T>
ComPtr<U> QueryAs(const ComPtr<T>& from, const GUID& iid) noexcept {
    return QueryAs<U>(from.get(), iid);
}

}  // namespace tagvera

#endif
