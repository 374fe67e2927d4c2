#include "component/value_list.h"

#include <algorithm>
#include <string_view>

#include "base/error.h"
#include "platform/text.h"

namespace tagvera {

CZNHeader::Entry::~Entry() {
    if (buffer) buffer->Release();
    if (string) string->Release();
}

bool CZNHeader::Entry::has(Kind kind) const {
    switch (kind) {
        case kNumber: return hasNumber;
        case kBuffer: return buffer != nullptr;
        case kString: return string != nullptr;
        default: return false;
    }
}

CZNHeader::~CZNHeader() = default;

HRESULT CZNHeader::InternalQueryInterface(const GUID& iid, void** out) {
    if (!out) return TV_E_POINTER;
    if (iid == IID_IUnknown) return Hand(static_cast<CUnknownIMP*>(this), out);
    if (iid == IID_IKMAValues) return Hand(static_cast<IKMAValues*>(this), out);
    return NoInterface(out);
}

size_t CZNHeader::lowerBound(std::string_view key) const {
    auto it = std::lower_bound(entries_.begin(), entries_.end(), key,
                               [](const auto& e, std::string_view k) { return text::CompareNoCase(e->name, k) < 0; });
    return static_cast<size_t>(it - entries_.begin());
}

CZNHeader::Entry* CZNHeader::find(const char* name) const {
    const size_t at = lowerBound(name);
    if (at == entries_.size() || !text::EqualsNoCase(entries_[at]->name, name)) return nullptr;
    return entries_[at].get();
}

CZNHeader::Entry& CZNHeader::findOrInsert(const char* name) {
    const std::string_view key(name);
    const size_t at = lowerBound(key);
    if (at < entries_.size() && text::EqualsNoCase(entries_[at]->name, key)) return *entries_[at];
    auto entry = std::make_unique<Entry>();
    entry->name.assign(key);
    Entry& added = *entry;
    entries_.insert(entries_.begin() + static_cast<std::ptrdiff_t>(at), std::move(entry));
    // An entry added behind a running enumeration must not make it see one entry twice.
    for (size_t& c : cursor_)
        if (at < c) ++c;
    return added;
}

HRESULT TV_STDCALL CZNHeader::SetNumberValue(const char* name, uint32_t value) {
    if (!name) return TV_E_POINTER;
    return Guard([&] {
        Entry& e = findOrInsert(name);
        e.number = value;
        e.hasNumber = true;
        return TV_S_OK;
    });
}

HRESULT TV_STDCALL CZNHeader::GetNumberValue(const char* name, uint32_t* value) {
    if (!name || !value) return TV_E_POINTER;
    const Entry* e = find(name);
    if (!e || !e->hasNumber) return TV_E_FAIL;
    *value = e->number;
    return TV_S_OK;
}

CZNHeader::Entry* CZNHeader::advance(Kind kind, bool restart) {
    size_t& c = cursor_[kind];
    if (restart) c = 0;
    while (c < entries_.size()) {
        Entry* e = entries_[c++].get();
        if (e->has(kind)) return e;
    }
    return nullptr;
}

HRESULT TV_STDCALL CZNHeader::GetFirstNumberValue(const char** name, uint32_t* value) {
    if (!name || !value) return TV_E_POINTER;
    const Entry* e = advance(kNumber, true);
    if (!e) return TV_E_FAIL;
    *name = e->name.c_str();
    *value = e->number;
    return TV_S_OK;
}

HRESULT TV_STDCALL CZNHeader::GetNextNumberValue(const char** name, uint32_t* value) {
    if (!name || !value) return TV_E_POINTER;
    const Entry* e = advance(kNumber, false);
    if (!e) return TV_E_FAIL;
    *name = e->name.c_str();
    *value = e->number;
    return TV_S_OK;
}

HRESULT CZNHeader::setBuffer(const char* name, IKMABuffer* buffer, Kind kind) {
    if (!name) return TV_E_POINTER;
    if (!buffer) return TV_E_FAIL;
    return Guard([&] {
        Entry& e = findOrInsert(name);
        IKMABuffer*& slot = kind == kBuffer ? e.buffer : e.string;
        buffer->AddRef();
        IKMABuffer* old = slot;
        slot = buffer;
        if (old) old->Release();
        return TV_S_OK;
    });
}

HRESULT CZNHeader::getBuffer(const char* name, IKMABuffer** buffer, Kind kind) const {
    if (!name || !buffer) return TV_E_POINTER;
    *buffer = nullptr;
    const Entry* e = find(name);
    IKMABuffer* held = !e ? nullptr : kind == kBuffer ? e->buffer : e->string;
    if (!held) return TV_E_FAIL;
    held->AddRef();
    *buffer = held;
    return TV_S_OK;
}

HRESULT CZNHeader::enumerateBuffer(const char** name, IKMABuffer** buffer, Kind kind, bool restart) {
    if (!name || !buffer) return TV_E_POINTER;
    *buffer = nullptr;
    const Entry* e = advance(kind, restart);
    if (!e) return TV_E_FAIL;
    IKMABuffer* held = kind == kBuffer ? e->buffer : e->string;
    held->AddRef();
    *name = e->name.c_str();
    *buffer = held;
    return TV_S_OK;
}

HRESULT TV_STDCALL CZNHeader::SetBufferValue(const char* name, IKMABuffer* buffer) {
    return setBuffer(name, buffer, kBuffer);
}
HRESULT TV_STDCALL CZNHeader::GetBufferValue(const char* name, IKMABuffer** buffer) {
    return getBuffer(name, buffer, kBuffer);
}
HRESULT TV_STDCALL CZNHeader::GetFirstBufferValue(const char** name, IKMABuffer** buffer) {
    return enumerateBuffer(name, buffer, kBuffer, true);
}
HRESULT TV_STDCALL CZNHeader::GetNextBufferValue(const char** name, IKMABuffer** buffer) {
    return enumerateBuffer(name, buffer, kBuffer, false);
}
HRESULT TV_STDCALL CZNHeader::SetStringValue(const char* name, IKMABuffer* text) {
    return setBuffer(name, text, kString);
}
HRESULT TV_STDCALL CZNHeader::GetStringValue(const char* name, IKMABuffer** text) {
    return getBuffer(name, text, kString);
}
HRESULT TV_STDCALL CZNHeader::GetFirstStringValue(const char** name, IKMABuffer** text) {
    return enumerateBuffer(name, text, kString, true);
}
HRESULT TV_STDCALL CZNHeader::GetNextStringValue(const char** name, IKMABuffer** text) {
    return enumerateBuffer(name, text, kString, false);
}

}  // namespace tagvera
