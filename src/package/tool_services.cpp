#include "package/tool_services.h"

#include <span>
#include <string>

#include "base/error.h"
#include "component/value_objects.h"
#include "platform/file_system_sync.h"
#include "platform/preferences.h"
#include "platform/safe_write.h"
#include "tagvera/com_ptr.h"

namespace tagvera {
namespace {

namespace prefs = platform::prefs;

// Runs body as an interface operation, with what went wrong as text for a caller who asks.
template <class Body>
HRESULT Explained(IKMABuffer** reason, Body&& body) noexcept {
    if (reason) *reason = nullptr;
    std::string why;
    const HRESULT hr = Guard([&]() -> HRESULT {
        try {
            return body();
        } catch (const Error& e) {
            why = e.what();
            throw;
        }
    });
    if (Failed(hr) && reason && !why.empty()) NewTextBuffer(why, reason);
    return hr;
}

uint32_t FlagsOf(const prefs::Entry& e) {
    return (prefs::FindKnown(e.name) ? kPreferenceKnown : 0u) |
           (e.type == prefs::ValueType::Dword ? kPreferenceNumber : 0u) | (e.isDefault ? 0u : kPreferenceSet);
}

}  // namespace

HRESULT PackageToolServices::WriteFileSafely(const char* path, const uint8_t* bytes, uint32_t size,
                                             IKMABuffer** reason) {
    if (!path || (!bytes && size)) return TV_E_POINTER;
    return Explained(reason, [&]() -> HRESULT {
        platform::WriteFileAtomically(path, std::span<const uint8_t>(bytes, size), 0666);
        return TV_S_OK;
    });
}

HRESULT PackageToolServices::SyncFiles(const char* const* paths, uint32_t count, IKMABuffer** reason) {
    if (!paths && count) return TV_E_POINTER;
    for (uint32_t i = 0; i < count; ++i)
        if (!paths[i]) return TV_E_POINTER;
    return Explained(reason, [&]() -> HRESULT {
        platform::FileSystemSyncs syncs;
        for (uint32_t i = 0; i < count; ++i) syncs.add(paths[i]);
        syncs.syncAll();
        return TV_S_OK;
    });
}

HRESULT PackageToolServices::GetPreferencesLocation(IKMABuffer** location) {
    if (!location) return TV_E_POINTER;
    *location = nullptr;
    return Guard([&] { return NewTextBuffer(prefs::PreferencesPath(), location); });
}

HRESULT PackageToolServices::GetPreferences(IKMAValues** list, IKMABuffer** reason) {
    if (!list) return TV_E_POINTER;
    *list = nullptr;
    return Explained(reason, [&]() -> HRESULT {
        if (const prefs::Status s = prefs::Check(); !s.ok)
            throw Error(TV_E_FAIL, (s.line ? "line " + std::to_string(s.line) + ": " : "") + s.message);
        ComPtr<IKMAValues> out;
        if (const HRESULT hr = NewKeyedList(out.put()); Failed(hr)) return hr;
        for (const prefs::Entry& e : prefs::List()) {
            ComPtr<IKMABuffer> text;
            HRESULT hr = NewTextBuffer(e.text, text.put());
            if (Succeeded(hr)) hr = out->SetStringValue(e.name.c_str(), text.get());
            if (Succeeded(hr)) hr = out->SetNumberValue(e.name.c_str(), FlagsOf(e));
            if (Failed(hr)) return hr;
        }
        *list = out.detach();
        return TV_S_OK;
    });
}

HRESULT PackageToolServices::SetPreferenceNumber(const char* name, uint32_t value, IKMABuffer** reason) {
    if (!name) return TV_E_POINTER;
    return Explained(reason, [&]() -> HRESULT {
        prefs::SetNumber(name, value);
        return TV_S_OK;
    });
}

HRESULT PackageToolServices::SetPreferenceText(const char* name, const char* value, IKMABuffer** reason) {
    if (!name || !value) return TV_E_POINTER;
    return Explained(reason, [&]() -> HRESULT {
        prefs::SetString(name, value);
        return TV_S_OK;
    });
}

HRESULT PackageToolServices::RemovePreference(const char* name, IKMABuffer** reason) {
    return Explained(reason, [&]() -> HRESULT {
        if (!name) {
            prefs::ResetAll();
            return TV_S_OK;
        }
        return prefs::Remove(name) ? TV_S_OK : TV_S_FALSE;
    });
}

HRESULT PackageToolServices::RenameFile(const char* from, const char* to, IKMABuffer** reason) {
    if (!from || !to || !*from || !*to) return TV_E_INVALIDARG;
    return Explained(reason, [&]() -> HRESULT {
        platform::RenameWithoutReplacing(from, to);
        return TV_S_OK;
    });
}

}  // namespace tagvera
