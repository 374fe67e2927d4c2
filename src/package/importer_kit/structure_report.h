// The one body of IMPAStructureReport::GetStructureReport: an importer says only how a file's
// structure reads as text or JSON, and what its trees leave out; the argument checks, the guard and
// the reason are here.
#ifndef TAGVERA_PACKAGE_IMPORTER_KIT_STRUCTURE_REPORT_H
#define TAGVERA_PACKAGE_IMPORTER_KIT_STRUCTURE_REPORT_H

#include <cstdint>
#include <string>

#include "base/error.h"
#include "component/value_objects.h"
#include "tagvera/structure_report.h"

namespace tagvera {

// The guard and the reason around produce(), which returns the report or throws Error with a
// one-line reason; that line reaches the caller in *reason.
template <class Produce>
HRESULT AnswerReport(IKMABuffer** report, IKMABuffer** reason, Produce&& produce) {
    std::string why;
    const HRESULT hr = Guard([&]() -> HRESULT {
        try {
            const std::string text = produce();
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

// describe(path, json) returns the text or JSON report of the file at path. The left-out form is
// answered by importers that have something to say in it (AnswerLeftOutReport).
template <class Describe>
HRESULT AnswerStructureReport(const char* path, uint32_t form, IKMABuffer** report, IKMABuffer** reason,
                              Describe&& describe) {
    if (report) *report = nullptr;
    if (reason) *reason = nullptr;
    if (!path || !report) return TV_E_POINTER;
    if (form != kStructureText && form != kStructureJson) return TV_E_INVALIDARG;
    return AnswerReport(report, reason, [&] { return describe(path, form == kStructureJson); });
}

// leftOut(path) returns the lines of kStructureLeftOut for the file at path.
template <class LeftOut>
HRESULT AnswerLeftOutReport(const char* path, IKMABuffer** report, IKMABuffer** reason, LeftOut&& leftOut) {
    if (report) *report = nullptr;
    if (reason) *reason = nullptr;
    if (!path || !report) return TV_E_POINTER;
    return AnswerReport(report, reason, [&] { return leftOut(path); });
}

}  // namespace tagvera

#endif
