// CImportM4File's structure report: the box tree of any MP4 file, read afresh.
#include "mp4/m4_importer.h"
#include "mp4/structure_text.h"
#include "package/importer_kit/structure_report.h"
#include "platform/file.h"
#include "platform/interrupted_write.h"

namespace tagvera {

HRESULT CImportM4File::GetStructureReport(const char* path, uint32_t form, IKMABuffer** report,
                                          IKMABuffer** reason) {
    return AnswerStructureReport(path, form, report, reason, [](const char* file, bool json) {
        platform::File opened = platform::OpenForReading(file);
        if (!opened.regular()) throw Error(TV_E_FAIL, "not a regular file");
        mp4::CMp4Editor editor;
        editor.LoadMetadata(opened);
        if (editor.topLevel().atoms.empty()) throw Error(TV_E_FAIL, "no MP4 boxes: " + editor.problem());
        return json ? mp4::AtomsJson(editor) : mp4::AtomsText(editor);
    });
}

}  // namespace tagvera
