// Holds the host class factory taken from the host context, and creates objects through it.
#ifndef TAGVERA_COMPONENT_CONTEXT_USER_H
#define TAGVERA_COMPONENT_CONTEXT_USER_H

#include "tagvera/plugin.h"

namespace tagvera {

class CKCAContextUserMixin : public IKNContextUser {
public:
    CKCAContextUserMixin() = default;
    virtual ~CKCAContextUserMixin() {
        if (factory_) factory_->Release();
    }

    // The context is asked every time rather than remembered by address: a host may free one
    // context and make another at the same place. The factory it answers is what is compared.
    HRESULT TV_STDCALL SetContext(IUnknown* context) override {
        IKMAClassFactory* next = nullptr;
        if (context && Failed(context->QueryInterface(IID_IKMAClassFactory, reinterpret_cast<void**>(&next))))
            next = nullptr;
        if (next == factory_) {
            if (next) next->Release();
        } else {
            IKMAClassFactory* previous = factory_;
            factory_ = next;
            if (previous) previous->Release();
        }
        OnContextChanged();
        return TV_S_OK;
    }
    virtual HRESULT OnContextChanged() { return TV_S_OK; }

    IKMAClassFactory* classFactory() const { return factory_; }

    // Creates a host object by class id through the host class factory.
    template <class Itf>
    HRESULT CreateThroughHost(const GUID& classId, const GUID& iid, Itf** out) const {
        if (!out) return TV_E_POINTER;
        *out = nullptr;
        if (!factory_) return TV_E_NOCLASSFACTORY;
        const HRESULT hr = factory_->CreateInstance(classId, nullptr, iid, reinterpret_cast<void**>(out));
        if (Failed(hr)) *out = nullptr;
        return hr;
    }

    CKCAContextUserMixin(const CKCAContextUserMixin&) = delete;
    CKCAContextUserMixin& operator=(const CKCAContextUserMixin&) = delete;

protected:
    // For objects made by another component that already holds the factory (children of a tree).
    void AdoptFactory(IKMAClassFactory* factory) {
        if (factory) factory->AddRef();
        if (factory_) factory_->Release();
        factory_ = factory;
    }

private:
    IKMAClassFactory* factory_ = nullptr;
};

}  // namespace tagvera

#endif
