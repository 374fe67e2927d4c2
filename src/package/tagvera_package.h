// tagvera's own package and the process-wide slot that keeps the one instance.
#ifndef TAGVERA_PACKAGE_TAGVERA_PACKAGE_H
#define TAGVERA_PACKAGE_TAGVERA_PACKAGE_H

#include "package/package.h"

namespace tagvera {

class CKCAtagveraPackage_ final : public AKCAPackage {
public:
    static constexpr const char kName[] = "tagvera";
    static constexpr const char kRightsNotice[] =
        "tagvera media metadata plug-in package. Copyright (c) the tagvera developers.";
    static constexpr const char kNamespaceUri[] = "http://tagvera.org/ns/metadataplugin/1.0/";

    CKCAtagveraPackage_();
    ~CKCAtagveraPackage_() override;
};

// KMACreateInstance: the one package, created on the first call, with one more reference.
HRESULT CreatePackageInstance(IUnknown** out);
// KMAShutdown: drops the slot's reference; 0 when it was the last one.
HRESULT ShutdownPackage();

}  // namespace tagvera

#endif
