// The KorvaMedia edit engine as hosts and the importer see it: the editing object (IKMAKMEdit3,
// IKMAKMEdit2, IKMAKMFileHeader), the header reader (IKMAKMFF4Reader, IKMAKMMetaInformation) and
// the copiers that write a new file (IKMAKMFFCopy2).
//
// Texts are NUL-terminated bytes. A getter of text copies it with its NUL into buffer when *size
// is large enough and sets *size to what it needs; a buffer too small gives 0x8004000D, no buffer
// is a question for the size. A time given as text is either digits alone, milliseconds ("1500"),
// or "[h:]m:ss[.f]" with up to three digits of fraction ("1:02:03.5", "2:05"); anything else,
// or a time past 2^32-1 ms, gives 0x80040304. Flags are numbers, nonzero meaning set.
#ifndef TAGVERA_KMEDIA_EDIT_H
#define TAGVERA_KMEDIA_EDIT_H

#include "tagvera/abi.h"
#include "tagvera/values.h"

struct IKMAProgressSink : IUnknown {
    // How far the work has come, 0 to 100. A failure asks the work to stop with it.
    TV_METHOD(OnProgress)(uint32_t percent) = 0;  // 3
};

// The header reader of one input file.
struct IKMAKMFF4Reader : IUnknown {
    // Stream headers are the MDPR objects whose MIME type does not begin with "logical-".
    TV_METHOD(GetNumStreamHeaders)(uint32_t* count) = 0;  // 3
    // The stream's MDPR object, bytes as in the file, and its average bit rate; an index past
    // the last gives 0x00040012 and no object.
    TV_METHOD(GetStreamHeader)(uint32_t index, IKMABuffer** mdpr, uint32_t* bitRate) = 0;  // 4
    TV_METHOD(GetDuration)(uint32_t* ms) = 0;                                               // 5
    // The "PROP" and "CONT" objects, bytes as in the file; 0x80040007 when the file has none.
    TV_METHOD(GetProperties)(IKMABuffer** prop) = 0;  // 6
    TV_METHOD(GetContent)(IKMABuffer** cont) = 0;     // 7
    TV_METHOD(GetFlags)(uint16_t* flags) = 0;         // 8
    // A first object that is not ".KMF" or ".KMS", or a short read: 0x80040081; a file header
    // version above 1: 0x80040005.
    TV_METHOD(Open)(const char* path) = 0;  // 9
    TV_METHOD(Close)() = 0;                 // 10
    // 1 for a ".KMF" file, 2 for a ".KMS" file.
    TV_METHOD(GetFileKind)(uint32_t* kind) = 0;  // 11
};

struct IKMAKMMetaInformation : IUnknown {
    // The file-info values of the lowest-numbered "logical-fileinfo" stream, in a new list;
    // 0x80040007 when the file has none.
    TV_METHOD(GetFileInfoValues)(IKMAValues** values) = 0;  // 3
};

struct IKMAKMFileHeader : IUnknown {
    // The ".KMF" version of the file written next.
    TV_METHOD(SetFileVersion)(uint32_t version) = 0;  // 3
};

