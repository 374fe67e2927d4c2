// The platform object over a set of file-format plug-ins; a platform library's entry point
// makes one with its own set.
#ifndef TAGVERA_MEDIAPLATFORM_MEDIA_PLATFORM_H
#define TAGVERA_MEDIAPLATFORM_MEDIA_PLATFORM_H

#include "mediaplatform/plugin_handler.h"
#include "tagvera/media_platform.h"

namespace tagvera::mediaplatform {

HRESULT NewMediaPlatform(IKMAClassFactory* factory, PluginSet plugins, IKMAMediaPlatform** out);

}  // namespace tagvera::mediaplatform

#endif
