#include "metaprop/metaprop_component.h"

#include "component/managed_component.h"
#include "metaprop/meta_property.h"
#include "tagvera/com_ptr.h"

namespace tagvera {

HRESULT CreateMetaPropertyComponent(IKCAPackage_* package, IUnknown* outer, IUnknown** out) {
    return CreateManagedComponent<CMPAMetaProperty>(package, outer, out);
}

HRESULT CreateStandaloneMetaProperty(IMPAMetaProperty** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    ComPtr<IUnknown> object;
    const HRESULT hr = CreateManagedComponent<CMPAMetaProperty>(nullptr, nullptr, object.put());
    if (Failed(hr)) return hr;
    return object->QueryInterface(IID_IMPAMetaProperty, reinterpret_cast<void**>(out));
}

}  // namespace tagvera
