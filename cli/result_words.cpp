#include "cli/result_words.h"

#include "host/result_text.h"

namespace tagvera::cli {
namespace {

bool g_showCodes = false;

const char* Words(HRESULT hr) {
    switch (hr) {
        case TV_E_OUTOFMEMORY: return "out of memory";
        case TV_E_NOTIMPL: return "not built yet";
        case TV_E_NOINTERFACE: return "its importer does not offer that";
        case TV_E_INVALIDARG:
        case TV_E_POINTER: return "the library refused an argument";
        case TV_E_NOTLOADED: return "the file is not open";
        case TV_E_BUFFERTOOSMALL: return "a value larger than the library hands out";
        default: return "failed";
    }
}

}  // namespace

std::string Why(HRESULT hr) {
    std::string words = Words(hr);
    if (g_showCodes) words += " (" + host::ResultText(hr) + ")";
    return words;
}

void ShowResultCodes(bool on) { g_showCodes = on; }

}  // namespace tagvera::cli
