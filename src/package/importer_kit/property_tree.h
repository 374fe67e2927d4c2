// A new, empty property tree for an importer's result or its working trees.
#ifndef TAGVERA_PACKAGE_IMPORTER_KIT_PROPERTY_TREE_H
#define TAGVERA_PACKAGE_IMPORTER_KIT_PROPERTY_TREE_H

#include "metaprop/metaprop_component.h"
#include "tagvera/com_ptr.h"
#include "tagvera/metaprop.h"
#include "tagvera/plugin.h"

namespace tagvera {

// From the host's class factory; without a host (tests, tools) the tree makes its own nodes.
// Whatever the factory answers, a missing tree is E_OUTOFMEMORY.
inline HRESULT NewPropertyTree(IKMAClassFactory* factory, ComPtr<IMPAMetaProperty>& out) {
    out.reset();
    const HRESULT hr = factory ? factory->CreateInstance(CLSID_CMPAMetaProperty, nullptr, IID_IMPAMetaProperty,
                                                         out.putVoid())
                               : CreateStandaloneMetaProperty(out.put());
    if (Failed(hr) || !out) {
        out.reset();
        return TV_E_OUTOFMEMORY;
    }
    return TV_S_OK;
}

}  // namespace tagvera

#endif
