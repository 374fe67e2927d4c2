// Placeholder until the package lands: every entry point answers "not implemented".
#include "tagvera/plugin.h"

TV_EXPORT HRESULT TV_STDCALL KMACreateInstance(IUnknown** out) {
    if (out) *out = nullptr;
    return tagvera::TV_E_NOTIMPL;
}
TV_EXPORT HRESULT TV_STDCALL KMAShutdown() { return tagvera::TV_E_NOTIMPL; }
TV_EXPORT HRESULT TV_STDCALL SetDLLAccessPath(const char*) { return tagvera::TV_E_NOTIMPL; }
