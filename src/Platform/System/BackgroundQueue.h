#pragma once

#include <functional>
#include <utility>

namespace tessivo {

// Runs tasks that may block on a disk, at the same time as the main thread. All functions are
// callable from any thread; a task should not throw: it ends there, with a diagnostic line. The
// process does not end before every task has run.
class BackgroundQueue {
public:
    enum class Priority {
        utility,      // nobody waits for it
        userInitiated // the user waits for it
    };

    // Several tasks run at the same time and in any order, but a waiting user-initiated task
    // starts before a waiting utility one.
    static void post(Priority priority, std::function<void()> task);

    // These tasks run one after another, in the order of their posts, on a thread of their
    // own. Such a task may also call post(); a task given to post() that calls postInOrder() must
    // wait for what it posts.
    static void postInOrder(std::function<void()> task);

    // Ends the life of something large, which takes a while.
    template <typename Large> static void destroy(Large&& large) {
        post(Priority::utility, [kept = std::forward<Large>(large)] {});
    }

    // Returns when no task is waiting or running.
    static void waitForAll();
};

} // namespace tessivo
