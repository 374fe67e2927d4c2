// The file-format plug-ins the platform offers: one per container family, each a libavformat
// demuxer named by its short name. An extension may have several (".mpg" is a program stream or
// a transport stream), tried in table order.
#ifndef TAGVERA_MEDIAPLATFORM_PLUGIN_TABLE_H
#define TAGVERA_MEDIAPLATFORM_PLUGIN_TABLE_H

#include <span>

namespace tagvera::mediaplatform {

struct PluginRow {
    const char* name;
    const char* extensions;  // ';' between them, no dots
    const char* demuxer;     // libavformat's short name
    bool pseudoFile = false;
};

// The libavformat plug-ins.
std::span<const PluginRow> FileFormatPlugins();

}  // namespace tagvera::mediaplatform

#endif
