// The result with which a file the media platform cannot open is refused.
#ifndef TAGVERA_INTERROGATE_INTERROGATE_CODES_H
#define TAGVERA_INTERROGATE_INTERROGATE_CODES_H

#include "tagvera/abi.h"

namespace tagvera::interrogate {

inline constexpr HRESULT kNotOpened = static_cast<HRESULT>(0x80000006u);

}  // namespace tagvera::interrogate

#endif
