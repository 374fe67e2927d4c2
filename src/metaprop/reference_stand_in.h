// How references travel in both serialized forms: a node of type 11 (a file name) or 12 (data held
// in the value) is stored as a clone of type 10 with children telling what it refers to.
#ifndef TAGVERA_METAPROP_REFERENCE_STAND_IN_H
#define TAGVERA_METAPROP_REFERENCE_STAND_IN_H

#include <cstdint>

#include "tagvera/com_ptr.h"
#include "tagvera/metaprop.h"

namespace tagvera {

// The clone of type 10 that stands for node: for a file reference a child "Extension" and, when the
// file can be opened, "DataSize" (and with embedFile the file's bytes as the clone's value, an
// empty string when they cannot be read); for a data reference "DataSize" with the value's size.
// Throws Error when the tree cannot clone or add children.
ComPtr<IMPAMetaProperty> MakeReferenceStandIn(IMPAMetaProperty* node, uint32_t type, bool embedFile);

}  // namespace tagvera

#endif
