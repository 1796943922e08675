#pragma once

#include "Platform/System/BackgroundQueue.h"
#include "Platform/System/MainQueue.h"

#include <QPointer>

#include <utility>

namespace tessivo {

// For results that nobody needs any more when their receiver has gone.
struct IgnoreResult {
    template <typename Result> void operator()(const Result&) const {}
};

// Runs `work` in the background and then, on the main thread, `deliver(result)`, or, when the
// receiver has been destroyed meanwhile, `receiverGone(result)`. Called on the thread on which
// the receiver lives and ends, which is the main thread. `work` must not throw, must return
// something, and must not touch the receiver.
template <typename Work, typename Deliver, typename ReceiverGone = IgnoreResult>
void runInBackground(BackgroundQueue::Priority priority, QObject* receiver, Work work,
                     Deliver deliver, ReceiverGone receiverGone = {}) {
    BackgroundQueue::post(priority,
                          [receiver = QPointer(receiver), work = std::move(work),
                           deliver = std::move(deliver), receiverGone = std::move(receiverGone)] {
                              MainQueue::post([receiver, deliver, receiverGone, result = work()] {
                                  if (receiver) {
                                      deliver(result);
                                  } else {
                                      receiverGone(result);
                                  }
                              });
                          });
}

} // namespace tessivo
