// The header objects and attributes of an ASF file as text for people and as JSON for tools.
#ifndef TAGVERA_WM_ASF_STRUCTURE_TEXT_H
#define TAGVERA_WM_ASF_STRUCTURE_TEXT_H

#include <string>

#include "base/byte_source.h"

namespace tagvera::wm {

// Reads the header and the heads of the objects after it; throws Error when there is no header
// to describe.
std::string StructureText(ByteSource& file, const std::string& name);
std::string StructureJson(ByteSource& file);

}  // namespace tagvera::wm

#endif
