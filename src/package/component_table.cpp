// The one list of components. When a component's folder lands, its row's creator changes from
// CreateNotBuiltComponent to the component's own, declared in importer_kit/component_creators.h.
// The lists each component advertises are the importers' own (importer_kit/advertised_types.h).
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
    ComponentRow(CLSID_CImportMP3File, CreateImportMP3File),
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
    ComponentRow(CLSID_CImageMetadataPlugin, CreateImageMetadataPlugin),
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
