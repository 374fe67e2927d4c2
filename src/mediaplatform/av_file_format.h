// A file-format plug-in over libavformat: opens a file object with the plug-in's demuxer under a
// bounded probe, and delivers the file header and the stream headers as notifications.
#ifndef TAGVERA_MEDIAPLATFORM_AV_FILE_FORMAT_H
#define TAGVERA_MEDIAPLATFORM_AV_FILE_FORMAT_H

#include "mediaplatform/plugin_table.h"
#include "tagvera/media_platform.h"
#include "tagvera/plugin.h"

namespace tagvera::mediaplatform {

// What one open may cost: the probe and analysis limits handed to libavformat, and the most
// bytes it may read from the file at all (the probe, an index, and the end of the file that
// MPEG streams are timed by).
inline constexpr int64_t kProbeBytes = 1 << 20;
inline constexpr int64_t kAnalyzeMicroseconds = 2'000'000;
inline constexpr uint64_t kMostBytesRead = 8u << 20;

HRESULT NewAvFileFormat(IKMAClassFactory* factory, const PluginRow& plugin, IUnknown** out);

}  // namespace tagvera::mediaplatform

#endif
