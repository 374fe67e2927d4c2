// tagvera's own addition to the package object: what a tool built on the library (the tagvera
// command, a host's maintenance task) needs in order to change files and preferences the way the
// library itself does, without a second copy of that code. Asked for by QueryInterface on the
// object KMACreateInstance hands out.
//
// A failing operation says why when reason is not null: *reason receives a new buffer with one
// line of text and its NUL (it stays null on success, and for a failure with nothing more to say
// than its code). Buffers and lists handed out are the library's own; the caller releases them.
#ifndef TAGVERA_TOOL_SERVICES_H
#define TAGVERA_TOOL_SERVICES_H

#include "tagvera/abi.h"
#include "tagvera/values.h"

struct IKMAToolServices : IUnknown {
    // Replaces or creates the regular file path with exactly size bytes: written to a new file
    // beside it, flushed, synced and renamed over it, so that a failure at any step leaves the old
    // file as it was. A new file gets 0666 less the umask; an existing one keeps its permissions.
    TV_METHOD(WriteFileSafely)(const char* path, const uint8_t* bytes, uint32_t size, IKMABuffer** reason) = 0;  // 3
    // Makes durable the writes to count files that were left in the system's cache
    // (kMp3WriteDeferSync): one sync per file system holding many of them, else one per file. A
    // failure names the first file not synced; the others are synced all the same.
    TV_METHOD(SyncFiles)(const char* const* paths, uint32_t count, IKMABuffer** reason) = 0;  // 4
    // Where the preferences are kept, as text (a file here, the registry key on Windows).
    TV_METHOD(GetPreferencesLocation)(IKMABuffer** location) = 0;  // 5
    // Every preference the library reads, then any other the store holds, in a new list that keeps
    // that order: under each name a string value (the value as text, a number in decimal) and a
    // number value of kPreference flags. Fails when the store is damaged (reason says where); the
    // library meanwhile reads every preference as its default.
    TV_METHOD(GetPreferences)(IKMAValues** list, IKMABuffer** reason) = 0;  // 6
    // Changes are written safely, creating the store when needed. They fail on a damaged store.
    TV_METHOD(SetPreferenceNumber)(const char* name, uint32_t value, IKMABuffer** reason) = 0;  // 7
    TV_METHOD(SetPreferenceText)(const char* name, const char* value, IKMABuffer** reason) = 0;  // 8
    // S_OK when the store held the preference, S_FALSE when it did not. A null name removes the
    // whole store: every preference is its default again.
    TV_METHOD(RemovePreference)(const char* name, IKMABuffer** reason) = 0;  // 9
    // Gives the file from the name to, never replacing a file: fails when to exists (or cannot be
    // made), and from then keeps its name. The folder is synced.
    TV_METHOD(RenameFile)(const char* from, const char* to, IKMABuffer** reason) = 0;  // 10
};

namespace tagvera {

inline constexpr GUID IID_IKMAToolServices = TV_GUID(C54CC343, 30F0, 4C8A, 80, D2, F7, 1F, 69, C4, 2E, 27);

// The number value of each preference GetPreferences lists.
enum : uint32_t {
    kPreferenceKnown = 0x1,   // one the library reads, with a default of its own
    kPreferenceNumber = 0x2,  // a 32-bit number (else text)
    kPreferenceSet = 0x4,     // the store holds it (else the default is in force)
};

}  // namespace tagvera

#endif
