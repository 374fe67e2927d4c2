// The binary contract shared with hosts: calling convention, result codes, GUIDs and IUnknown.
// Everything here is layout-frozen; see layout_checks.h.
#ifndef TAGVERA_ABI_H
#define TAGVERA_ABI_H

#include <cstddef>
#include <cstdint>

#if defined(_WIN32) && !defined(_WIN64)
#define TV_STDCALL __stdcall
#else
#define TV_STDCALL
#endif

#if defined(_WIN32)
#define TV_EXPORT extern "C" __declspec(dllexport)
#else
#define TV_EXPORT extern "C" __attribute__((visibility("default")))
#endif

// An interface operation: virtual, standard calling convention, result code returned.
#define TV_METHOD(name) virtual HRESULT TV_STDCALL name
#define TV_METHOD_(type, name) virtual type TV_STDCALL name

#if defined(_WIN32)
#include <unknwn.h>
#else
typedef int32_t HRESULT;

struct GUID {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
};
typedef GUID IID;
typedef GUID CLSID;
#define REFIID const IID&
#define REFCLSID const CLSID&

inline bool operator==(const GUID& a, const GUID& b) {
    if (a.Data1 != b.Data1 || a.Data2 != b.Data2 || a.Data3 != b.Data3) return false;
    for (int i = 0; i < 8; ++i)
        if (a.Data4[i] != b.Data4[i]) return false;
    return true;
}
inline bool operator!=(const GUID& a, const GUID& b) { return !(a == b); }

// No virtual destructor anywhere in an interface: it would take a slot.
struct IUnknown {
    virtual HRESULT TV_STDCALL QueryInterface(const GUID& iid, void** out) = 0;  // 0
    virtual uint32_t TV_STDCALL AddRef() = 0;                                    // 1
    virtual uint32_t TV_STDCALL Release() = 0;                                   // 2
};
#endif

// Ids are written in registry form: {Data1-Data2-Data3-Data4[0..1]-Data4[2..7]}.
#define TV_GUID(d1, d2, d3, b0, b1, b2, b3, b4, b5, b6, b7) \
    GUID { 0x##d1##u, 0x##d2, 0x##d3, { 0x##b0, 0x##b1, 0x##b2, 0x##b3, 0x##b4, 0x##b5, 0x##b6, 0x##b7 } }

namespace tagvera {

// What AddRef and Release return: the system IUnknown's ULONG on Windows; 32 bits either way.
#if defined(_WIN32)
using RefCount = ULONG;
#else
using RefCount = uint32_t;
#endif

// Result codes shared by every interface.
enum : HRESULT {
    TV_S_OK = 0,
    TV_S_FALSE = 1,
    TV_E_NOTIMPL = static_cast<HRESULT>(0x80004001u),
    TV_E_NOINTERFACE = static_cast<HRESULT>(0x80004002u),
    TV_E_POINTER = static_cast<HRESULT>(0x80004003u),
    TV_E_FAIL = static_cast<HRESULT>(0x80004005u),
    TV_E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu),
    TV_E_INVALIDARG = static_cast<HRESULT>(0x80070057u),
    // Buffer too small; the needed size is returned through the size argument.
    TV_E_BUFFERTOOSMALL = static_cast<HRESULT>(0x8004000Du),
    // A file or block that the operation needs is not loaded.
    TV_E_NOTLOADED = static_cast<HRESULT>(0x80040007u),
    // No host class factory to create an object with; also a shared buffer that cannot be resized.
    TV_E_NOCLASSFACTORY = static_cast<HRESULT>(0x80040009u),
    // Property tree codes.
    TV_E_PROP_NOTFOUND = static_cast<HRESULT>(0x80040881u),
    TV_E_PROP_ENDOFLIST = static_cast<HRESULT>(0x80040882u),
    TV_S_PROP_EXISTS = static_cast<HRESULT>(0x00040883u),
    TV_E_PROP_EMPTY = static_cast<HRESULT>(0x80040884u),
    // Interrogation done but statistics incomplete; also how MP4 and WM writers end.
    TV_S_INCOMPLETE = static_cast<HRESULT>(0x00040885u),
    TV_S_PROP_STAGNANT = static_cast<HRESULT>(0x00040886u),
};

inline constexpr bool Succeeded(HRESULT hr) { return hr >= 0; }
inline constexpr bool Failed(HRESULT hr) { return hr < 0; }

inline constexpr GUID IID_IUnknown = TV_GUID(00000000, 0000, 0000, C0, 00, 00, 00, 00, 00, 00, 46);

}  // namespace tagvera

#endif
