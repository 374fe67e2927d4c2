// The interfaces every importer implements: set a file, interrogate, hand out on-demand data, write back.
#ifndef TAGVERA_IMPORTER_H
#define TAGVERA_IMPORTER_H

#include "tagvera/abi.h"

struct IMPAMetaProperty;

struct IMPAInterrogateFile : IUnknown {
    TV_METHOD(SetFilename)(const char* path) = 0;                        // 3
    TV_METHOD(Interrogate)(IMPAMetaProperty** tree) = 0;                 // 4
    TV_METHOD(SetOption)(uintptr_t option, uintptr_t value) = 0;         // 5
    TV_METHOD(SetOption2)(uintptr_t option, uintptr_t value) = 0;        // 6
    TV_METHOD(GetSupportedMimeTypes)(char* buffer, uint32_t* size) = 0;  // 7
    TV_METHOD(GetSupportedExtensions)(char* buffer, uint32_t* size) = 0; // 8
};

struct IMPAInterrogateLite : IUnknown {
    TV_METHOD(SetFilename)(const char* path) = 0;                        // 3
    TV_METHOD(InterrogateLite)(IMPAMetaProperty** tree) = 0;             // 4
    TV_METHOD(GetSupportedMimeTypes)(char* buffer, uint32_t* size) = 0;  // 5
    TV_METHOD(GetSupportedExtensions)(char* buffer, uint32_t* size) = 0; // 6
};

struct IMPAHandleMetaProperties : IUnknown {
    TV_METHOD(SetFilename)(const char* path) = 0;                                              // 3
    TV_METHOD(GetSupportedMimeTypes)(char* buffer, uint32_t* size) = 0;                        // 4
    TV_METHOD(GetSupportedExtensions)(char* buffer, uint32_t* size) = 0;                       // 5
    TV_METHOD(Prepare)(uint32_t what) = 0;                                                     // 6
    TV_METHOD(GetPropertyData)(IMPAMetaProperty* property, uint8_t* buffer, uint32_t size) = 0;  // 7
    TV_METHOD(SavePropertyData)(IMPAMetaProperty* property, const char* path) = 0;             // 8
    // dataSource answers slots 7 and 8 for on-demand reference properties; it may be null.
    TV_METHOD(WriteMetaProperties)(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                   uint32_t force) = 0;                                        // 9
};

struct IMPAHandleMetaProperties2 : IMPAHandleMetaProperties {
    TV_METHOD(WriteMetaProperties2)(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                    uint32_t force, uint32_t options) = 0;  // 10
};

namespace tagvera {
inline constexpr GUID IID_IMPAInterrogateFile = TV_GUID(8597F6B1, 0CCF, 11D3, 91, ED, 00, 40, 05, 35, D2, F1);
inline constexpr GUID IID_IMPAInterrogateLite = TV_GUID(8597F6B2, 0CCF, 11D3, 91, ED, 00, 40, 05, 35, D2, F1);
inline constexpr GUID IID_IMPAHandleMetaProperties = TV_GUID(8597F6B3, 0CCF, 11D3, 91, ED, 00, 40, 05, 35, D2, F1);
inline constexpr GUID IID_IMPAHandleMetaProperties2 = TV_GUID(8597F6B4, 0CCF, 11D3, 91, ED, 00, 40, 05, 35, D2, F1);
}  // namespace tagvera

#endif
