// Statistics an importer takes from the generic interrogator, which reads the file through the
// host's media platform: what no parser of the package works out itself (the streams' MIME types).
#ifndef TAGVERA_PACKAGE_IMPORTER_KIT_BORROWED_STATISTICS_H
#define TAGVERA_PACKAGE_IMPORTER_KIT_BORROWED_STATISTICS_H

#include <string>

#include "component/context_user.h"
#include "tagvera/com_ptr.h"
#include "tagvera/plugin.h"
#include "tagvera/importer.h"
#include "tagvera/metaprop.h"
#include "tagvera/vocabulary.h"

namespace tagvera {

// The generic interrogator's tree of path; null when it cannot read the file (a host without a
// media platform, no plug-in for the extension, a file the platform refuses).
inline ComPtr<IMPAMetaProperty> InterrogateGenerically(const CKCAContextUserMixin& host, const char* path) {
    ComPtr<IMPAInterrogateFile> interrogator;
    ComPtr<IMPAMetaProperty> found;
    if (Failed(host.CreateThroughHost(CLSID_KMAInterrogatePlugin, IID_IMPAInterrogateFile, interrogator.put())) ||
        !interrogator || Failed(interrogator->SetFilename(path)) || Failed(interrogator->Interrogate(found.put())))
        found.reset();
    return found;
}

// The tree's "Statistics" group; null when it has none.
inline ComPtr<IMPAMetaProperty> StatisticsOf(IMPAMetaProperty* tree) {
    ComPtr<IMPAMetaProperty> group;
    if (!tree || Failed(tree->FindFirstChild(kGroupStatistics, group.put())) || !group) group.reset();
    return group;
}

// Copies the statistic name of the group from into to's "Statistics" (type, flags and value as
// found, replacing what is there); nothing when from lacks it.
inline void CopyStatistic(IMPAMetaProperty* from, IMPAMetaProperty* to, const char* name) {
    ComPtr<IMPAMetaProperty> node;
    if (!from || Failed(from->FindFirstChild(name, node.put())) || !node) return;
    uint32_t type = 0, flags = 0, size = 0;
    const uint8_t* data = nullptr;
    if (Failed(node->GetType(&type)) || Failed(node->GetFlags(&flags)) || Failed(node->GetValue(&data, &size))) return;
    to->AddProperty((std::string(kGroupStatistics) + ":" + name).c_str(), type, flags, data, size, true, nullptr);
}

}  // namespace tagvera

#endif
