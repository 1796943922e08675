#pragma once

#include <functional>

namespace tessivo {

// Tasks that may block on a disk, run beside the main thread. Tasks run at the same time
// and in no promised order, but a waiting user-initiated one always goes before a waiting
// utility one. The application's end waits for all of them.
class BackgroundQueue {
public:
    enum class Priority {
        utility,      // nobody waits for it
        userInitiated // the user waits for it
    };

    // Callable from any thread. A task must not throw.
    static void post(Priority priority, std::function<void()> task);

    // Returns when nothing is waiting or running any more.
    static void waitForAll();
};

} // namespace tessivo
