// CImportMP3File's structure report: a file's ID3 tags frame by frame, read afresh from any path.
#include <string>

#include "mp3/mp3_importer.h"
#include "package/importer_kit/structure_report.h"
#include "platform/file.h"
#include "platform/interrupted_write.h"
#include "tags/id3v2/frame_report.h"
#include "tags/id3v2/json_report.h"
#include "tags/id3v2/tag_reader.h"

namespace tagvera {

HRESULT CImportMP3File::GetStructureReport(const char* path, uint32_t form, IKMABuffer** report,
                                           IKMABuffer** reason) {
    return AnswerStructureReport(path, form, report, reason, [](const char* file, bool json) {
        platform::File opened = platform::OpenForReading(file);
        if (!opened.regular()) throw Error(TV_E_FAIL, "not a regular file");
        const id3v2::FileTags tags = id3v2::ReadFileTags(opened);
        return json ? id3v2::FramesJson(tags) : id3v2::FramesText(tags, file);
    });
}

}  // namespace tagvera
