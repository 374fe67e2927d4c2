// The bytes a reference property stands for, as a writer takes them: a property of type 10
// through the data source that answers for it, type 11 from the file its value names, type 12
// its own value.
#ifndef TAGVERA_METAPROP_REFERENCE_BYTES_H
#define TAGVERA_METAPROP_REFERENCE_BYTES_H

#include <cstdint>
#include <optional>
#include <vector>

#include "tagvera/importer.h"
#include "tagvera/metaprop.h"

namespace tagvera {

// Nothing when they are not available: no data source, a source that fails, a file that is not a
// regular file or is larger than a reference may be, a read that fails.
std::optional<std::vector<uint8_t>> ReferenceBytes(IMPAMetaProperty* property, uint32_t type,
                                                   IMPAHandleMetaProperties* dataSource);

}  // namespace tagvera

#endif
