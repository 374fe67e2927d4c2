// The one typed error that parsing code throws; interface guards turn it into its result code.
#ifndef TAGVERA_BASE_ERROR_H
#define TAGVERA_BASE_ERROR_H

#include <stdexcept>
#include <string>

#include "tagvera/abi.h"

namespace tagvera {

class Error : public std::runtime_error {
public:
    Error(HRESULT code, const std::string& what) : std::runtime_error(what), code_(code) {}
    HRESULT code() const noexcept { return code_; }

private:
    HRESULT code_;
};

// Runs body and maps anything it throws to a result code, so no exception crosses an interface.
template <class Body>
HRESULT Guard(Body&& body) noexcept {
    try {
        return body();
    } catch (const Error& e) {
        return e.code();
    } catch (const std::bad_alloc&) {
        return TV_E_OUTOFMEMORY;
    } catch (...) {
        return TV_E_FAIL;
    }
}

}  // namespace tagvera

#endif
