// vxmedpltfm.dll where the target has no libavformat: the platform with its own WAVE plug-in, so
// that the generic interrogator has a platform to run against there.
#include "mediaplatform/media_platform.h"
#include "mediaplatform/wave_file_format.h"

TV_EXPORT HRESULT TV_STDCALL VXSetDLLAccessPath(const char*) { return tagvera::TV_S_OK; }

TV_EXPORT HRESULT TV_STDCALL VXCreateMediaPlatformEx(IKMAClassFactory* factory, IKMAMediaPlatform** out) {
    using namespace tagvera::mediaplatform;
    return NewMediaPlatform(factory, PluginSet{WavePlugins(), NewWaveFileFormat}, out);
}
