// Result codes as people read them: "E_NOTIMPL (0x80004001)".
#ifndef TAGVERA_HOST_RESULT_TEXT_H
#define TAGVERA_HOST_RESULT_TEXT_H

#include <string>

#include "tagvera/abi.h"

namespace tagvera::host {

// The code's name when it is one of the shared codes, then its value in hex.
std::string ResultText(HRESULT code);

}  // namespace tagvera::host

#endif
