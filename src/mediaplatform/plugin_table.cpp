#include "mediaplatform/plugin_table.h"

namespace tagvera::mediaplatform {
namespace {
constexpr PluginRow kPlugins[] = {
    {"MPEG program stream", "mpg;mpeg;vob;m1v;m2v;mpa;mpga;mp2", "mpeg"},
    {"MPEG transport stream", "ts;m2ts;mts;mpg;mpeg", "mpegts"},
    {"MPEG audio", "mp2;mpa;mpga;mp3", "mp3"},
    {"QuickTime and 3GPP", "mov;qt;mp4;m4v;m4a;3gp;3g2", "mov"},
    {"AVI", "avi;divx", "avi"},
    {"WAV", "wav", "wav"},
    {"QCELP", "qcp", "qcp"},
    {"Flash video", "flv", "flv"},
};
}  // namespace

std::span<const PluginRow> FileFormatPlugins() { return kPlugins; }

}  // namespace tagvera::mediaplatform
