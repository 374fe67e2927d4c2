// Buffers and value lists made by the library itself, without the host class factory (tests,
// parsers that need a scratch list, code that runs before a host context exists), and the one
// way to read a text buffer back.
#ifndef TAGVERA_COMPONENT_VALUE_OBJECTS_H
#define TAGVERA_COMPONENT_VALUE_OBJECTS_H

#include <cstdint>
#include <string>
#include <string_view>

#include "tagvera/buffer_text.h"
#include "tagvera/values.h"

namespace tagvera {

// Each returns a new object with one reference, or a failure with *out null.
HRESULT NewBuffer(IKMABuffer** out);
HRESULT NewBuffer(const void* data, uint32_t size, IKMABuffer** out);
// The text followed by its NUL, as string values carry it.
HRESULT NewTextBuffer(std::string_view text, IKMABuffer** out);
// CZNHeader: sorted, names without regard to case.
HRESULT NewValueList(IKMAValues** out);
// CKMAUniquelyKeyedList: insertion order, case-sensitive names; also answers IKMAValuesRemove.
HRESULT NewKeyedList(IKMAValues** out);

}  // namespace tagvera

#endif
