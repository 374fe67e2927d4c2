// The one list of components, each with the creator its folder defines (importer_kit/
// component_creators.h). The lists each component advertises are the importers' own
// (importer_kit/advertised_types.h).
#include "package/component_table.h"

#include "metaprop/metaprop_component.h"
#include "package/importer_kit/advertised_types.h"
#include "package/importer_kit/component_creators.h"
#include "tagvera/plugin.h"

namespace tagvera {

HRESULT CreateNotBuiltComponent(IKCAPackage_*, IUnknown*, IUnknown** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    return TV_E_NOTIMPL;
}

namespace {
constexpr const char* kMimeTypes = kSupportedMimeTypes;
constexpr const char* kExtensions = kSupportedExtensions;

// A folder that a target has no libraries for yet (the build says which) keeps its row, so a host
// still sees the component and is told E_NOTIMPL when it asks for one.
#if TAGVERA_HAS_MP3
constexpr ComponentCreator kMp3Creator = CreateImportMP3File;
#else
constexpr ComponentCreator kMp3Creator = CreateNotBuiltComponent;
#endif
#if TAGVERA_HAS_IMAGE
constexpr ComponentCreator kImageCreator = CreateImageMetadataPlugin;
#else
constexpr ComponentCreator kImageCreator = CreateNotBuiltComponent;
#endif
}  // namespace

const ComponentTableRow kTagveraComponentTable[] = {
    // 0: the property tree
    ComponentRow(CLSID_CMPAMetaProperty, CreateMetaPropertyComponent),
    NumberRow(kLoadMultiple, 1),

    // 1: KorvaMedia files
    ComponentRow(CLSID_CImportKMJFile, CreateImportKMJFile),
    NumberRow(kLoadMultiple, 1),
    StringRow(kExtensions, advertised::kKorvaMediaExtensions),
    StringRow(kMimeTypes, advertised::kKorvaMediaMimeTypes),

    // 2: MPEG audio files
    ComponentRow(CLSID_CImportMP3File, kMp3Creator),
    NumberRow(kLoadMultiple, 1),
    StringRow(kMimeTypes, advertised::kMp3MimeTypes),
    StringRow(kExtensions, advertised::kMp3Extensions),

    // 3: files the host records itself
    ComponentRow(CLSID_CImportCFSFile, CreateImportCFSFile),
    NumberRow(kLoadMultiple, 1),
    StringRow(kMimeTypes, advertised::kRecordedMimeTypes),
    StringRow(kExtensions, advertised::kRecordedExtensions),

    // 4: MP4 files
    ComponentRow(CLSID_CImportM4File, CreateImportM4File),
    NumberRow(kLoadMultiple, 1),
    StringRow(kExtensions, advertised::kMp4Extensions),

    // 5: still images
    ComponentRow(CLSID_CImageMetadataPlugin, kImageCreator),
    NumberRow(kLoadMultiple, 1),
    StringRow(kMimeTypes, advertised::kImageMimeTypes),
    StringRow(kExtensions, advertised::kImageExtensions),

    // 6: Windows Media files
    ComponentRow(CLSID_CImportWMAFile, CreateImportWMAFile),
    NumberRow(kLoadMultiple, 1),
    StringRow(kMimeTypes, advertised::kWindowsMediaMimeTypes),
    StringRow(kExtensions, advertised::kWindowsMediaExtensions),

    // 7: any other file, through the host's media platform
    ComponentRow(CLSID_KMAInterrogatePlugin, CreateInterrogatePlugin),
    NumberRow(kLoadMultiple, 1),

    EndRow(),
};

}  // namespace tagvera
