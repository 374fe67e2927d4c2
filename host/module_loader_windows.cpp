#include "host/module_loader.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>

#include "host/wide_text.h"

namespace tagvera::host {
namespace {

// The system's own words for the last error, with its number for a search.
std::string LastErrorText() {
    const DWORD code = ::GetLastError();
    wchar_t* text = nullptr;
    const DWORD length = ::FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
        reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    std::string words = length ? Utf8FromWide(std::wstring_view(text, length)) : "unknown loader error";
    ::LocalFree(text);
    while (!words.empty() && (words.back() == '\n' || words.back() == '\r' || words.back() == '.')) words.pop_back();
    return words + " (error " + std::to_string(code) + ")";
}

}  // namespace

void* LoadModule(const std::string& path, std::string& why) {
    std::wstring wide = WideFromUtf8(path);
    // The loader takes no forward slashes, and a module named with a folder finds what it needs
    // beside itself rather than beside the program.
    std::replace(wide.begin(), wide.end(), L'/', L'\\');
    const bool inFolder = wide.find(L'\\') != std::wstring::npos;
    HMODULE module = ::LoadLibraryExW(wide.c_str(), nullptr, inFolder ? LOAD_WITH_ALTERED_SEARCH_PATH : 0);
    if (!module) why = LastErrorText();
    return reinterpret_cast<void*>(module);
}

void* FindSymbol(void* module, const char* symbol, std::string& why) {
    FARPROC address = ::GetProcAddress(static_cast<HMODULE>(module), symbol);
    if (!address) why = LastErrorText();
    return reinterpret_cast<void*>(address);
}

void UnloadModule(void* module) { ::FreeLibrary(static_cast<HMODULE>(module)); }

std::string EnvironmentValue(const char* name) {
    const wchar_t* value = ::_wgetenv(WideFromUtf8(name).c_str());
    return value ? Utf8FromWide(value) : "";
}

}  // namespace tagvera::host
