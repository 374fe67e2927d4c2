// The package as the host sees it: plug-in description, component factory, host context.
#ifndef TAGVERA_PLUGIN_H
#define TAGVERA_PLUGIN_H

#include "tagvera/abi.h"
#include "tagvera/entry_points.h"
#include "tagvera/values.h"

// The host's class factory, asked for from the host context.
struct IKMAClassFactory : IUnknown {
    TV_METHOD(CreateInstance)(const GUID& classId, IUnknown* outer, const GUID& iid, void** out) = 0;  // 3
};

struct IKMAPlugin : IUnknown {
    TV_METHOD(DescribePlugin)(bool* loadMultiple, const char** description, const char** rightsNotice,
                              const char** moreInfo, uint32_t* version) = 0;  // 3
    TV_METHOD(InitializePlugin)(IUnknown* context) = 0;                       // 4
};

struct IKMAComponentPlugin : IUnknown {
    TV_METHOD(GetComponentCount)() = 0;                                                  // 3: the count itself
    TV_METHOD_(const char*, GetPackageName)() = 0;                                       // 4
    TV_METHOD(GetComponentInfo)(uint32_t index, IKMAValues** info) = 0;                  // 5
    TV_METHOD(CreateComponent)(const GUID& classId, IUnknown** out, IUnknown* outer) = 0;  // 6
};

struct IKMAPluginNamespace : IUnknown {
    TV_METHOD(GetPluginNamespace)(IKMABuffer** uri) = 0;  // 3
};

// Kept by every component for its whole life; no IUnknown part.
struct IKCAPackage_ {
    virtual HRESULT TV_STDCALL ComponentCreated() = 0;    // 0
    virtual HRESULT TV_STDCALL ComponentDestroyed() = 0;  // 1
};

// Components receive the host context here and take the host class factory from it.
struct IKNContextUser : IUnknown {
    TV_METHOD(SetContext)(IUnknown* context) = 0;  // 3
};

// The host's lifetime object: told busy when the first component lives, idle when the last goes.
struct IKCAPackageLifetime : IUnknown {
    TV_METHOD(Reserved3)() = 0;                                     // 3
    TV_METHOD(Configure)(uint32_t busyValue, uint32_t enable) = 0;  // 4
    TV_METHOD(Reserved5)() = 0;                                     // 5
    TV_METHOD(Reserved6)() = 0;                                     // 6
    TV_METHOD(Reserved7)() = 0;                                     // 7
    TV_METHOD(Idle)() = 0;                                          // 8
    TV_METHOD(Busy)() = 0;                                          // 9
};

// The host's registration object for the package.
struct IKCAPackageRegistration : IUnknown {
    TV_METHOD(Register)(IUnknown* lifetime, const char* packageName) = 0;  // 3
    TV_METHOD(Unregister)() = 0;                                          // 4
};

namespace tagvera {
inline constexpr GUID IID_IKMAClassFactory = TV_GUID(00000000, 0901, 11D1, 8B, 06, 00, A0, 24, 40, 6D, 59);
inline constexpr GUID IID_IKMAPlugin = TV_GUID(00000C00, 0901, 11D1, 8B, 06, 00, A0, 24, 40, 6D, 59);
inline constexpr GUID IID_IKMAComponentPlugin = TV_GUID(F8A31571, 22AC, 11D4, 95, 03, 00, 90, 27, 90, 29, 9C);
inline constexpr GUID IID_IKMAPluginNamespace = TV_GUID(F09E8891, 8E2D, 11D4, 82, DB, 00, D0, B7, 4C, 2D, 25);
inline constexpr GUID IID_IKNContextUser = TV_GUID(FCB59961, B347, 11D3, 87, EB, 00, 90, 27, 90, 2B, 2D);
inline constexpr GUID CLSID_PackageLifetime = TV_GUID(8E943548, A738, 4AB2, 97, 00, BB, 80, 58, E4, B0, 50);
inline constexpr GUID IID_IKCAPackageLifetime = TV_GUID(97800EDD, 6E7F, 4C91, 90, 6D, 47, DE, 0B, 05, 92, F5);
inline constexpr GUID CLSID_PackageRegistration = TV_GUID(DCFD4E50, 6095, 4C44, 89, E1, 32, CE, 7F, 20, C0, 0E);
inline constexpr GUID IID_IKCAPackageRegistration = TV_GUID(91994294, C0CB, 446C, A8, 23, CA, 60, C9, 14, C5, 25);

// The eight components, in component-table order.
inline constexpr GUID CLSID_CMPAMetaProperty = TV_GUID(96A4F15B, 4A0D, 42D3, 94, 93, 65, FD, 30, 82, C6, 5B);
inline constexpr GUID CLSID_CImportKMJFile = TV_GUID(525EC357, C2F0, 49AC, 9A, D8, B6, C0, F1, D7, FB, 20);
inline constexpr GUID CLSID_CImportMP3File = TV_GUID(42104358, F67A, 41BE, 88, 67, 4B, 5B, 16, 67, BF, A4);
inline constexpr GUID CLSID_CImportCFSFile = TV_GUID(E6D56E55, B367, 494B, A9, 30, 28, 8C, E9, 49, 00, 16);
inline constexpr GUID CLSID_CImportM4File = TV_GUID(CED684BF, 8FF7, 4047, 81, 80, C8, 4E, CD, B1, 24, 64);
inline constexpr GUID CLSID_CImageMetadataPlugin = TV_GUID(65188F08, 4407, 44BA, B4, F5, 04, AF, 84, 59, 86, C2);
inline constexpr GUID CLSID_CImportWMAFile = TV_GUID(81F49F90, 87D0, 4A58, 87, 4E, BD, AC, 17, 4C, DA, 4D);
inline constexpr GUID CLSID_KMAInterrogatePlugin = TV_GUID(A30DC001, 74D1, 11D5, AD, B6, 00, C0, F0, 40, A6, 1A);

// Names of the values GetComponentInfo fills.
inline constexpr const char kComponentClsid[] = "ComponentCLSID";
inline constexpr const char kLoadMultiple[] = "LoadMultiple";
inline constexpr const char kSupportedMimeTypes[] = "metadatapluginsupportedmimetypes";
inline constexpr const char kSupportedExtensions[] = "metadatapluginsupportedextensions";

inline constexpr uint32_t kPackageVersion = 282;
}  // namespace tagvera

#endif
