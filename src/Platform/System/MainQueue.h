#pragma once

#include <chrono>
#include <functional>

class QObject;

namespace tessivo {

// Tasks for the main thread's event loop. They may be posted from any thread, run one after
// another in the order in which they were posted, and never inside the post.
//
// With a context object, which lives on the main thread and must be alive at the post, a
// task does nothing once the object is gone. After the application object's end tasks are
// dropped.
class MainQueue {
public:
    using Task = std::function<void()>;

    static void post(Task task);
    static void post(QObject* context, Task task);

    // The delay begins when all that was posted before has run.
    static void postAfter(std::chrono::milliseconds delay, QObject* context, Task task);
};

} // namespace tessivo
