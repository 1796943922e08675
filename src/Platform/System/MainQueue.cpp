#include "Platform/System/MainQueue.h"

#include <QCoreApplication>
#include <QEvent>
#include <QTimer>

#include <utility>

namespace tessivo {

void MainQueue::post(Task task) {
    post(QCoreApplication::instance(), std::move(task));
}

void MainQueue::post(QObject* context, Task task) {
    if (context == nullptr) {
        return;
    }
    QMetaObject::invokeMethod(context, std::move(task), Qt::QueuedConnection);
}

void MainQueue::runPosted() {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
}

void MainQueue::postAfter(std::chrono::milliseconds delay, QObject* context, Task task) {
    post(context, [delay, context, task = std::move(task)]() mutable {
        QTimer::singleShot(delay, Qt::PreciseTimer, context, std::move(task));
    });
}

} // namespace tessivo
