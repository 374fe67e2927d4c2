// The generic interrogator as the command drives it: a host whose plug-in directory holds the
// platform under test, and the "Statistics" the interrogator made of a file.
#ifndef TAGVERA_TESTS_INTERROGATE_INTERROGATE_SUPPORT_H
#define TAGVERA_TESTS_INTERROGATE_INTERROGATE_SUPPORT_H

#include <string>

#include "host/host.h"
#include "metaprop/property_access.h"
#include "tagvera/importer.h"

namespace tagvera::testing {

inline host::HostOptions HostWithPlatformIn(const std::string& directory) {
    host::HostOptions options;
    options.libraryPath = TAGVERA_LIBRARY_PATH;
    options.directories = {{"DT_Plugins", directory}};
    return options;
}

struct Interrogation {
    HRESULT opened = TV_E_FAIL;
    HRESULT result = TV_E_FAIL;
    ComPtr<IMPAMetaProperty> statistics;

    uint32_t number(const char* name) const {
        uint32_t value = 0;
        ChildNumber(statistics.get(), name, &value);
        return value;
    }
    std::string text(const char* name) const { return ChildText(statistics.get(), name); }
    bool has(const char* name) const {
        ComPtr<IMPAMetaProperty> child;
        return statistics && Succeeded(statistics->FindFirstChild(name, child.put())) && child;
    }
};

inline Interrogation Interrogate(const host::Host& host, const std::string& path) {
    Interrogation out;
    auto importer = host.CreateAs<IMPAInterrogateFile>(CLSID_KMAInterrogatePlugin, IID_IMPAInterrogateFile);
    if (!importer) return out;
    out.opened = importer->SetFilename(path.c_str());
    ComPtr<IMPAMetaProperty> tree;
    out.result = importer->Interrogate(tree.put());
    if (tree) tree->FindFirstChild("Statistics", out.statistics.put());
    return out;
}

}  // namespace tagvera::testing

#endif
