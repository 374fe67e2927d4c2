// The three functions the library exports, and the directory kinds SetDLLAccessPath knows.
//
// A host loads the library, then:
//   SetDLLAccessPath("DT_Codecs=/opt/codecs\0DT_Common=/opt/common\0");  // ends with an empty string
//   KMACreateInstance(&unknown);  // the one package object, one reference more on every call
//   ... QueryInterface for IKMAPlugin, InitializePlugin(context), IKMAComponentPlugin ...
//   KMAShutdown();                // 0 when that was the last reference
#ifndef TAGVERA_ENTRY_POINTS_H
#define TAGVERA_ENTRY_POINTS_H

#include <string>

#include "tagvera/abi.h"

extern "C" {
typedef HRESULT(TV_STDCALL* KMACreateInstanceFn)(IUnknown** out);
typedef HRESULT(TV_STDCALL* KMAShutdownFn)();
typedef HRESULT(TV_STDCALL* SetDLLAccessPathFn)(const char* list);

// For hosts that link the library instead of loading it at run time.
#if !defined(TAGVERA_BUILDING_LIBRARY)
HRESULT TV_STDCALL KMACreateInstance(IUnknown** out);
HRESULT TV_STDCALL KMAShutdown();
HRESULT TV_STDCALL SetDLLAccessPath(const char* list);
#endif
}

namespace tagvera {

inline constexpr const char kCreateInstanceSymbol[] = "KMACreateInstance";
inline constexpr const char kShutdownSymbol[] = "KMAShutdown";
inline constexpr const char kSetAccessPathSymbol[] = "SetDLLAccessPath";

// Directory kinds by index, as the library's directory table looks them up.
enum DirectoryKind : uint32_t {
    DT_NotDef = 0,
    DT_Plugins = 1,
    DT_Codecs = 2,
    DT_EncSDK = 3,
    DT_Common = 4,
    DT_Update_OB = 5,
    DT_Objbrokr = 6,
    DT_KCAPlugins = 7,
};
inline constexpr uint32_t kDirectoryKindCount = 8;
inline constexpr const char* kDirectoryKindNames[kDirectoryKindCount] = {
    "DT_NotDef", "DT_Plugins", "DT_Codecs", "DT_EncSDK", "DT_Common", "DT_Update_OB", "DT_Objbrokr", "DT_KCAPlugins",
};

// The list block SetDLLAccessPath reads, from (kind, directory) string pairs: "kind=directory",
// each with its NUL, then an empty string. No pairs make a block of one NUL.
template <class Pairs>
std::string DirectoryListBlock(const Pairs& directories) {
    std::string block;
    for (const auto& [kind, directory] : directories) {
        block += kind;
        block += '=';
        block += directory;
        block += '\0';
    }
    block += '\0';
    return block;
}

}  // namespace tagvera

#endif
