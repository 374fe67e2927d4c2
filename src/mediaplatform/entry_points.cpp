// libvxmedpltfm.so's entry points: the platform over libavformat's demuxers.
#include "mediaplatform/av_file_format.h"
#include "mediaplatform/media_platform.h"
#include "mediaplatform/plugin_table.h"

extern "C" {
#include <libavutil/log.h>
}

// The directories are the host's; libavformat needs none of them.
TV_EXPORT HRESULT TV_STDCALL VXSetDLLAccessPath(const char*) { return tagvera::TV_S_OK; }

TV_EXPORT HRESULT TV_STDCALL VXCreateMediaPlatformEx(IKMAClassFactory* factory, IKMAMediaPlatform** out) {
    if (!out) return tagvera::TV_E_POINTER;
    // A damaged file is a result code here, not a message on the host's terminal.
    av_log_set_level(AV_LOG_QUIET);
    using namespace tagvera::mediaplatform;
    return NewMediaPlatform(factory, PluginSet{FileFormatPlugins(), NewAvFileFormat}, out);
}
