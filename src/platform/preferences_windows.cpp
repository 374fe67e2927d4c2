// The preferences store on Windows: the registry itself, the values under the current user's key,
// read and written one by one. Nothing is cached: a change by the host or another program is seen
// by the next read, and a missing key or value is its default.
#include "platform/preferences.h"

#include <windows.h>

#include <cstring>
#include <optional>

#include "base/error.h"
#include "platform/file.h"
#include "platform/native_windows.h"
#include "platform/preferences_format.h"
#include "platform/text.h"

namespace tagvera::platform::prefs {
namespace {

constexpr char kRoot[] = "HKEY_CURRENT_USER\\";

std::wstring Wide(std::string_view utf8) { return text::Utf8ToWide(utf8); }

// kKey, or the key $TAGVERA_PREFERENCES names under the same root (a test's or a host's own).
std::wstring KeyPath() {
    wchar_t buffer[1024];
    const DWORD n = ::GetEnvironmentVariableW(L"TAGVERA_PREFERENCES", buffer, 1024);
    return n > 0 && n < 1024 ? std::wstring(buffer, n) : Wide(kKey);
}

[[noreturn]] void Fail(const char* step, std::string_view name, LSTATUS rc) {
    throw FileError(step, PreferencesPath() + "\\" + std::string(name), native::ErrnoFrom(static_cast<DWORD>(rc)));
}

// A string or a number as the registry holds it; nullopt when missing or of another type.
std::optional<ParsedValue> Read(HKEY key, const std::wstring& name) {
    for (;;) {
        DWORD type = 0, size = 0;
        const DWORD accept = RRF_RT_REG_SZ | RRF_RT_REG_DWORD;
        if (::RegGetValueW(key, nullptr, name.c_str(), accept, &type, nullptr, &size) != ERROR_SUCCESS) return std::nullopt;
        std::wstring data(size / sizeof(wchar_t) + 1, L'\0');
        DWORD got = static_cast<DWORD>(data.size() * sizeof(wchar_t));
        const LSTATUS rc = ::RegGetValueW(key, nullptr, name.c_str(), accept, &type, data.data(), &got);
        if (rc == ERROR_MORE_DATA) continue;  // it grew in between
        if (rc != ERROR_SUCCESS) return std::nullopt;
        ParsedValue v;
        v.name = text::WideToUtf8(name);
        if (type == REG_DWORD) {
            std::memcpy(&v.number, data.data(), sizeof v.number);
            v.type = ValueType::Dword;
            v.text = std::to_string(v.number);
        } else {
            v.text = text::WideToUtf8(data.c_str());
        }
        return v;
    }
}

// The key, open for reading; null when it does not exist.
class OpenKey {
public:
    OpenKey() {
        if (::RegOpenKeyExW(HKEY_CURRENT_USER, KeyPath().c_str(), 0, KEY_READ, &key_) != ERROR_SUCCESS) key_ = nullptr;
    }
    ~OpenKey() {
        if (key_) ::RegCloseKey(key_);
    }
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;
    HKEY get() const { return key_; }

private:
    HKEY key_ = nullptr;
};

std::optional<ParsedValue> Find(std::string_view name) {
    const OpenKey key;
    if (!key.get()) return std::nullopt;
    return Read(key.get(), Wide(name));
}

void Put(std::string_view name, DWORD type, const void* data, DWORD size) {
    if (std::string err = CheckName(name); !err.empty()) throw Error(TV_E_INVALIDARG, "preferences: " + err);
    const LSTATUS rc = ::RegSetKeyValueW(HKEY_CURRENT_USER, KeyPath().c_str(), Wide(name).c_str(), type, data, size);
    if (rc != ERROR_SUCCESS) Fail("write", name, rc);
}

}  // namespace

std::string PreferencesPath() { return kRoot + text::WideToUtf8(KeyPath()); }

std::string GetString(std::string_view name) {
    try {
        if (const auto v = Find(name)) return v->text;
    } catch (...) {
        // Readers answer the default whatever went wrong.
    }
    return DefaultText(FindKnown(name));
}

uint32_t GetNumber(std::string_view name) {
    try {
        if (const auto v = Find(name)) {
            if (v->type == ValueType::Dword) return v->number;
            if (uint32_t n; NumberFromText(v->text, n)) return n;
        }
    } catch (...) {
    }
    return DefaultNumber(FindKnown(name));
}

std::vector<Entry> List() {
    std::vector<Entry> out;
    try {
        const OpenKey key;
        for (const Definition& d : KnownValues()) {
            Entry e{std::string(d.name), d.type, DefaultText(&d), DefaultNumber(&d), true};
            if (const auto v = key.get() ? Read(key.get(), Wide(d.name)) : std::nullopt)
                e = Entry{std::string(d.name), v->type, v->text, v->number, false};
            out.push_back(std::move(e));
        }
        for (DWORD i = 0; key.get(); ++i) {
            wchar_t name[16384];
            DWORD length = 16384;
            if (::RegEnumValueW(key.get(), i, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
            const auto v = Read(key.get(), std::wstring(name, length));
            if (v && !FindKnown(v->name)) out.push_back(Entry{v->name, v->type, v->text, v->number, false});
        }
    } catch (...) {
    }
    return out;
}

Status Check() {
    Status st;
    st.path = PreferencesPath();
    st.exists = OpenKey().get() != nullptr;
    return st;
}

void SetString(std::string_view name, std::string_view value) {
    if (value.find('\0') != std::string_view::npos) throw Error(TV_E_INVALIDARG, "preferences: a string cannot hold a NUL character");
    const std::wstring data = Wide(value);
    Put(name, REG_SZ, data.c_str(), static_cast<DWORD>((data.size() + 1) * sizeof(wchar_t)));
}

void SetNumber(std::string_view name, uint32_t value) {
    const DWORD data = value;
    Put(name, REG_DWORD, &data, sizeof data);
}

bool Remove(std::string_view name) {
    const LSTATUS rc = ::RegDeleteKeyValueW(HKEY_CURRENT_USER, KeyPath().c_str(), Wide(name).c_str());
    if (rc == ERROR_SUCCESS) return true;
    if (rc == ERROR_FILE_NOT_FOUND) return false;
    Fail("remove", name, rc);
}

void ResetAll() {
    const LSTATUS rc = ::RegDeleteTreeW(HKEY_CURRENT_USER, KeyPath().c_str());
    if (rc != ERROR_SUCCESS && rc != ERROR_FILE_NOT_FOUND) Fail("remove", "", rc);
}

}  // namespace tagvera::platform::prefs
