// tagvera's own addition to the importers' interfaces: how a file is built, for people and for
// tools that look below the property tree. The MP3 importer (CImportMP3File) describes a file's
// ID3 tags frame by frame; an importer whose format has nothing worth showing does not answer it.
#ifndef TAGVERA_STRUCTURE_REPORT_H
#define TAGVERA_STRUCTURE_REPORT_H

#include "tagvera/abi.h"
#include "tagvera/values.h"

struct IMPAStructureReport : IUnknown {
    // Reads the file at path, which need be neither the file set with SetFilename nor one the
    // importer could interrogate (a damaged file is what a report is most often wanted for), and
    // describes it in form, as UTF-8 text in a new buffer without a NUL. Unknown form:
    // E_INVALIDARG. A file that cannot be read fails; *reason, when reason is not null, then
    // receives one line saying why, as text with its NUL.
    TV_METHOD(GetStructureReport)(const char* path, uint32_t form, IKMABuffer** report, IKMABuffer** reason) = 0;  // 3
};

namespace tagvera {

inline constexpr GUID IID_IMPAStructureReport = TV_GUID(D6B4FB94, 4E0F, 4C3B, BE, 94, 3C, 7B, 8D, 38, 56, 65);

// Forms of GetStructureReport.
enum : uint32_t {
    // Lines for people, the last ending in "\n". MP3: a line per tag ("ID3v2.3 at 0, 4096 bytes
    // (1500 padding), 12 frames"), then "  ID  what its fields say" per frame, then warnings.
    kStructureText = 0,
    // One JSON document for tools. MP3: {"version", "frames": [{"id", and the fields the frame
    // has}], "second_tag", "warnings"}, the form of the ID3 fixtures' expected reports.
    kStructureJson = 1,
    // What the file holds that its property tree leaves out, where several parts of the file name
    // one property and the tree shows the first: one line each, "PROPERTY\tPART\tWHAT IT HOLDS\n"
    // (MP3: "Track:Comments\tCOMM\t[deu] [] \"Kommentar\""); empty when nothing is left out. An
    // importer whose trees show everything its files hold answers E_INVALIDARG.
    kStructureLeftOut = 2,
};

}  // namespace tagvera

#endif
