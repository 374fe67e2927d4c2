// The platform's stand-in for a thread's window messages: notifications are queued for the
// thread that made the request and run only when that thread dispatches them, so a caller never
// sees a callback on another thread or in the middle of its own request.
#ifndef TAGVERA_MEDIAPLATFORM_MESSAGE_QUEUE_H
#define TAGVERA_MEDIAPLATFORM_MESSAGE_QUEUE_H

#include <functional>

namespace tagvera::mediaplatform {

// Queues a notification for the calling thread.
void PostToThisThread(std::function<void()> message);
// Runs the oldest notification queued for the calling thread; false when none waits.
bool DispatchOneOnThisThread();

}  // namespace tagvera::mediaplatform

#endif
