// The creator that each format folder defines for its row of the component table. The table
// names them through this header, so the package reaches no format's internals.
#ifndef TAGVERA_PACKAGE_IMPORTER_KIT_COMPONENT_CREATORS_H
#define TAGVERA_PACKAGE_IMPORTER_KIT_COMPONENT_CREATORS_H

#include "tagvera/abi.h"
#include "tagvera/plugin.h"

namespace tagvera {

HRESULT CreateImportMP3File(IKCAPackage_* package, IUnknown* outer, IUnknown** out);  // mp3/
HRESULT CreateImportKMJFile(IKCAPackage_* package, IUnknown* outer, IUnknown** out);  // kmedia/
HRESULT CreateImageMetadataPlugin(IKCAPackage_* package, IUnknown* outer, IUnknown** out);  // image/
HRESULT CreateImportWMAFile(IKCAPackage_* package, IUnknown* outer, IUnknown** out);  // wm/
HRESULT CreateInterrogatePlugin(IKCAPackage_* package, IUnknown* outer, IUnknown** out);  // interrogate/
HRESULT CreateImportCFSFile(IKCAPackage_* package, IUnknown* outer, IUnknown** out);  // recorded/
HRESULT CreateImportM4File(IKCAPackage_* package, IUnknown* outer, IUnknown** out);  // mp4/

}  // namespace tagvera

#endif
