// The one list of components. When a component's folder lands, its row's creator changes from
// CreateNotBuiltComponent to the component's own creator, with its header included above.
#include "package/component_table.h"

#include "metaprop/metaprop_component.h"
#include "mp3/mp3_importer.h"
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
    ComponentRow(CLSID_CImportKMJFile, CreateNotBuiltComponent),
    NumberRow(kLoadMultiple, 1),
    StringRow(kExtensions, "km|kmj|kms|mnd|kmvb|kmc|kax|kvx|kv|ka"),
    StringRow(kMimeTypes, "audio/x-zn-korvaaudio|application/x-zn-korvamedia"),

    // 2: MPEG audio files
    ComponentRow(CLSID_CImportMP3File, CreateImportMP3File),
    NumberRow(kLoadMultiple, 1),
    StringRow(kMimeTypes, "audio/mp3|audio/x-mp3"),
    StringRow(kExtensions, "mp3|mpga"),

    // 3: files the host records itself
    ComponentRow(CLSID_CImportCFSFile, CreateNotBuiltComponent),
    NumberRow(kLoadMultiple, 1),
    StringRow(kMimeTypes, "application/x-zn-recordfileformat"),
    StringRow(kExtensions, "ivr|flv|meta"),

    // 4: MP4 files
    ComponentRow(CLSID_CImportM4File, CreateNotBuiltComponent),
    NumberRow(kLoadMultiple, 1),
    StringRow(kExtensions, "m4a|m4p|m4v|mp4"),

    // 5: still images
    ComponentRow(CLSID_CImageMetadataPlugin, CreateNotBuiltComponent),
    NumberRow(kLoadMultiple, 1),
    StringRow(kMimeTypes, "image/jpeg|image/bmp|image/png|image/gif|image/tiff"),
    StringRow(kExtensions, "jpg|jpeg|bmp|png|gif|tif|tiff"),

    // 6: Windows Media files
    ComponentRow(CLSID_CImportWMAFile, CreateNotBuiltComponent),
    NumberRow(kLoadMultiple, 1),
    StringRow(kMimeTypes, "video/x-ms-asf|audio/x-ms-wma|video/x-ms-wmv|application/x-mplayer2"),
    StringRow(kExtensions, "asf|wma|wmv"),

    // 7: any other file, through the host's media platform
    ComponentRow(CLSID_KMAInterrogatePlugin, CreateNotBuiltComponent),
    NumberRow(kLoadMultiple, 1),

    EndRow(),
};

}  // namespace tagvera
