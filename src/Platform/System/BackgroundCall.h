#pragma once

#include "Platform/System/BackgroundQueue.h"
#include "Platform/System/MainQueue.h"

#include <QPointer>

#include <functional>
#include <future>
#include <type_traits>
#include <utility>

namespace tessivo {

// For results that nobody needs any more when their receiver has gone.
struct IgnoreResult {
    template <typename Result> void operator()(const Result&) const {}
};

// The work as a task for the background that hands its result on as described below.
template <typename Work, typename Deliver, typename ReceiverGone>
std::function<void()> backgroundCall(QObject* receiver, Work work, Deliver deliver,
                                     ReceiverGone receiverGone) {
    return [receiver = QPointer(receiver), work = std::move(work), deliver = std::move(deliver),
            receiverGone = std::move(receiverGone)] {
        MainQueue::post([receiver, deliver, receiverGone, result = work()] {
            if (receiver) {
                deliver(result);
            } else {
                receiverGone(result);
            }
        });
    };
}

// Runs `work` in the background and then, on the main thread, `deliver(result)`, or, when the
// receiver has been destroyed meanwhile, `receiverGone(result)`. Called on the thread on which
// the receiver lives and ends, which is the main thread. `work` must not throw, must return
// something, and must not touch the receiver.
template <typename Work, typename Deliver, typename ReceiverGone = IgnoreResult>
void runInBackground(BackgroundQueue::Priority priority, QObject* receiver, Work work,
                     Deliver deliver, ReceiverGone receiverGone = {}) {
    BackgroundQueue::post(priority, backgroundCall(receiver, std::move(work), std::move(deliver),
                                                   std::move(receiverGone)));
}

// The same after everything that was given to the queue that keeps the order.
template <typename Work, typename Deliver, typename ReceiverGone = IgnoreResult>
void runInOrder(QObject* receiver, Work work, Deliver deliver, ReceiverGone receiverGone = {}) {
    BackgroundQueue::postInOrder(
        backgroundCall(receiver, std::move(work), std::move(deliver), std::move(receiverGone)));
}

// For work that may throw: does it, and returns what get() then returns or throws.
template <typename Work> auto outcomeOf(Work&& work) {
    std::packaged_task<std::invoke_result_t<Work&>()> task(std::forward<Work>(work));
    task();
    return task.get_future().share();
}

} // namespace tessivo
