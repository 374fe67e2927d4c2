#include "mediaplatform/host_values.h"

#include <string>

namespace tagvera::mediaplatform {

ComPtr<IKMAValues> NewValues(IKMAClassFactory* factory) {
    ComPtr<IKMAValues> values;
    if (!factory || Failed(factory->CreateInstance(CLSID_CZNHeader, nullptr, IID_IKMAValues, values.putVoid())))
        values.reset();
    return values;
}

HRESULT SetString(IKMAClassFactory* factory, IKMAValues* values, const char* name, std::string_view text) {
    ComPtr<IKMABuffer> buffer;
    if (!factory) return TV_E_NOCLASSFACTORY;
    if (const HRESULT hr = factory->CreateInstance(CLSID_CZNBuffer, nullptr, IID_IKMABuffer, buffer.putVoid());
        Failed(hr) || !buffer)
        return Failed(hr) ? hr : TV_E_OUTOFMEMORY;
    const std::string withNul(text);
    if (const HRESULT hr = buffer->Set(reinterpret_cast<const uint8_t*>(withNul.c_str()),
                                       static_cast<uint32_t>(withNul.size() + 1));
        Failed(hr))
        return hr;
    return values->SetStringValue(name, buffer.get());
}

}  // namespace tagvera::mediaplatform
