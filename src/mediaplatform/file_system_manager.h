// The platform's file-system manager: "file://" URLs to file objects over tagvera's file layer,
// which count every byte read.
#ifndef TAGVERA_MEDIAPLATFORM_FILE_SYSTEM_MANAGER_H
#define TAGVERA_MEDIAPLATFORM_FILE_SYSTEM_MANAGER_H

#include "tagvera/media_platform.h"

namespace tagvera::mediaplatform {

HRESULT NewFileSystemManager(const GUID& iid, void** out);

}  // namespace tagvera::mediaplatform

#endif
