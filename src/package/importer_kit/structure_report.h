// The one body of IMPAStructureReport::GetStructureReport: an importer says only how a file's
// structure reads as text or JSON; the argument checks, the guard and the reason are here.
#ifndef TAGVERA_PACKAGE_IMPORTER_KIT_STRUCTURE_REPORT_H
#define TAGVERA_PACKAGE_IMPORTER_KIT_STRUCTURE_REPORT_H

#include <cstdint>
#include <string>

#include "base/error.h"
#include "component/value_objects.h"
#include "tagvera/structure_report.h"

namespace tagvera {

// describe(path, json) returns the report and throws Error with a one-line reason for a file it
// cannot describe; that line reaches the caller in *reason.
template <class Describe>
HRESULT AnswerStructureReport(const char* path, uint32_t form, IKMABuffer** report, IKMABuffer** reason,
                              Describe&& describe) {
    if (report) *report = nullptr;
    if (reason) *reason = nullptr;
    if (!path || !report) return TV_E_POINTER;
    if (form != kStructureText && form != kStructureJson) return TV_E_INVALIDARG;
    std::string why;
    const HRESULT hr = Guard([&]() -> HRESULT {
        try {
            const std::string text = describe(path, form == kStructureJson);
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

#endif
