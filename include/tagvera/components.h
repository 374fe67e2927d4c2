// The eight components the package holds, in component-table order, with the class names a host
// shows to people. The MIME types and extensions come from GetComponentInfo, not from here.
#ifndef TAGVERA_COMPONENTS_H
#define TAGVERA_COMPONENTS_H

#include "tagvera/plugin.h"

namespace tagvera {

struct KnownComponent {
    const GUID* classId;
    const char* className;
    const char* handles;
};

inline constexpr KnownComponent kKnownComponents[] = {
    {&CLSID_CMPAMetaProperty, "CMPAMetaProperty", "metadata property tree"},
    {&CLSID_CImportKMJFile, "CImportKMJFile", "KorvaMedia files"},
    {&CLSID_CImportMP3File, "CImportMP3File", "MPEG audio files"},
    {&CLSID_CImportCFSFile, "CImportCFSFile", "recorded files"},
    {&CLSID_CImportM4File, "CImportM4File", "MP4 files"},
    {&CLSID_CImageMetadataPlugin, "CImageMetadataPlugin", "still images"},
    {&CLSID_CImportWMAFile, "CImportWMAFile", "Windows Media files"},
    {&CLSID_KMAInterrogatePlugin, "KMAInterrogatePlugin", "any other file, through the media platform"},
};
inline constexpr uint32_t kComponentCount = sizeof(kKnownComponents) / sizeof(kKnownComponents[0]);

// The entry for a class id, or null.
inline const KnownComponent* FindKnownComponent(const GUID& classId) {
    for (const auto& c : kKnownComponents)
        if (*c.classId == classId) return &c;
    return nullptr;
}

}  // namespace tagvera

#endif
