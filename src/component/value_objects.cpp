#include "component/value_objects.h"

#include <cstring>
#include <limits>

#include "component/buffer.h"
#include "component/keyed_list.h"
#include "component/value_list.h"

namespace tagvera {

namespace {
template <class T, class Itf>
HRESULT Make(const GUID& iid, Itf** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    IUnknown* unknown = nullptr;
    HRESULT hr = CreateObject<T>(nullptr, &unknown);
    if (Failed(hr)) return hr;
    hr = unknown->QueryInterface(iid, reinterpret_cast<void**>(out));
    unknown->Release();
    if (Failed(hr)) *out = nullptr;
    return hr;
}
}  // namespace

HRESULT NewBuffer(IKMABuffer** out) { return Make<CZNBuffer>(IID_IKMABuffer, out); }

HRESULT NewBuffer(const void* data, uint32_t size, IKMABuffer** out) {
    HRESULT hr = NewBuffer(out);
    if (Failed(hr)) return hr;
    hr = (*out)->Set(static_cast<const uint8_t*>(data), size);
    if (Failed(hr)) {
        (*out)->Release();
        *out = nullptr;
    }
    return hr;
}

HRESULT NewTextBuffer(std::string_view text, IKMABuffer** out) {
    if (text.size() >= std::numeric_limits<uint32_t>::max()) {
        if (out) *out = nullptr;
        return TV_E_INVALIDARG;
    }
    HRESULT hr = NewBuffer(out);
    if (Failed(hr)) return hr;
    const auto size = static_cast<uint32_t>(text.size() + 1);
    hr = (*out)->SetSize(size);
    if (Succeeded(hr)) {
        uint8_t* p = (*out)->GetBuffer();
        if (!text.empty()) std::memcpy(p, text.data(), text.size());
        p[text.size()] = 0;
    } else {
        (*out)->Release();
        *out = nullptr;
    }
    return hr;
}

HRESULT NewValueList(IKMAValues** out) { return Make<CZNHeader>(IID_IKMAValues, out); }

HRESULT NewKeyedList(IKMAValues** out) { return Make<CKMAUniquelyKeyedList>(IID_IKMAValues, out); }

}  // namespace tagvera
