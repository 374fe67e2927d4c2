// The metadata property tree: typed, flagged, named nodes with children keyed by case-sensitive name.
// Type codes, flag bits, AddChild options and the standard names are in tagvera/vocabulary.h.
//
// Out-pointers are set to null first; interfaces handed out carry one reference. Lookups that find
// nothing give TV_E_PROP_NOTFOUND, exhausted enumerations TV_E_PROP_ENDOFLIST; an empty name, path
// or value reads as TV_E_PROP_EMPTY. Paths join names with ':' ("Album:Cover Art").
#ifndef TAGVERA_METAPROP_H
#define TAGVERA_METAPROP_H

#include "tagvera/abi.h"

struct IMPAMetaProperty : IUnknown {
    TV_METHOD(GetName)(const char** name) = 0;                              // 3
    TV_METHOD(GetType)(uint32_t* type) = 0;                                 // 4
    TV_METHOD(GetValue)(const uint8_t** data, uint32_t* size) = 0;          // 5
    TV_METHOD(GetFlags)(uint32_t* flags) = 0;                               // 6
    TV_METHOD(GetPath)(const char** path) = 0;                              // 7
    TV_METHOD(GetChanged)(uint32_t* changed) = 0;                           // 8
    TV_METHOD(SetName)(const char* name) = 0;                               // 9
    TV_METHOD(SetType)(uint32_t type) = 0;                                  // 10
    TV_METHOD(SetValue)(const uint8_t* data, uint32_t size) = 0;            // 11
    TV_METHOD(SetFlags)(uint32_t flags) = 0;                                // 12
    TV_METHOD(SetParentPath)(const char* parentPath) = 0;                   // 13
    TV_METHOD(SetChanged)(uint32_t changed) = 0;                            // 14
    // A plain name not found here is searched under "Track", "Album", "Artist", then every child.
    TV_METHOD(FindByPath)(const char* path, IMPAMetaProperty** out) = 0;    // 15
    TV_METHOD(GetFirstChildName)(const char** name) = 0;                    // 16
    TV_METHOD(GetNextChildName)(const char** name) = 0;                     // 17
    TV_METHOD(GetChildNameCount)(uint32_t* count) = 0;                      // 18
    TV_METHOD(FindFirstChild)(const char* name, IMPAMetaProperty** out) = 0;  // 19
    TV_METHOD(FindNextChild)(const char* name, IMPAMetaProperty** out) = 0;   // 20
    TV_METHOD(GetChildCount)(const char* name, uint32_t* count) = 0;        // 21
    TV_METHOD(GetFirstChild)(IMPAMetaProperty** out) = 0;                   // 22
    TV_METHOD(GetNextChild)(IMPAMetaProperty** out) = 0;                    // 23
    TV_METHOD(GetTotalChildCount)(uint32_t* count) = 0;                     // 24
    // newNode (may be null) receives the node standing under the name afterwards: the new one, or
    // the existing one when it was kept (TV_S_PROP_EXISTS) or a group was merged into it.
    TV_METHOD(AddProperty)(const char* name, uint32_t type, uint32_t flags, const uint8_t* data, uint32_t size,
                           bool replace, IMPAMetaProperty** newNode) = 0;  // 25
    // name null: the child's own name; "A:B" makes missing groups. Same name: groups merge, other
    // nodes are replaced (keeping the old children when the types agree) or kept without replace.
    // A child that owns this node is refused with E_INVALIDARG.
    TV_METHOD(AddChild)(IMPAMetaProperty* child, bool replace, const char* name, uint32_t addFlags) = 0;  // 26
    TV_METHOD(AddText)(const char* name, const char* text, uint32_t flags, bool replace,
                       IMPAMetaProperty** newNode) = 0;  // 27
    TV_METHOD(AddFlag)(const char* name, uint32_t value, uint32_t flags, bool replace,
                       IMPAMetaProperty** newNode) = 0;  // 28
    TV_METHOD(AddNumber)(const char* name, uint32_t value, uint32_t flags, bool replace,
                         IMPAMetaProperty** newNode) = 0;  // 29
    TV_METHOD(AddUrl)(const char* name, const char* text, uint32_t flags, bool replace,
                      IMPAMetaProperty** newNode) = 0;  // 30
    TV_METHOD(AddGroup)(const char* name, uint32_t flags, bool replace, IMPAMetaProperty** newNode) = 0;  // 31
    TV_METHOD(RemoveChild)(IMPAMetaProperty* child) = 0;                                   // 32
    TV_METHOD(RemoveByPath)(const char* path) = 0;                                         // 33
    TV_METHOD(MergeFrom)(IMPAMetaProperty* source, bool replace, uint32_t addFlags) = 0;   // 34
    TV_METHOD(Clone)(IMPAMetaProperty** out) = 0;                                          // 35
    TV_METHOD(IsSameNameAndType)(IMPAMetaProperty* other) = 0;                             // 36: 1 or 0
    TV_METHOD(IsEqual)(IMPAMetaProperty* other) = 0;                                       // 37: 1 or 0
};

struct IMPAMetaPropertyLinkedList : IUnknown {
    TV_METHOD_(IMPAMetaPropertyLinkedList*, GetNext)() = 0;       // 3: with a reference, or null
    TV_METHOD(SetNext)(IMPAMetaPropertyLinkedList* next) = 0;     // 4
};

struct IMPAMetaPropertyParentMgr : IUnknown {
    TV_METHOD(DetachFromParents)() = 0;                                  // 3
    TV_METHOD(AddParent)(IMPAMetaProperty* parent) = 0;                  // 4
    TV_METHOD(RemoveParent)(IMPAMetaProperty* parent) = 0;               // 5
    TV_METHOD(GetParentCount)(uint32_t* count) = 0;                      // 6
    TV_METHOD(GetParent)(uint32_t index, IMPAMetaProperty** parent) = 0;  // 7
};

