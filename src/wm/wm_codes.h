// Result codes of the Windows Media importer and its wrappers, and the one mapping that the
// runtime's results (here, the header layer's) pass through before they are returned.
#ifndef TAGVERA_WM_WM_CODES_H
#define TAGVERA_WM_WM_CODES_H

#include "tagvera/abi.h"

namespace tagvera::wm {

inline constexpr HRESULT kEmptyValue = 0x00040012;     // an attribute without a value
inline constexpr HRESULT kFlagIsZero = 0x00040022;     // HasVideo present and zero
inline constexpr HRESULT kNoValue = 0x00040042;        // nothing to make a number of
inline constexpr HRESULT kAccessDenied = static_cast<HRESULT>(0x80040015u);
inline constexpr HRESULT kGuidNotNumber = static_cast<HRESULT>(0x80040284u);
inline constexpr HRESULT kUnexpected = static_cast<HRESULT>(0x8000FFFFu);
inline constexpr HRESULT kFileAccessDenied = static_cast<HRESULT>(0x80070005u);
inline constexpr HRESULT kWriteProtected = static_cast<HRESULT>(0xC00D0018u);  // the flush's "read only"

constexpr HRESULT MapRuntimeResult(HRESULT hr) {
    switch (static_cast<uint32_t>(hr)) {
        case 0xC00D0FB7u: return kEmptyValue;
        case 0xC00D0BBDu:
        case 0xC00D0BBEu:
        case 0xC00D0BC1u: return kAccessDenied;
        case 0x800300FEu:
        case 0x80004001u: return TV_E_NOTIMPL;
        case 0x80070057u:
        case 0x8007000Eu:
        case 0x80004002u:
        case 0x80004003u:
        case 0x80004004u:
        case 0x80004005u:
        case 0x80070006u:
        case 0x00040012u: return hr;
        default: return Succeeded(hr) ? TV_S_OK : TV_E_FAIL;
    }
}

}  // namespace tagvera::wm

#endif
