#include "mediaplatform/message_queue.h"

#include <deque>
#include <utility>

namespace tagvera::mediaplatform {
namespace {
std::deque<std::function<void()>>& ThisThreadsQueue() {
    thread_local std::deque<std::function<void()>> queue;
    return queue;
}
}  // namespace

void PostToThisThread(std::function<void()> message) { ThisThreadsQueue().push_back(std::move(message)); }

bool DispatchOneOnThisThread() {
    auto& queue = ThisThreadsQueue();
    if (queue.empty()) return false;
    // Taken off first: the notification may post more.
    std::function<void()> message = std::move(queue.front());
    queue.pop_front();
    message();
    return true;
}

}  // namespace tagvera::mediaplatform