// Typed shortcuts for the standard properties; getters 3..21, setters 24..42 in the same order.
struct IMPAFileProperties : IUnknown {
    TV_METHOD(GetFilename)(char* buffer, uint32_t* size) = 0;          // 3
    TV_METHOD(GetTitle)(char* buffer, uint32_t* size) = 0;             // 4  Track:Name
    TV_METHOD(GetArtist)(char* buffer, uint32_t* size) = 0;            // 5  Artist:Name
    TV_METHOD(GetAlbum)(char* buffer, uint32_t* size) = 0;             // 6  Album:Name
    TV_METHOD(GetGenre)(char* buffer, uint32_t* size) = 0;             // 7
    TV_METHOD(GetCopyright)(char* buffer, uint32_t* size) = 0;         // 8
    TV_METHOD(GetPublisher)(char* buffer, uint32_t* size) = 0;         // 9  Credits:Published
    TV_METHOD(GetComments)(char* buffer, uint32_t* size) = 0;          // 10
    TV_METHOD(GetCodec)(char* buffer, uint32_t* size) = 0;             // 11
    TV_METHOD(GetMimeType)(char* buffer, uint32_t* size) = 0;          // 12
    TV_METHOD(GetClosedLoopMarketing)(char* buffer, uint32_t* size) = 0;  // 13
    TV_METHOD(GetLength)(uint32_t* value) = 0;                         // 14
    TV_METHOD(GetChannels)(uint32_t* value) = 0;                       // 15
    TV_METHOD(GetFileSize)(uint32_t* value) = 0;                       // 16
    TV_METHOD(GetVBR)(uint32_t* value) = 0;                            // 17
    TV_METHOD(GetFileProtection)(uint32_t* value) = 0;                 // 18
    TV_METHOD(GetOriginalCopyFlag)(uint32_t* value) = 0;               // 19
    TV_METHOD(GetTrackNumber)(uint32_t* value) = 0;                    // 20 Track:CD Track #
    TV_METHOD(GetQuality)(uint32_t* value) = 0;                        // 21
    TV_METHOD(GetReserved22)(uint32_t* a, uint32_t* b, uint32_t* c) = 0;  // 22: zeroes all three
    TV_METHOD(Reserved23)() = 0;                                       // 23: E_NOTIMPL
    TV_METHOD(SetFilename)(const char* value) = 0;                     // 24
    TV_METHOD(SetTitle)(const char* value) = 0;                        // 25
    TV_METHOD(SetArtist)(const char* value) = 0;                       // 26
    TV_METHOD(SetAlbum)(const char* value) = 0;                        // 27
    TV_METHOD(SetGenre)(const char* value) = 0;                        // 28
    TV_METHOD(SetCopyright)(const char* value) = 0;                    // 29
    TV_METHOD(SetPublisher)(const char* value) = 0;                    // 30
    TV_METHOD(SetComments)(const char* value) = 0;                     // 31
    TV_METHOD(SetCodec)(const char* value) = 0;                        // 32
    TV_METHOD(SetMimeType)(const char* value) = 0;                     // 33
    TV_METHOD(SetClosedLoopMarketing)(const char* value) = 0;          // 34
    TV_METHOD(SetLength)(uint32_t value) = 0;                          // 35
    TV_METHOD(SetChannels)(uint32_t value) = 0;                        // 36
    TV_METHOD(SetFileSize)(uint32_t value) = 0;                        // 37
    TV_METHOD(SetVBR)(uint32_t value) = 0;                             // 38
    TV_METHOD(SetFileProtection)(uint32_t value) = 0;                  // 39
    TV_METHOD(SetOriginalCopyFlag)(uint32_t value) = 0;                // 40
    TV_METHOD(SetTrackNumber)(uint32_t value) = 0;                     // 41 written as "%.2d" text
    TV_METHOD(SetQuality)(uint32_t value) = 0;                         // 42
    TV_METHOD(Reserved43)() = 0;                                       // 43: E_NOTIMPL
};

namespace tagvera {
inline constexpr GUID IID_IMPAMetaProperty = TV_GUID(87B72682, 8FD7, 11D3, 88, 3C, 00, C0, F0, 31, 93, 8B);
inline constexpr GUID IID_IMPAMetaPropertySerialize = TV_GUID(87B72681, 8FD7, 11D3, 88, 3C, 00, C0, F0, 31, 93, 8B);
inline constexpr GUID IID_IMPAFileProperties = TV_GUID(2CE044E4, 0EC0, 11D3, 91, EE, 00, 40, 05, 35, D2, F1);
inline constexpr GUID IID_IMPAMetaPropertyLinkedList = TV_GUID(95C2AAE0, 88A1, 11D3, 88, 32, 00, C0, F0, 31, 93, 8B);
inline constexpr GUID IID_IMPAMetaPropertySerialize2 = TV_GUID(09076AE1, 85E6, 11D4, 93, A2, 00, D0, B7, 21, D5, 72);
inline constexpr GUID IID_IMPAMetaPropertyParentMgr = TV_GUID(3CC46879, 3144, 4006, AE, 81, D7, 9D, 68, 9F, 89, 87);
inline constexpr GUID IID_IMPAMetaPropertyBuffer = TV_GUID(09952251, D2FE, 11D3, 88, 70, 00, C0, F0, 31, 93, 8B);
}  // namespace tagvera

#endif
