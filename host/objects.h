// The host's own buffers and value lists, made without the library: what the host class factory
// hands the package and its components. They keep the same contract as the library's.
#ifndef TAGVERA_HOST_OBJECTS_H
#define TAGVERA_HOST_OBJECTS_H

#include "tagvera/values.h"

namespace tagvera::host {

// Each returns a new object with one reference, or a failure with *out null.
HRESULT NewHostBuffer(IKMABuffer** out);
// Sorted by name without regard to case; one entry per name with a number, buffer and string.
HRESULT NewHostValues(IKMAValues** out);
// Insertion order, case-sensitive names; also answers IKMAValuesRemove.
HRESULT NewHostKeyedList(IKMAValues** out);

}  // namespace tagvera::host

#endif
