// Reading media files for `info` and `extract`: which files a command line names, the importer the
// host picks for each, and the reasons people get when a file cannot be read.
#ifndef TAGVERA_CLI_MEDIA_FILE_H
#define TAGVERA_CLI_MEDIA_FILE_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cli/command.h"
#include "host/host.h"
#include "tagvera/com_ptr.h"
#include "tagvera/importer.h"
#include "tagvera/metaprop.h"

namespace tagvera::cli {

// A file named on the command line or found in a folder; error says why it cannot be read, before
// any importer is asked ("" when it looks readable).
struct MediaInput {
    std::string path;
    std::string error;
    std::optional<uint64_t> size;  // when collecting it already looked
};

// Files a folder walk passed over because no importer lists their extension: how many of each
// extension ("" for none).
using SkippedTypes = std::map<std::string, size_t>;
// ".flac 2, .txt 1".
std::string SkippedText(const SkippedTypes& skipped);

// The names as given, folders replaced (with recursive) by the files below them that an importer
// lists the extension of, in sorted order; the others are counted in skipped. A folder without
// recursive is an input with an error.
std::vector<MediaInput> CollectInputs(const host::Host& host, const std::vector<std::string>& names, bool recursive,
                                      SkippedTypes* skipped = nullptr);

// A file read through its importer.
struct MediaFile {
    std::string path;
    std::string importerClass;
    ComPtr<IMPAInterrogateFile> importer;
    ComPtr<IMPAMetaProperty> tree;
    HRESULT result = TV_S_OK;  // Interrogate's: S_OK, or 0x00040885 when statistics are incomplete
    uint64_t actualSize = 0;   // the size on disk, which the 32-bit statistics may clip

    ComPtr<IMPAHandleMetaProperties> handler() const;
};

// Interrogates the file as a viewer does (nothing in it is changed). Throws DataError with a
// one-line reason when the file cannot be read.
MediaFile ReadMediaFile(const host::Host& host, const std::string& path);
MediaFile ReadMediaFile(const host::Host& host, const MediaInput& input);

// Why the operating system will not let us read path, or "" when it will.
std::string UnreadableReason(const std::string& path);

}  // namespace tagvera::cli

#endif
