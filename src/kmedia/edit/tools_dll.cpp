#include "kmedia/edit/tools_dll.h"

#include "kmedia/edit/km_ff2_reader.h"
#include "kmedia/edit/km_ff3_copy.h"
#include "kmedia/edit/km_ff_copy.h"
#include "tagvera/com_ptr.h"

namespace tagvera::kmedia {
namespace {

template <class T, class I>
HRESULT Create(const GUID& iid, I** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    ComPtr<IUnknown> object;
    if (const HRESULT hr = CreateObject<T>(nullptr, object.put()); Failed(hr)) return hr;
    return object->QueryInterface(iid, reinterpret_cast<void**>(out));
}

}  // namespace

HRESULT CToolsDLL::CreateReader(IKMAKMFF4Reader** out) { return Create<CKMFF2Reader>(IID_IKMAKMFF4Reader, out); }
HRESULT CToolsDLL::CreateCopier(IKMAKMFFCopy2** out) { return Create<CKMFFCopy>(IID_IKMAKMFFCopy2, out); }
HRESULT CToolsDLL::CreateDirectCopier(IKMAKMFFCopy2** out) { return Create<CKMFF3Copy>(IID_IKMAKMFFCopy2, out); }

}  // namespace tagvera::kmedia
