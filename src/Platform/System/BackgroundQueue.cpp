#include "Platform/System/BackgroundQueue.h"

#include "Platform/System/LogLine.h"

#include <QThread>
#include <QThreadPool>

#include <algorithm>
#include <exception>
#include <string>
#include <utility>

namespace tessivo {
namespace {

// Enough that one or two tasks on a disk that does not answer leave room for others.
constexpr int kFewestThreads = 4;

// Not the framework's own pool: the window is painted with that, and would wait for a disk.
struct Pools {
    Pools() {
        anyOrder.setMaxThreadCount(std::max(kFewestThreads, QThread::idealThreadCount()));
        inOrder.setMaxThreadCount(1);
    }
    // At the end of the process both are there until no task is left: the tasks of each may still
    // post to the other.
    ~Pools() { waitForAll(); }
    Pools(const Pools&) = delete;
    Pools& operator=(const Pools&) = delete;

    void waitForAll() {
        inOrder.waitForDone();
        anyOrder.waitForDone();
    }

    QThreadPool anyOrder;
    QThreadPool inOrder;
};

// What a task throws is a fault of ours, which must not end the program.
std::function<void()> guarded(std::function<void()> task) {
    return [task = std::move(task)] {
        try {
            task();
        } catch (const std::exception& error) {
            logLine(std::string("❌ [ERROR] Background task failed: ") + error.what());
        }
    };
}

Pools& pools() {
    static Pools created;
    return created;
}

} // namespace

void BackgroundQueue::post(Priority priority, std::function<void()> task) {
    pools().anyOrder.start(guarded(std::move(task)), static_cast<int>(priority));
}

void BackgroundQueue::postInOrder(std::function<void()> task) {
    pools().inOrder.start(guarded(std::move(task)));
}

void BackgroundQueue::waitForAll() {
    pools().waitForAll();
}

} // namespace tessivo
