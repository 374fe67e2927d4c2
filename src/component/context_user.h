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

    HRESULT TV_STDCALL SetContext(IUnknown* context) override {
        if (context != context_) {
            IKMAClassFactory* next = nullptr;
            if (context) context->QueryInterface(IID_IKMAClassFactory, reinterpret_cast<void**>(&next));
            if (factory_) factory_->Release();
            factory_ = next;
            context_ = context;
        }
        return OnContextChanged();
    }
    virtual HRESULT OnContextChanged() { return TV_S_OK; }

    IKMAClassFactory* classFactory() const { return factory_; }

    // Creates a host object by class id through the host class factory.
    template <class Itf>
    HRESULT CreateThroughHost(const GUID& classId, const GUID& iid, Itf** out) const {
        if (!out) return TV_E_POINTER;
        *out = nullptr;
        if (!factory_) return TV_E_NOCLASSFACTORY;
        return factory_->CreateInstance(classId, nullptr, iid, reinterpret_cast<void**>(out));
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
    IUnknown* context_ = nullptr;  // compared only, never dereferenced after SetContext
};

}  // namespace tagvera

#endif
