#include "interrogate/format_proxy.h"

namespace tagvera::interrogate {

HRESULT FmtProxy::QueryInterface(const GUID& iid, void** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    if (iid != IID_IUnknown && iid != IID_IKMAFormatResponse) return TV_E_NOINTERFACE;
    *out = static_cast<IKMAFormatResponse*>(this);
    AddRef();
    return TV_S_OK;
}

RefCount FmtProxy::Release() {
    const uint32_t left = --refs_;
    if (left == 0) delete this;
    return left;
}

HRESULT FmtProxy::InitDone(HRESULT) {
    if (target_) target_->OnInitDone();
    return TV_S_OK;
}

HRESULT FmtProxy::FileHeaderReady(HRESULT status, IKMAValues* header) {
    if (target_) target_->OnFileHeader(status, header);
    return TV_S_OK;
}

HRESULT FmtProxy::StreamHeaderReady(HRESULT status, IKMAValues* header) {
    if (target_) target_->OnStreamHeader(status, header);
    return TV_S_OK;
}

}  // namespace tagvera::interrogate
