// The host's lifetime and registration objects the package asks for in InitializePlugin. A real
// host would unload idle packages; this one writes down what it is told, so that callers and tests
// can see whether the package is busy or idle.
#ifndef TAGVERA_HOST_PACKAGE_EVENTS_H
#define TAGVERA_HOST_PACKAGE_EVENTS_H

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "tagvera/plugin.h"

namespace tagvera::host {

struct PackageEvents {
    // Every call in order: "Configure(2000,1)", "Busy", "Idle", "Register(tagvera)", "Unregister".
    std::vector<std::string> calls;
    bool configured = false;
    uint32_t busyValue = 0;
    bool busy = false;  // the last of Busy / Idle
    int busyCount = 0;
    int idleCount = 0;
    bool registered = false;
    std::string packageName;
    // Lifetime objects created and not yet released.
    int liveLifetimeObjects = 0;
    int liveRegistrationObjects = 0;
    // Busy and Idle may come from whichever thread released or created a component.
    std::mutex mutex;
};

// New objects writing into events, each with one reference.
HRESULT NewLifetimeObject(std::shared_ptr<PackageEvents> events, IKCAPackageLifetime** out);
HRESULT NewRegistrationObject(std::shared_ptr<PackageEvents> events, IKCAPackageRegistration** out);

}  // namespace tagvera::host

#endif
