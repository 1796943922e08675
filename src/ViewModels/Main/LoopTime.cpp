#include "ViewModels/Main/LoopTime.h"

#include "Audio/SimpleAudioEngine.h"
#include "Audio/SimplePlayer.h"
#include "Models/SimpleLoopState.h"
#include "Utils/AudioUtils.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace tessivo {
namespace {

using Seconds = std::chrono::duration<double>;

// A second that begins is seen with the cycle that brings it.
constexpr double kCycle = 0.02; // seconds
// While the clock stands still, nobody looks at it more often than this.
constexpr double kShortestPause = 0.1; // seconds

// How far apart, in seconds, the looks at a loop of that length are. Parts of a second, so that the
// progress of a long loop is drawn in the same frame as the text.
double stepOf(double length) {
    if (length > 120.0) {
        return 1.0;
    }
    return length > 60.0 ? 0.5 : 0.25;
}

// From that time to the next multiple of the step.
double toNext(double step, double time) {
    return step - std::fmod(time, step);
}

} // namespace

LoopTime::LoopTime(SimpleAudioEngine& engine, const SimpleLoopState& state)
    : engine_(engine)
    , state_(state) {
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, &LoopTime::look);
    connect(&state, &SimpleLoopState::transportStateChanged, this, &LoopTime::look);
}

void LoopTime::look() {
    switch (state_.transportState()) {
    case TransportState::stopped:
        timer_.stop();
        show({}, false, 0.0);
        break;
    case TransportState::recording: {
        const double length = engine_.inputNode().takeLength();
        show(AudioUtils::formatDuration(length), false, 0.0);
        lookAgain(toNext(1.0, length));
        break;
    }
    case TransportState::playing: {
        const SimplePlayer& player = engine_.createPlayer();
        const double length = player.length();
        const double position = player.position();
        show(AudioUtils::formatDuration(position) + QStringLiteral(" / ") +
                 AudioUtils::formatDuration(length),
             true, length > 0.0 ? position / length : 0.0);
        lookAgain(std::min(toNext(stepOf(length), position), length - position));
        break;
    }
    }
}

void LoopTime::show(const QString& text, bool hasProgress, double progress) {
    if (text != text_) {
        text_ = text;
        emit textChanged();
    }
    if (std::exchange(progress_, progress) != progress) {
        emit progressChanged();
    }
    if (std::exchange(hasProgress_, hasProgress) != hasProgress) {
        emit hasProgressChanged();
    }
}

void LoopTime::lookAgain(double seconds) {
    const Seconds pause(std::max(seconds + kCycle, kShortestPause));
    timer_.start(std::chrono::round<std::chrono::milliseconds>(pause));
}

} // namespace tessivo
