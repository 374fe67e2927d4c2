#include "host/result_text.h"

#include <cstdio>

namespace tagvera::host {

std::string ResultText(HRESULT code) {
    const char* name = nullptr;
    switch (code) {
        case TV_S_OK: name = "S_OK"; break;
        case TV_S_FALSE: name = "S_FALSE"; break;
        case TV_E_NOTIMPL: name = "E_NOTIMPL"; break;
        case TV_E_NOINTERFACE: name = "E_NOINTERFACE"; break;
        case TV_E_POINTER: name = "E_POINTER"; break;
        case TV_E_FAIL: name = "E_FAIL"; break;
        case TV_E_OUTOFMEMORY: name = "E_OUTOFMEMORY"; break;
        case TV_E_INVALIDARG: name = "E_INVALIDARG"; break;
        case TV_E_BUFFERTOOSMALL: name = "buffer too small"; break;
        case TV_E_NOTLOADED: name = "not loaded"; break;
        case TV_E_NOCLASSFACTORY: name = "no class factory"; break;
        default: break;
    }
    char hex[16];
    std::snprintf(hex, sizeof hex, "0x%08X", static_cast<unsigned>(code));
    return name ? std::string(name) + " (" + hex + ")" : std::string(hex);
}

}  // namespace tagvera::host
