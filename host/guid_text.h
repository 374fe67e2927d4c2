// Class and interface ids in the registry form people read: {96A4F15B-4A0D-42D3-9493-65FD3082C65B}.
#ifndef TAGVERA_HOST_GUID_TEXT_H
#define TAGVERA_HOST_GUID_TEXT_H

#include <optional>
#include <string>
#include <string_view>

#include "tagvera/abi.h"

namespace tagvera::host {

// Upper-case hex, with braces.
std::string GuidToString(const GUID& id);
// Accepts the form above, with or without braces, in either case; nothing else.
std::optional<GUID> ParseGuid(std::string_view text);

}  // namespace tagvera::host

#endif
