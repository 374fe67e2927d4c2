// The media platform: a separate library (libvxmedpltfm.so; vxmedpltfm.dll on Windows) that opens
// media files of every kind through file-format plug-ins. The host loads it and hands the platform
// out through its context (QueryInterface for IID_IKMAMediaPlatform); the generic interrogator is
// its consumer.
//
// Every operation answers at once; what it produces arrives later as a notification on a
// response interface, queued for the calling thread. DispatchNextMessage runs one queued
// notification of the calling thread, so a caller that waits pumps its own queue.
#ifndef TAGVERA_MEDIA_PLATFORM_H
#define TAGVERA_MEDIA_PLATFORM_H

#include "tagvera/abi.h"

struct IKMAValues;
struct IKMAClassFactory;

struct IKMAPluginHandler : IUnknown {
    TV_METHOD(GetPluginCount)(uint32_t* count) = 0;                                          // 3
    // A new instance of plug-in index; query it for the plug-in's own interface.
    TV_METHOD(GetPlugin)(uint32_t index, IUnknown** plugin) = 0;                             // 4
    TV_METHOD(GetPluginProperties)(uint32_t index, IKMAValues** properties) = 0;             // 5
    // The first plug-in from start on whose string name1 equals value1 and whose ';' list
    // name2 holds value2 (case ignored); 0x80004005 when there is none.
    TV_METHOD(FindPluginByStrings)(const char* name1, const char* value1, const char* name2, const char* value2,
                                   uint32_t start, uint32_t* index) = 0;                     // 6
};

struct IKMAFileSystemManagerResponse : IUnknown {
    TV_METHOD(InitDone)(HRESULT status) = 0;                                 // 3
    TV_METHOD(FileObjectReady)(HRESULT status, IUnknown* fileObject) = 0;    // 4
};

struct IKMAFileSystemManager : IUnknown {
    TV_METHOD(Init)(IKMAFileSystemManagerResponse* response) = 0;  // 3
    // "file://" followed by a path; the file object arrives through FileObjectReady.
    TV_METHOD(GetFileObject)(const char* url) = 0;                 // 4
};

struct IKMAFileObject : IUnknown {
    TV_METHOD(GetSize)(uint64_t* size) = 0;                                               // 3
    TV_METHOD(ReadAt)(uint64_t offset, uint8_t* buffer, uint32_t size, uint32_t* read) = 0;  // 4
    // Bytes read through this object so far.
    TV_METHOD(GetBytesRead)(uint64_t* count) = 0;                                         // 5
};

struct IKMAFormatResponse : IUnknown {
    TV_METHOD(InitDone)(HRESULT status) = 0;                                    // 3
    TV_METHOD(PacketReady)(HRESULT status, IUnknown* packet) = 0;               // 4
    TV_METHOD(SeekDone)(HRESULT status, uint32_t time) = 0;                     // 5
    TV_METHOD(FileHeaderReady)(HRESULT status, IKMAValues* header) = 0;         // 6
    TV_METHOD(StreamHeaderReady)(HRESULT status, IKMAValues* header) = 0;       // 7
    TV_METHOD(StreamDone)(uint16_t stream) = 0;                                 // 8
};

// File header: numbers "StreamCount", "StartTime", "Duration" (milliseconds); strings "Title",
// "Artist", "Copyright" when the file has them. Stream header: string "MimeType"; numbers
// "Channels", "AvgBitrate" (bits per second), "Width", "Height", "StartTime", "Duration".
struct IKMAFileFormat : IUnknown {
    TV_METHOD(InitFileFormat)(IKMAValues* request, IKMAFormatResponse* response, IUnknown* fileObject) = 0;  // 3
    TV_METHOD(GetFileHeader)() = 0;                  // 4
    TV_METHOD(GetStreamHeader)(uint16_t stream) = 0;  // 5
    TV_METHOD(Close)() = 0;                           // 6
};

struct IKMAMediaPlatform : IUnknown {
    TV_METHOD(GetPluginHandler)(IKMAPluginHandler** handler) = 0;                    // 3
    // Platform objects by class id (the file-system manager); anything else from the host's
    // class factory the platform was made with.
    TV_METHOD(CreateObject)(const GUID& classId, const GUID& iid, void** out) = 0;   // 4
    // Runs one notification queued for the calling thread: S_OK, or S_FALSE when none waits.
    TV_METHOD(DispatchNextMessage)() = 0;                                             // 5
};

extern "C" {
// The platform library's entry points: the host's directory list in SetDLLAccessPath's form, and
// a new platform that makes buffers and value lists through factory.
typedef HRESULT(TV_STDCALL* VXSetDLLAccessPathFn)(const char* list);
typedef HRESULT(TV_STDCALL* VXCreateMediaPlatformExFn)(IKMAClassFactory* factory, IKMAMediaPlatform** out);
}

namespace tagvera {
#if defined(_WIN32)
inline constexpr char kMediaPlatformLibrary[] = "vxmedpltfm.dll";
#else
inline constexpr char kMediaPlatformLibrary[] = "libvxmedpltfm.so";
#endif
inline constexpr char kMediaPlatformEntryPoint[] = "VXCreateMediaPlatformEx";
inline constexpr char kMediaPlatformAccessPathEntryPoint[] = "VXSetDLLAccessPath";
inline constexpr char kPluginTypeFileFormat[] = "PLUGIN_FILE_FORMAT";

inline constexpr GUID IID_IKMAMediaPlatform = TV_GUID(0B7C2E10, 5A31, 4F0E, 9C, 6D, 21, 84, 3A, 7E, 11, 01);
inline constexpr GUID IID_IKMAPluginHandler = TV_GUID(0B7C2E10, 5A31, 4F0E, 9C, 6D, 21, 84, 3A, 7E, 11, 02);
inline constexpr GUID IID_IKMAFileSystemManager = TV_GUID(0B7C2E10, 5A31, 4F0E, 9C, 6D, 21, 84, 3A, 7E, 11, 03);
inline constexpr GUID IID_IKMAFileSystemManagerResponse = TV_GUID(0B7C2E10, 5A31, 4F0E, 9C, 6D, 21, 84, 3A, 7E, 11, 04);
inline constexpr GUID IID_IKMAFileObject = TV_GUID(0B7C2E10, 5A31, 4F0E, 9C, 6D, 21, 84, 3A, 7E, 11, 05);
inline constexpr GUID IID_IKMAFileFormat = TV_GUID(0B7C2E10, 5A31, 4F0E, 9C, 6D, 21, 84, 3A, 7E, 11, 06);
inline constexpr GUID IID_IKMAFormatResponse = TV_GUID(0B7C2E10, 5A31, 4F0E, 9C, 6D, 21, 84, 3A, 7E, 11, 07);
inline constexpr GUID CLSID_KMAFileSystemManager = TV_GUID(0B7C2E10, 5A31, 4F0E, 9C, 6D, 21, 84, 3A, 7E, 12, 01);
}  // namespace tagvera

#endif
