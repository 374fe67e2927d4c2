// CImportWMAFile's structure report: the header objects and attributes of any ASF file, read afresh.
#include "package/importer_kit/structure_report.h"
#include "platform/file.h"
#include "platform/interrupted_write.h"
#include "wm/asf_structure_text.h"
#include "wm/wm_importer.h"

namespace tagvera {

HRESULT CImportWMAFile::GetStructureReport(const char* path, uint32_t form, IKMABuffer** report, IKMABuffer** reason) {
    return AnswerStructureReport(path, form, report, reason, [](const char* file, bool json) {
        platform::File opened = platform::OpenForReading(file);
        if (!opened.regular()) throw Error(TV_E_FAIL, "not a regular file");
        return json ? wm::StructureJson(opened) : wm::StructureText(opened, file);
    });
}

}  // namespace tagvera
