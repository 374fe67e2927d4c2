// The file-info properties as other components take them: an IKMAValues list with numbers
// (type 0), buffers (type 1) and strings (type 2), and back. "ASMRuleBook" stays in the file.
#ifndef TAGVERA_KMEDIA_FILE_INFO_VALUES_H
#define TAGVERA_KMEDIA_FILE_INFO_VALUES_H

#include <vector>

#include "kmedia/name_value_property.h"
#include "tagvera/values.h"

namespace tagvera::kmedia {

// A new keyed list (empty for no properties).
HRESULT FileInfoToValues(const std::vector<NameValueProperty>& properties, IKMAValues** out);
// Numbers, then buffers, then strings, each in the list's order; a string loses its NUL.
// Throws Error when the list answers with a failure other than its end.
std::vector<NameValueProperty> ValuesToFileInfo(IKMAValues* values);

}  // namespace tagvera::kmedia

#endif
