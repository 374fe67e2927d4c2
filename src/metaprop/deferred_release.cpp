#include "metaprop/deferred_release.h"

#include <vector>

namespace tagvera {
namespace {

thread_local std::vector<IUnknown*> t_pending;
thread_local bool t_draining = false;

}  // namespace

DeferredReleases::DeferredReleases() : outermost_(!t_draining) { t_draining = true; }

DeferredReleases::~DeferredReleases() {
    if (!outermost_) return;
    while (!t_pending.empty()) {
        IUnknown* object = t_pending.back();
        t_pending.pop_back();
        object->Release();
    }
    t_draining = false;
}

void DeferredReleases::Add(IUnknown* object) noexcept {
    if (!object) return;
    try {
        t_pending.push_back(object);
    } catch (...) {
        // Without memory for the list, release at once: only deep trees pay with stack.
        object->Release();
    }
}

}  // namespace tagvera
