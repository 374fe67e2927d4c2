// Creating property-tree nodes: as the package's component 0, and directly for tests, fuzzers and
// tools that have no host.
#ifndef TAGVERA_METAPROP_METAPROP_COMPONENT_H
#define TAGVERA_METAPROP_METAPROP_COMPONENT_H

#include "tagvera/metaprop.h"
#include "tagvera/plugin.h"

namespace tagvera {

// The component-table creator of CMPAMetaProperty (a managed component of package).
HRESULT CreateMetaPropertyComponent(IKCAPackage_* package, IUnknown* outer, IUnknown** out);

// A node tied to no package and no host; its children are made directly as well.
HRESULT CreateStandaloneMetaProperty(IMPAMetaProperty** out);

}  // namespace tagvera

#endif
