#include "ViewModels/Main/TakeOffer.h"

#include "Models/SimpleLoopState.h"
#include "Platform/System/BackgroundQueue.h"
#include "Platform/System/Paths.h"
#include "Utils/TakeMarker.h"
#include "ViewModels/Main/Notices.h"

#include <utility>

namespace tessivo {

using Kind = Notices::Kind;

TakeOffer::TakeOffer(const SimpleLoopState& state, Notices& notices, std::chrono::milliseconds time)
    : state_(state)
    , notices_(notices) {
    time_.setSingleShot(true);
    time_.setInterval(time);
    connect(&time_, &QTimer::timeout, this, &TakeOffer::end);
    connect(&state, &SimpleLoopState::isRecordingChanged, this, &TakeOffer::end);
    connect(&state, &SimpleLoopState::fileURLChanged, this, &TakeOffer::end);
    connect(&notices, &Notices::changed, this, &TakeOffer::forgetWhatShows);
}

void TakeOffer::make(const QUrl& take) {
    if (!take.isEmpty() && !state_.isRecording() && !state_.hasAudio()) {
        take_ = take;
        notices_.set(Kind::takeFound, true, take.fileName());
    }
}

QUrl TakeOffer::end() {
    time_.stop();
    notices_.set(Kind::takeFound, false);
    return std::exchange(take_, {});
}

void TakeOffer::forgetWhatShows() {
    if (notices_.shows(Kind::takeFound) && !time_.isActive()) {
        time_.start();
        BackgroundQueue::post(BackgroundQueue::Priority::utility,
                              [take = pathOf(take_)] { TakeMarker::forget(take); });
    }
}

} // namespace tessivo