struct IKMAKMEdit : IUnknown {
    // Forwarded to the reader's slot 3; no input read gives 0x80004005.
    TV_METHOD(GetNumStreamHeaders)(uint32_t* count) = 0;  // 3
    // ms may be null when only the check is wanted.
    TV_METHOD(CheckTimeText)(const char* text, uint32_t* ms) = 0;  // 4
    TV_METHOD(SetTitle)(const char* text) = 0;                     // 5
    // Texts longer than 255 bytes give 0x8004000D and change nothing.
    TV_METHOD(SetAuthor)(const char* text) = 0;     // 6
    TV_METHOD(SetCopyright)(const char* text) = 0;  // 7
    TV_METHOD(SetComment)(const char* text) = 0;    // 8
    // The PROP flags 1, 8 and 2 of the file written.
    TV_METHOD(SetFlag1)(uint32_t on) = 0;                  // 9
    TV_METHOD(SetFlag8)(uint32_t on) = 0;                  // 10
    TV_METHOD(SetFlag2)(uint32_t on) = 0;                  // 11
    TV_METHOD(SetStartTimeText)(const char* text) = 0;     // 12
    // Accepted and ignored: the start time is set only as text.
    TV_METHOD(SetStartTime)(uint32_t ms) = 0;              // 13
    TV_METHOD(SetEndTimeText)(const char* text) = 0;       // 14
    TV_METHOD(SetEndTime)(uint32_t ms) = 0;                // 15
    // readHeaders nonzero: open the file and load its content strings, flags and file-info.
    TV_METHOD(SetInputFile)(const char* path, uint32_t readHeaders) = 0;  // 16
    // A file appended after the first input.
    TV_METHOD(AddInputFile)(const char* path) = 0;                      // 17
    TV_METHOD(SetOutputFile)(const char* path) = 0;                     // 18
    TV_METHOD(GetTitle)(char* buffer, uint32_t* size) = 0;              // 19
    TV_METHOD(GetAuthor)(char* buffer, uint32_t* size) = 0;             // 20
    TV_METHOD(GetCopyright)(char* buffer, uint32_t* size) = 0;          // 21
    TV_METHOD(GetComment)(char* buffer, uint32_t* size) = 0;            // 22
    TV_METHOD(GetFlag1)(uint32_t* on) = 0;                              // 23
    TV_METHOD(GetFlag8)(uint32_t* on) = 0;                              // 24
    TV_METHOD(GetFlag2)(uint32_t* on) = 0;                              // 25
    TV_METHOD(GetStartTime)(uint32_t* ms) = 0;                          // 26
    TV_METHOD(GetEndTime)(uint32_t* ms) = 0;                            // 27
    // The input's duration (0 with no input read).
    TV_METHOD(GetDuration)(uint32_t* ms) = 0;                           // 28
    TV_METHOD(GetInputFile)(char* buffer, uint32_t* size) = 0;          // 29
    TV_METHOD(GetOutputFile)(char* buffer, uint32_t* size) = 0;         // 30
    // An object handed to the copier as it is; cleared only by the same object.
    TV_METHOD(SetOptions)(IUnknown* options) = 0;                       // 31
    TV_METHOD(ClearOptions)(IUnknown* options) = 0;                     // 32
    TV_METHOD(CreateBuffer)(IKMABuffer** buffer) = 0;                   // 33
};

struct IKMAKMEdit3 : IKMAKMEdit {
    // Kept for hosts built against a wider table; they answer 0x80004001.
    TV_METHOD(Reserved34)() = 0;  // 34
    TV_METHOD(Reserved35)() = 0;  // 35
    TV_METHOD(Reserved36)() = 0;  // 36
    // Writes the output: 0x80040007 without an input or output name, 0x800403C5 when the output
    // is one of the inputs, else the copier's result.
    TV_METHOD(Save)() = 0;                                     // 37
    TV_METHOD(AddProgressSink)(IKMAProgressSink* sink) = 0;     // 38
    TV_METHOD(RemoveProgressSink)(IKMAProgressSink* sink) = 0;  // 39
};

// Each answers S_OK when the input has a stream of that kind (or its multirate variant), S_FALSE
// when not; 0x80040007 with no input read.
struct IKMAKMEdit2 : IUnknown {
    TV_METHOD(HasAudio)() = 0;     // 3
    TV_METHOD(HasVideo)() = 0;     // 4
    TV_METHOD(HasEvents)() = 0;    // 5
    TV_METHOD(HasImageMap)() = 0;  // 6
    // Of the first video stream: its picture size and its maximum bit rate.
    TV_METHOD(GetVideoSize)(uint32_t* width, uint32_t* height) = 0;  // 7
    TV_METHOD(GetVideoBitRate)(uint32_t* bitRate) = 0;               // 8
};

