// CImportMP3File's structure report: a file's ID3 tags frame by frame, read afresh from any path.
#include <string>

#include "base/error.h"
#include "component/value_objects.h"
#include "mp3/mp3_importer.h"
#include "platform/file.h"
#include "tags/id3v2/frame_report.h"
#include "tags/id3v2/json_report.h"
#include "tags/id3v2/tag_reader.h"

namespace tagvera {

HRESULT CImportMP3File::GetStructureReport(const char* path, uint32_t form, IKMABuffer** report,
                                           IKMABuffer** reason) {
    if (report) *report = nullptr;
    if (reason) *reason = nullptr;
    if (!path || !report) return TV_E_POINTER;
    if (form != kStructureText && form != kStructureJson) return TV_E_INVALIDARG;
    std::string why;
    const HRESULT hr = Guard([&]() -> HRESULT {
        try {
            platform::File file = OpenMp3ForReading(path);
            if (!file.regular()) throw Error(TV_E_FAIL, "not a regular file");
            const id3v2::FileTags tags = id3v2::ReadFileTags(file);
            const std::string text = form == kStructureJson ? id3v2::FramesJson(tags) : id3v2::FramesText(tags, path);
            if (text.size() > UINT32_MAX) throw Error(TV_E_OUTOFMEMORY, "a report larger than 4 GB");
            return NewBuffer(text.data(), static_cast<uint32_t>(text.size()), report);
        } catch (const Error& e) {
            why = e.what();
            throw;
        }
    });
    if (Failed(hr) && reason && !why.empty()) NewTextBuffer(why, reason);
    return hr;
}

}  // namespace tagvera
