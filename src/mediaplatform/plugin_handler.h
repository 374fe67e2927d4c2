// The platform's plug-in handler: the table of file-format plug-ins with their properties, found
// by the strings a host asks for.
#ifndef TAGVERA_MEDIAPLATFORM_PLUGIN_HANDLER_H
#define TAGVERA_MEDIAPLATFORM_PLUGIN_HANDLER_H

#include <span>

#include "mediaplatform/plugin_table.h"
#include "tagvera/com_ptr.h"
#include "tagvera/media_platform.h"
#include "tagvera/plugin.h"

namespace tagvera::mediaplatform {

// Makes a new instance of the plug-in a row stands for.
using PluginMaker = HRESULT (*)(IKMAClassFactory* factory, const PluginRow& row, IUnknown** out);

struct PluginSet {
    std::span<const PluginRow> rows;
    PluginMaker make;
};

ComPtr<IKMAPluginHandler> NewPluginHandler(IKMAClassFactory* factory, PluginSet plugins);

}  // namespace tagvera::mediaplatform

#endif
