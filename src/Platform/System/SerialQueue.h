#pragma once

#include "Platform/System/BackgroundQueue.h"

#include <memory>

namespace tessivo {

// Background tasks that run one after another, in the order in which they were posted. The
// application's end, and that of the queue, waits for none but loses none either: tasks
// that were posted run before the process ends.
class SerialQueue {
public:
    explicit SerialQueue(BackgroundQueue::Priority priority);

    // Callable from any thread. A task must not throw.
    void post(std::function<void()> task);

private:
    struct State;
    BackgroundQueue::Priority priority_;
    std::shared_ptr<State> state_;
};

} // namespace tessivo
