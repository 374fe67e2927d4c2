// The MP3 importer as a host meets it: the built library loaded through its entry points, the
// importer created by class id.
#ifndef TAGVERA_TESTS_MP3_IMPORTER_IMPORTER_SUPPORT_H
#define TAGVERA_TESTS_MP3_IMPORTER_IMPORTER_SUPPORT_H

#include <gtest/gtest.h>

#include <string>

#include "host/host.h"
#include "mp3_importer/mp3_builder.h"
#include "mp3_importer/preferences_file.h"
#include "mp3_importer/tree_support.h"
#include "platform/scratch_dir.h"
#include "tagvera/com_ptr.h"
#include "tagvera/importer.h"
#include "tagvera/mp3.h"
#include "tagvera/plugin.h"

namespace tagvera::testing {

// One host for the whole test program; the library stays loaded until it ends.
inline host::Host& SharedHost() {
    static host::Host* host = [] {
        host::HostOptions options;
        options.libraryPath = TAGVERA_LIBRARY_PATH;
        options.keepLoaded = true;
        return new host::Host(options);
    }();
    return *host;
}

// An importer that reads files as they are: these tests read committed fixtures, which the Xing
// repair would otherwise change.
inline ComPtr<IMPAInterrogateFile> NewImporter() {
    HRESULT hr = TV_S_OK;
    auto importer = SharedHost().CreateAs<IMPAInterrogateFile>(CLSID_CImportMP3File, IID_IMPAInterrogateFile, &hr);
    EXPECT_EQ(hr, TV_S_OK);
    if (importer) {
        EXPECT_EQ(importer->SetOption(kMp3OptionXingRepair, 0), TV_S_OK);
    }
    return importer;
}

inline ComPtr<IMPAMetaProperty> HostTree() {
    ComPtr<IMPAMetaProperty> tree;
    EXPECT_EQ(SharedHost().NewPropertyTree(tree.put()), TV_S_OK);
    return tree;
}

struct Interrogation {
    HRESULT open = TV_E_FAIL;
    HRESULT result = TV_E_FAIL;
    ComPtr<IMPAInterrogateFile> importer;
    ComPtr<IMPAMetaProperty> tree;

    ComPtr<IMPAHandleMetaProperties> handler() const {
        return QueryAs<IMPAHandleMetaProperties>(importer, IID_IMPAHandleMetaProperties);
    }
    std::string text(const char* path) const { return tree ? TextAt(tree.get(), path) : ""; }
    uint32_t number(const char* path) const { return tree ? NumberAt(tree.get(), path) : UINT32_MAX; }
    bool has(const char* path) const { return tree && NodeAt(tree.get(), path); }
};

// A new importer of the class (the MP3 importer as NewImporter makes it) opens path and reads it,
// in the light form if asked.
inline Interrogation Interrogate(const std::string& path, const GUID& classId = CLSID_CImportMP3File,
                                 bool light = false) {
    Interrogation out;
    HRESULT hr = TV_S_OK;
    out.importer = classId == CLSID_CImportMP3File
                       ? NewImporter()
                       : SharedHost().CreateAs<IMPAInterrogateFile>(classId, IID_IMPAInterrogateFile, &hr);
    EXPECT_EQ(hr, TV_S_OK);
    if (!out.importer) return out;
    auto lite = QueryAs<IMPAInterrogateLite>(out.importer, IID_IMPAInterrogateLite);
    out.open = light ? lite->SetFilename(path.c_str()) : out.importer->SetFilename(path.c_str());
    if (Succeeded(out.open))
        out.result = light ? lite->InterrogateLite(out.tree.put()) : out.importer->Interrogate(out.tree.put());
    return out;
}

}  // namespace tagvera::testing

#endif
