#pragma once

#include <chrono>
#include <functional>

class QObject;

namespace tessivo {

// Tasks for the main thread's event loop. They may be posted from any thread and run one after
// another in the order of their posts, never inside post(): on the next turn of the loop or, if it
// comes first, in runPosted().
//
// A task with a context object is dropped when the object is destroyed before it runs. The
// object lives on the main thread and must exist during the call. Without an application object
// tasks are dropped.
class MainQueue {
public:
    using Task = std::function<void()>;

    static void post(Task task);
    static void post(QObject* context, Task task);

    // Runs now what has been posted so far, and what that posts. For whoever is about to hand on a
    // command: it finds the state that the one before it left. Main thread only.
    static void runPosted();

    // The delay begins when all tasks that were posted before have run.
    static void postAfter(std::chrono::milliseconds delay, QObject* context, Task task);
};

} // namespace tessivo
