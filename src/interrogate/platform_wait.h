// Waiting for a media platform notification on the caller's own thread: the thread's queued
// notifications are dispatched one per turn until the awaited one has come or the bound is over.
#ifndef TAGVERA_INTERROGATE_PLATFORM_WAIT_H
#define TAGVERA_INTERROGATE_PLATFORM_WAIT_H

#include <chrono>
#include <functional>

#include "tagvera/media_platform.h"

namespace tagvera::interrogate {

inline constexpr std::chrono::milliseconds kWaitBound{250};

// True when done() held before the bound ran out.
bool WaitForNotification(IKMAMediaPlatform* platform, const std::function<bool()>& done,
                         std::chrono::milliseconds bound = kWaitBound);

}  // namespace tagvera::interrogate

#endif
