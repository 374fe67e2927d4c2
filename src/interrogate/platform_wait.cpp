#include "interrogate/platform_wait.h"

#include <thread>

namespace tagvera::interrogate {

bool WaitForNotification(IKMAMediaPlatform* platform, const std::function<bool()>& done,
                         std::chrono::milliseconds bound) {
    const auto deadline = std::chrono::steady_clock::now() + bound;
    while (!done()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        // An empty queue: something may yet be posted, but not by this thread spinning.
        if (platform->DispatchNextMessage() != TV_S_OK) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace tagvera::interrogate
