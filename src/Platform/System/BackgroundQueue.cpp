#include "Platform/System/BackgroundQueue.h"

#include <QThread>
#include <QThreadPool>

#include <algorithm>
#include <utility>

namespace tessivo {
namespace {

// Enough that one or two tasks on a disk that does not answer leave room for others.
constexpr int kFewestThreads = 4;

// Not the framework's own pool: the window is painted with that, and would wait for a disk.
class Pool : public QThreadPool {
public:
    Pool() { setMaxThreadCount(std::max(kFewestThreads, QThread::idealThreadCount())); }
};

QThreadPool& pool() {
    static Pool created; // its end, with the process's, waits for all tasks
    return created;
}

} // namespace

void BackgroundQueue::post(Priority priority, std::function<void()> task) {
    pool().start(std::move(task), static_cast<int>(priority));
}

void BackgroundQueue::waitForAll() {
    pool().waitForDone();
}

} // namespace tessivo
