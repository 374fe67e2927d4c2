// Releases that a dying node hands on instead of making them itself. Releasing a child from inside
// its parent's destructor would nest one destructor per tree level and overflow the stack on a deep
// tree; instead the outermost destructor on the thread releases the collected objects in a loop.
#ifndef TAGVERA_METAPROP_DEFERRED_RELEASE_H
#define TAGVERA_METAPROP_DEFERRED_RELEASE_H

#include "tagvera/abi.h"

namespace tagvera {

class DeferredReleases {
public:
    DeferredReleases();
    // The outermost instance on a thread releases everything collected, including what the objects
    // it releases collect in turn.
    ~DeferredReleases();
    // Takes over one reference; null is ignored.
    void Add(IUnknown* object) noexcept;

    DeferredReleases(const DeferredReleases&) = delete;
    DeferredReleases& operator=(const DeferredReleases&) = delete;

private:
    bool outermost_;
};

}  // namespace tagvera

#endif
