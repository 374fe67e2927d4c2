// Byte buffers and named value lists that carry data across interfaces.
#ifndef TAGVERA_VALUES_H
#define TAGVERA_VALUES_H

#include "tagvera/abi.h"

struct IKMABuffer : IUnknown {
    TV_METHOD(Get)(uint8_t** data, uint32_t* size) = 0;                    // 3
    TV_METHOD(Set)(const uint8_t* data, uint32_t size) = 0;                // 4
    TV_METHOD(SetSize)(uint32_t size) = 0;                                 // 5
    TV_METHOD_(uint32_t, GetSize)() = 0;                                   // 6
    TV_METHOD_(uint8_t*, GetBuffer)() = 0;                                 // 7
};

struct IKMAValues : IUnknown {
    TV_METHOD(SetNumberValue)(const char* name, uint32_t value) = 0;                  // 3
    TV_METHOD(GetNumberValue)(const char* name, uint32_t* value) = 0;                 // 4
    TV_METHOD(GetFirstNumberValue)(const char** name, uint32_t* value) = 0;           // 5
    TV_METHOD(GetNextNumberValue)(const char** name, uint32_t* value) = 0;            // 6
    TV_METHOD(SetBufferValue)(const char* name, IKMABuffer* buffer) = 0;              // 7
    TV_METHOD(GetBufferValue)(const char* name, IKMABuffer** buffer) = 0;             // 8
    TV_METHOD(GetFirstBufferValue)(const char** name, IKMABuffer** buffer) = 0;       // 9
    TV_METHOD(GetNextBufferValue)(const char** name, IKMABuffer** buffer) = 0;        // 10
    TV_METHOD(SetStringValue)(const char* name, IKMABuffer* text) = 0;                // 11
    TV_METHOD(GetStringValue)(const char* name, IKMABuffer** text) = 0;               // 12
    TV_METHOD(GetFirstStringValue)(const char** name, IKMABuffer** text) = 0;         // 13
    TV_METHOD(GetNextStringValue)(const char** name, IKMABuffer** text) = 0;          // 14
};

struct IKMAValuesRemove : IUnknown {
    TV_METHOD(RemoveValue)(const char* name) = 0;        // 3
    TV_METHOD(RemoveNumberValue)(const char* name) = 0;  // 4
    TV_METHOD(RemoveBufferValue)(const char* name) = 0;  // 5
    TV_METHOD(RemoveStringValue)(const char* name) = 0;  // 6
};

namespace tagvera {
// The buffer and value-list ids double as the class ids the host factory creates them by.
inline constexpr GUID IID_IKMABuffer = TV_GUID(00001300, 0901, 11D1, 8B, 06, 00, A0, 24, 40, 6D, 59);
inline constexpr GUID IID_IKMAValues = TV_GUID(00001302, 0901, 11D1, 8B, 06, 00, A0, 24, 40, 6D, 59);
inline constexpr GUID IID_IKMAValuesRemove = TV_GUID(00001303, 0901, 11D1, 8B, 06, 00, A0, 24, 40, 6D, 59);
inline constexpr GUID CLSID_CZNBuffer = IID_IKMABuffer;
inline constexpr GUID CLSID_CZNHeader = IID_IKMAValues;
// A keyed list in insertion order with case-sensitive names; the host may create it by this id.
inline constexpr GUID CLSID_CKMAUniquelyKeyedList = TV_GUID(74516484, EADB, 43F2, 83, B5, 8B, 35, EE, 5D, EB, 24);
}  // namespace tagvera

#endif
