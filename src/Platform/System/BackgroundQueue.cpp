#include "Platform/System/BackgroundQueue.h"

#include <QThreadPool>

#include <utility>

namespace tessivo {

void BackgroundQueue::post(Priority priority, std::function<void()> task) {
    QThreadPool::globalInstance()->start(std::move(task), static_cast<int>(priority));
}

void BackgroundQueue::waitForAll() {
    QThreadPool::globalInstance()->waitForDone();
}

} // namespace tessivo
