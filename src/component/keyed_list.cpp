#include "component/keyed_list.h"

#include "base/error.h"

namespace tagvera {

HRESULT CKMAUniquelyKeyedList::InternalQueryInterface(const GUID& iid, void** out) {
    if (!out) return TV_E_POINTER;
    if (iid == IID_IUnknown) return Hand(static_cast<CUnknownIMP*>(this), out);
    if (iid == IID_IKMAValues) return Hand(static_cast<IKMAValues*>(this), out);
    if (iid == IID_IKMAValuesRemove) return Hand(static_cast<IKMAValuesRemove*>(this), out);
    return NoInterface(out);
}

HRESULT TV_STDCALL CKMAUniquelyKeyedList::SetNumberValue(const char* name, uint32_t value) {
    if (!name) return TV_E_POINTER;
    return Guard([&] {
        numbers_.set(name, value);
        return TV_S_OK;
    });
}

HRESULT TV_STDCALL CKMAUniquelyKeyedList::GetNumberValue(const char* name, uint32_t* value) {
    if (!name || !value) return TV_E_POINTER;
    const uint32_t* found = numbers_.find(name);
    if (!found) return TV_E_FAIL;
    *value = *found;
    return TV_S_OK;
}

HRESULT TV_STDCALL CKMAUniquelyKeyedList::GetFirstNumberValue(const char** name, uint32_t* value) {
    if (!name || !value) return TV_E_POINTER;
    return numbers_.first(name, value) ? TV_S_OK : TV_E_FAIL;
}

HRESULT TV_STDCALL CKMAUniquelyKeyedList::GetNextNumberValue(const char** name, uint32_t* value) {
    if (!name || !value) return TV_E_POINTER;
    return numbers_.next(name, value) ? TV_S_OK : TV_E_FAIL;
}

HRESULT CKMAUniquelyKeyedList::setIn(CSimpleBufferMapStrCmp& list, const char* name, IKMABuffer* buffer) {
    if (!name) return TV_E_POINTER;
    if (!buffer) return TV_E_FAIL;
    return Guard([&] {
        list.set(name, buffer);
        return TV_S_OK;
    });
}

HRESULT CKMAUniquelyKeyedList::getFrom(const CSimpleBufferMapStrCmp& list, const char* name, IKMABuffer** buffer) {
    if (!name || !buffer) return TV_E_POINTER;
    *buffer = nullptr;
    IKMABuffer* const* found = list.find(name);
    if (!found) return TV_E_FAIL;
    (*found)->AddRef();
    *buffer = *found;
    return TV_S_OK;
}

HRESULT CKMAUniquelyKeyedList::walk(CSimpleBufferMapStrCmp& list, bool restart, const char** name,
                                    IKMABuffer** buffer) {
    if (!name || !buffer) return TV_E_POINTER;
    *buffer = nullptr;
    IKMABuffer* found = nullptr;
    if (!(restart ? list.first(name, &found) : list.next(name, &found))) return TV_E_FAIL;
    found->AddRef();
    *buffer = found;
    return TV_S_OK;
}

HRESULT TV_STDCALL CKMAUniquelyKeyedList::SetBufferValue(const char* name, IKMABuffer* buffer) {
    return setIn(buffers_, name, buffer);
}
HRESULT TV_STDCALL CKMAUniquelyKeyedList::GetBufferValue(const char* name, IKMABuffer** buffer) {
    return getFrom(buffers_, name, buffer);
}
HRESULT TV_STDCALL CKMAUniquelyKeyedList::GetFirstBufferValue(const char** name, IKMABuffer** buffer) {
    return walk(buffers_, true, name, buffer);
}
HRESULT TV_STDCALL CKMAUniquelyKeyedList::GetNextBufferValue(const char** name, IKMABuffer** buffer) {
    return walk(buffers_, false, name, buffer);
}
HRESULT TV_STDCALL CKMAUniquelyKeyedList::SetStringValue(const char* name, IKMABuffer* text) {
    return setIn(strings_, name, text);
}
HRESULT TV_STDCALL CKMAUniquelyKeyedList::GetStringValue(const char* name, IKMABuffer** text) {
    return getFrom(strings_, name, text);
}
HRESULT TV_STDCALL CKMAUniquelyKeyedList::GetFirstStringValue(const char** name, IKMABuffer** text) {
    return walk(strings_, true, name, text);
}
HRESULT TV_STDCALL CKMAUniquelyKeyedList::GetNextStringValue(const char** name, IKMABuffer** text) {
    return walk(strings_, false, name, text);
}

HRESULT TV_STDCALL CKMAUniquelyKeyedList::RemoveValue(const char* name) {
    if (!name) return TV_S_OK;
    numbers_.remove(name);
    buffers_.remove(name);
    strings_.remove(name);
    return TV_S_OK;
}
HRESULT TV_STDCALL CKMAUniquelyKeyedList::RemoveNumberValue(const char* name) {
    if (name) numbers_.remove(name);
    return TV_S_OK;
}
HRESULT TV_STDCALL CKMAUniquelyKeyedList::RemoveBufferValue(const char* name) {
    if (name) buffers_.remove(name);
    return TV_S_OK;
}
HRESULT TV_STDCALL CKMAUniquelyKeyedList::RemoveStringValue(const char* name) {
    if (name) strings_.remove(name);
    return TV_S_OK;
}

}  // namespace tagvera
