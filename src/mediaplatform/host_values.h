// Value lists and buffers made by the host's class factory, which is how the platform hands its
// headers and plug-in properties to a host.
#ifndef TAGVERA_MEDIAPLATFORM_HOST_VALUES_H
#define TAGVERA_MEDIAPLATFORM_HOST_VALUES_H

#include <string_view>

#include "tagvera/com_ptr.h"
#include "tagvera/plugin.h"
#include "tagvera/values.h"

namespace tagvera::mediaplatform {

// Null when the factory cannot make one.
ComPtr<IKMAValues> NewValues(IKMAClassFactory* factory);
// A buffer holding text and its NUL, stored as string name.
HRESULT SetString(IKMAClassFactory* factory, IKMAValues* values, const char* name, std::string_view text);

}  // namespace tagvera::mediaplatform

#endif
