// The write report's "not written: <reason>" line for a failed write, and a guard that gives every
// failure of a write body that line and its result code, so no exception crosses an interface.
#ifndef TAGVERA_PACKAGE_IMPORTER_KIT_WRITE_REPORT_H
#define TAGVERA_PACKAGE_IMPORTER_KIT_WRITE_REPORT_H

#include <new>
#include <string>

#include "base/error.h"

namespace tagvera {

// A report that cannot be made leaves the result code alone.
inline void NotWritten(std::string& report, const std::string& reason) noexcept {
    try {
        report = "not written: " + reason + "\n";
    } catch (...) {
        report.clear();
    }
}

template <class Body>
HRESULT GuardWrite(std::string& report, Body&& body) noexcept {
    try {
        return body();
    } catch (const Error& e) {
        NotWritten(report, e.what());
        return e.code();
    } catch (const std::bad_alloc&) {
        NotWritten(report, "out of memory");
        return TV_E_OUTOFMEMORY;
    } catch (...) {
        NotWritten(report, "the write failed");
        return TV_E_FAIL;
    }
}

}  // namespace tagvera

#endif
