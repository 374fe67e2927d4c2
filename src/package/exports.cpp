// The three functions the library exports; everything else stays inside.
#define TAGVERA_BUILDING_LIBRARY
#include "package/directory_table.h"
#include "package/tagvera_package.h"
#include "tagvera/entry_points.h"
#include "tagvera/layout_checks.h"

TV_EXPORT HRESULT TV_STDCALL KMACreateInstance(IUnknown** out) { return tagvera::CreatePackageInstance(out); }

TV_EXPORT HRESULT TV_STDCALL KMAShutdown() { return tagvera::ShutdownPackage(); }

TV_EXPORT HRESULT TV_STDCALL SetDLLAccessPath(const char* list) {
    return tagvera::Guard([&] {
        tagvera::TheDLLAccessPath().SetFromList(list);
        return tagvera::TV_S_OK;
    });
}
