// CImportKMJFile's structure report: the object layout of any KorvaMedia file, read afresh.
#include <string>

#include "kmedia/kmj_importer.h"
#include "kmedia/structure_text.h"
#include "package/importer_kit/structure_report.h"
#include "platform/file.h"
#include "platform/interrupted_write.h"

namespace tagvera {

HRESULT CImportKMJFile::GetStructureReport(const char* path, uint32_t form, IKMABuffer** report,
                                           IKMABuffer** reason) {
    return AnswerStructureReport(path, form, report, reason, [](const char* file, bool json) {
        platform::File opened = platform::OpenForReading(file);
        if (!opened.regular()) throw Error(TV_E_FAIL, "not a regular file");
        const kmedia::FileLayout layout = kmedia::ReadFileLayout(opened);
        return json ? kmedia::LayoutJson(layout) : kmedia::LayoutText(layout, file);
    });
}

}  // namespace tagvera
