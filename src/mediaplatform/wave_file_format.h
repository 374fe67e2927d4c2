// A file-format plug-in of the platform's own for RIFF/WAVE files, for targets that have no
// libavformat: the header alone gives what a host asks (channels, rate, duration, INFO texts).
#ifndef TAGVERA_MEDIAPLATFORM_WAVE_FILE_FORMAT_H
#define TAGVERA_MEDIAPLATFORM_WAVE_FILE_FORMAT_H

#include <span>

#include "mediaplatform/plugin_table.h"
#include "tagvera/media_platform.h"
#include "tagvera/plugin.h"

namespace tagvera::mediaplatform {

std::span<const PluginRow> WavePlugins();
HRESULT NewWaveFileFormat(IKMAClassFactory* factory, const PluginRow& plugin, IUnknown** out);

}  // namespace tagvera::mediaplatform

#endif