struct IKMAKMFFCopy2 : IUnknown {
    TV_METHOD(AddInputFile)(const char* path) = 0;   // 3
    TV_METHOD(SetOutputFile)(const char* path) = 0;  // 4
    TV_METHOD(SetStartTime)(uint32_t ms) = 0;        // 5
    TV_METHOD(SetEndTime)(uint32_t ms) = 0;          // 6
    TV_METHOD(SetContent)(const char* title, const char* author, const char* copyright,
                          const char* comment) = 0;  // 7
    // Only the bits 1, 2 and 8 are written.
    TV_METHOD(SetFlags)(uint16_t flags) = 0;                  // 8
    TV_METHOD(SetOptions)(IUnknown* options) = 0;             // 9
    // No further option is known; 0x80004001.
    TV_METHOD(SetFurtherOption)(IUnknown* option) = 0;        // 10
    TV_METHOD(SetFileInfoValues)(IKMAValues* values) = 0;     // 11
    TV_METHOD(Run)() = 0;                                     // 12
    TV_METHOD(AddProgressSink)(IKMAProgressSink* sink) = 0;     // 13
    TV_METHOD(RemoveProgressSink)(IKMAProgressSink* sink) = 0;  // 14
};

namespace tagvera {

inline constexpr GUID IID_IKMAProgressSink = TV_GUID(D66BC754, CC86, 4208, 8C, 70, 01, 47, 66, F2, C3, D0);
inline constexpr GUID IID_IKMAKMFF4Reader = TV_GUID(7846FBCD, 929A, 451F, AB, C6, F6, 45, F7, 9A, 01, D4);
inline constexpr GUID IID_IKMAKMMetaInformation = TV_GUID(67CEAAC9, E80C, 4313, AA, 60, B2, 50, 2D, 02, 90, B6);
inline constexpr GUID IID_IKMAKMFileHeader = TV_GUID(C6839E38, 3EE1, 4E42, 96, 21, 72, DD, 1D, F5, D4, E2);
inline constexpr GUID IID_IKMAKMEdit = TV_GUID(364E6959, 4BC1, 457A, A1, 88, 5E, 98, 78, D8, 9F, 92);
inline constexpr GUID IID_IKMAKMEdit3 = TV_GUID(C6A841B2, 1B39, 4B1E, BD, 15, 86, 7D, DF, 44, D6, 6B);
inline constexpr GUID IID_IKMAKMEdit2 = TV_GUID(5DC81822, 3F07, 42DE, BA, 52, AD, E7, 04, 54, 08, 1A);
inline constexpr GUID IID_IKMAKMFFCopy2 = TV_GUID(0154C295, 58EC, 4B04, 85, 88, 5A, B0, A2, 8F, EB, 4E);

// The edit engine's own result codes.
enum : HRESULT {
    TV_KM_E_BADTIMETEXT = static_cast<HRESULT>(0x80040304u),
    TV_KM_E_NOTKORVAMEDIA = static_cast<HRESULT>(0x80040081u),
    // A file header version above 1; for a copier, an input of a kind it cannot copy.
    TV_KM_E_UNSUPPORTED = static_cast<HRESULT>(0x80040005u),
    TV_KM_S_NOSUCHSTREAM = static_cast<HRESULT>(0x00040012u),
    TV_KM_E_ENDBEFORESTART = static_cast<HRESULT>(0x800403C2u),
    TV_KM_E_NOINPUT = static_cast<HRESULT>(0x800403C3u),
    TV_KM_E_NOOUTPUT = static_cast<HRESULT>(0x800403C4u),
    TV_KM_E_OUTPUTISINPUT = static_cast<HRESULT>(0x800403C5u),
    TV_KM_E_OUTPUTNOTCREATABLE = static_cast<HRESULT>(0x800403D6u),
};

}  // namespace tagvera

#endif
