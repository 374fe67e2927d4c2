// CImportKMJFile's structure report: the object layout of any KorvaMedia file, read afresh.
#include <string>

#include "base/error.h"
#include "component/value_objects.h"
#include "kmedia/kmj_importer.h"
#include "kmedia/structure_text.h"
#include "platform/file.h"

namespace tagvera {

HRESULT CImportKMJFile::GetStructureReport(const char* path, uint32_t form, IKMABuffer** report,
                                           IKMABuffer** reason) {
    if (report) *report = nullptr;
    if (reason) *reason = nullptr;
    if (!path || !report) return TV_E_POINTER;
    if (form != kStructureText && form != kStructureJson) return TV_E_INVALIDARG;
    std::string why;
    const HRESULT hr = Guard([&]() -> HRESULT {
        try {
            platform::File file(path, platform::OpenMode::Read);
            if (!file.regular()) throw Error(TV_E_FAIL, "not a regular file");
            const kmedia::FileLayout layout = kmedia::ReadFileLayout(file);
            const std::string text =
                form == kStructureJson ? kmedia::LayoutJson(layout) : kmedia::LayoutText(layout, path);
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
