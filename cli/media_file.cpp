#include "cli/media_file.h"
#include "cli/path_text.h"
#include "cli/result_words.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "host/component_info.h"
#include "host/result_text.h"
#include "host/wide_text.h"
#include "tagvera/mp3.h"

namespace tagvera::cli {
namespace fs = std::filesystem;

namespace {

bool ListedByAnImporter(const host::Host& host, const std::string& path) {
    return host.ListedImporterForFile(path) != nullptr;
}

void WalkFolder(const host::Host& host, const std::string& folder, std::vector<MediaInput>& out, SkippedTypes* skipped) {
    std::vector<std::string> found;
    std::error_code ec;
    fs::recursive_directory_iterator it(Utf8Path(folder), fs::directory_options::skip_permission_denied, ec);
    if (ec) {
        out.push_back({folder, "cannot list the folder: " + ec.message()});
        return;
    }
    for (; it != fs::recursive_directory_iterator(); it.increment(ec)) {
        if (ec) break;
        std::error_code typeError;
        if (!it->is_regular_file(typeError)) continue;
        std::string path = PathUtf8(it->path());
        if (ListedByAnImporter(host, path)) found.push_back(std::move(path));
        else if (skipped) ++(*skipped)[PathUtf8(it->path().extension())];
    }
    std::sort(found.begin(), found.end());
    for (auto& path : found) out.push_back({std::move(path), ""});
}

// The reason a read of the file failed, in words, by what the importer answered.
std::string OpenFailure(HRESULT hr, const host::ComponentInfo& importer) {
    if (hr == TV_E_FAIL) {
        if (importer.classId == CLSID_CImportMP3File) return "not an MP3 file: no MPEG audio frames found";
        return std::string("not a file the ") + importer.className() + " importer can read";
    }
    // The interrogator's one refusal: no plug-in of the media platform opened the file.
    if (importer.classId == CLSID_KMAInterrogatePlugin) return "not a kind of file the media platform reads";
    return "cannot be read: " + Why(hr);
}

}  // namespace

std::string UnreadableReason(const std::string& path) {
#if defined(_WIN32)
    std::FILE* file = ::_wfopen(host::WideFromUtf8(path).c_str(), L"rb");
#else
    std::FILE* file = std::fopen(path.c_str(), "rb");
#endif
    if (!file) return std::string("cannot open: ") + std::strerror(errno);
    std::fclose(file);
    return "";
}

std::string SkippedText(const SkippedTypes& skipped) {
    std::string text;
    for (const auto& [extension, count] : skipped)
        text += (text.empty() ? "" : ", ") + (extension.empty() ? std::string("(no extension)") : extension) + " " +
                std::to_string(count);
    return text;
}

std::vector<MediaInput> CollectInputs(const host::Host& host, const std::vector<std::string>& names, bool recursive,
                                      SkippedTypes* skipped) {
    std::vector<MediaInput> inputs;
    for (const std::string& name : names) {
        std::error_code ec;
        // Most names are files: their size is the one look they need.
        if (const uint64_t size = fs::file_size(Utf8Path(name), ec); !ec) {
            inputs.push_back({name, "", size});
            continue;
        }
        const fs::file_status status = fs::status(Utf8Path(name), ec);
        if (fs::is_directory(status)) {
            if (recursive) WalkFolder(host, name, inputs, skipped);
            else inputs.push_back({name, "is a folder (-r reads the files in it)"});
        } else {
            inputs.push_back({name, ""});
        }
    }
    return inputs;
}

ComPtr<IMPAHandleMetaProperties> MediaFile::handler() const {
    return QueryAs<IMPAHandleMetaProperties>(importer, IID_IMPAHandleMetaProperties);
}

MediaFile ReadMediaFile(const host::Host& host, const std::string& path) { return ReadMediaFile(host, MediaInput{path, "", {}}); }

MediaFile ReadMediaFile(const host::Host& host, const MediaInput& input) {
    const std::string& path = input.path;
    std::error_code ec;
    MediaFile media;
    media.path = path;
    // One look at the file for most paths; only a size that cannot be had is worth a second.
    media.actualSize = input.size ? *input.size : fs::file_size(Utf8Path(path), ec);
    if (ec) {
        std::error_code statusError;
        const fs::file_status status = fs::status(Utf8Path(path), statusError);
        if (!fs::exists(status)) throw DataError(path, "no such file");
        if (fs::is_directory(status)) throw DataError(path, "is a folder (-r reads the files in it)");
        if (!fs::is_regular_file(status)) throw DataError(path, "not a regular file");
        throw DataError(path, "cannot read its size: " + ec.message());
    }
    if (media.actualSize == 0) throw DataError(path, "empty file (0 bytes)");

    const host::ComponentInfo* info = host.ImporterForFile(path);
    if (!info) throw DataError(path, "no importer for this kind of file");
    media.importerClass = info->className();
    HRESULT hr = TV_S_OK;
    media.importer = host.CreateAs<IMPAInterrogateFile>(info->classId, IID_IMPAInterrogateFile, &hr);
    if (hr == TV_E_NOTIMPL) {
        if (info->classId == CLSID_KMAInterrogatePlugin)
            throw DataError(path, "not a kind of file this build reads (no importer lists its extension)");
        throw DataError(path, "the importer for " + std::string(info->known ? info->known->handles : "such files") +
                                  " (" + info->className() + ") is not built yet");
    }
    if (!media.importer) throw DataError(path, "cannot create its importer: " + Why(hr));
    // A viewer leaves files as they are; the MP3 importer would otherwise mend a VBR header.
    if (info->classId == CLSID_CImportMP3File) media.importer->SetOption(kMp3OptionXingRepair, 0);

    if (hr = media.importer->SetFilename(path.c_str()); Failed(hr)) {
        // Only now is it worth asking why: most files open.
        if (const std::string reason = UnreadableReason(path); !reason.empty()) throw DataError(path, reason);
        throw DataError(path, OpenFailure(hr, *info));
    }
    media.result = media.importer->Interrogate(media.tree.put());
    if (Failed(media.result) || !media.tree)
        throw DataError(path, "cannot be interrogated: " + Why(media.result));
    return media;
}

}  // namespace tagvera::cli
