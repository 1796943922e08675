#include "ViewModels/Main/LooperWatch.h"

#include "Audio/MIDIManager.h"
#include "Audio/SimpleRecorder.h"
#include "Models/LoopLibrary.h"
#include "Models/SimpleLoopState.h"
#include "Platform/System/BackgroundCall.h"
#include "Platform/System/MainQueue.h"
#include "Platform/System/Paths.h"

#include <chrono>
#include <cmath>
#include <utility>

namespace tessivo {
namespace {

using namespace std::chrono_literals;
using Kind = Notices::Kind;

// A server that restarts and a controller that is being connected are no news.
constexpr auto kSettleTime = 1s;
constexpr auto kLossInterval = 500ms;
// A server that was restarted is back by then.
constexpr int kLooksInVain = 5;
constexpr auto kSpaceInterval = 2s;
constexpr double kSecondsLeft = 5 * 60;
constexpr double kSecondsOfFullDisk = 1;

QString minutesOf(double seconds) {
    const int minutes = static_cast<int>(seconds / 60);
    if (minutes == 0) {
        return LooperWatch::tr("less than a minute");
    }
    return minutes == 1 ? LooperWatch::tr("a minute")
                        : LooperWatch::tr("%n minutes", nullptr, minutes);
}

} // namespace

LooperWatch::LooperWatch(SimpleAudioEngine& engine, SimpleLoopState& state, Notices& notices,
                         FreeSpace freeSpace)
    : engine_(engine)
    , state_(state)
    , notices_(notices)
    , freeSpace_(std::move(freeSpace)) {
    settling_.setSingleShot(true);
    settling_.setInterval(kSettleTime);
    connect(&settling_, &QTimer::timeout, this, [this] { tellDevices(true); });
    connect(&engine, &SimpleAudioEngine::devicesChanged, this, [this] {
        notices_.set(Kind::recordFailed, false);
        lookAtDevices();
    });
    lookAtDevices();

    connect(&losses_, &QTimer::timeout, this, [this] {
        lookForLosses(state_.isRecording());
        lookForCycles();
    });
    losses_.setInterval(kLossInterval);
    connect(&state, &SimpleLoopState::isRecordingChanged, this, &LooperWatch::takeBeganOrEnded);
    for (const auto change :
         {&SimpleLoopState::transportStateChanged, &SimpleLoopState::isRecordingChanged,
          &SimpleLoopState::inputMonitoringEnabledChanged}) {
        connect(&state, change, this, &LooperWatch::watchForLosses);
    }
    watchForLosses();
    forgetWhatWorksAgain();

    space_.setSingleShot(true);
    connect(&space_, &QTimer::timeout, this, &LooperWatch::askForSpace);
}

// What failed a moment ago and works now is no news.
void LooperWatch::forgetWhatWorksAgain() {
    connect(&state_, &SimpleLoopState::transportStateChanged, this, [this] {
        if (state_.transportState() == TransportState::playing) {
            notices_.set(Kind::playFailed, false);
        }
    });
    connect(&state_, &SimpleLoopState::currentSavedLoopChanged, this, [this] {
        if (state_.currentSavedLoop()) {
            notices_.set(Kind::saveFailed, false);
            notices_.set(Kind::loadFailed, false);
        }
    });
}

void LooperWatch::followLibrary(LoopLibrary& library) {
    connect(&library, &LoopLibrary::lastErrorChanged, this, [this, &library] {
        if (const auto& error = library.lastError()) {
            const bool isUnread = error->kind() == LoopError::Kind::libraryCorrupted;
            notices_.tell(isUnread ? Kind::libraryUnread : Kind::libraryUnwritten,
                          LoopError::shownReasonOf(*error));
        }
    });
}

void LooperWatch::followController(MIDIManager& manager) {
    manager_ = &manager;
    for (const auto change :
         {&MIDIManager::availableDevicesChanged, &MIDIManager::isConnectedChanged}) {
        connect(&manager, change, this, &LooperWatch::lookAtDevices, Qt::UniqueConnection);
    }
    lookAtDevices();
}

void LooperWatch::lookAtDevices() {
    tellDevices(false);
    settling_.start();
}

void LooperWatch::tellDevices(bool settled) {
    const auto tell = [&](Kind kind, bool holds, const QString& detail = {}) {
        if (settled || !holds) {
            notices_.set(kind, holds, detail);
        }
    };
    const bool microphone = engine_.inputNode().inputFormat().channelCount() > 0;
    const bool speaker = engine_.outputNode().inputFormat().channelCount() > 0;
    tell(Kind::noDevices, !microphone && !speaker);
    tell(Kind::noMicrophone, !microphone && speaker);
    const bool waits =
        manager_ && !manager_->isConnected() && !manager_->availableDevices().empty();
    tell(Kind::controllerWaiting, waits,
         waits ? manager_->availableDevices().front().name : QString());
}

bool LooperWatch::isHeard() const {
    return state_.transportState() == TransportState::playing || state_.inputMonitoringEnabled();
}

void LooperWatch::watchForLosses() {
    if (!isHeard() && !state_.isRecording()) {
        losses_.stop();
        looksInVain_ = 0;
        notices_.set(Kind::soundStopped, false);
    } else if (!losses_.isActive()) {
        known_ = engine_.statistics(); // nobody has missed what was lost before
        losses_.start();
    }
}

void LooperWatch::lookForLosses(bool inTake) {
    const auto now = engine_.statistics();
    const auto before = std::exchange(known_, now);
    if (inTake && (now.missedFrames.input != before.missedFrames.input ||
                   now.overrunFrames != before.overrunFrames)) {
        notices_.tell(Kind::takeHasGap);
    } else if (isHeard() && (now.missedFrames != before.missedFrames ||
                             now.underrunFrames != before.underrunFrames)) {
        notices_.tell(Kind::soundInterrupted);
    }
}

// The devices may be there and formats known, and still nobody calls us.
void LooperWatch::lookForCycles() {
    const bool advances = std::exchange(position_, known_.position) != known_.position;
    looksInVain_ = advances ? 0 : looksInVain_ + 1;
    notices_.set(Kind::soundStopped, looksInVain_ >= kLooksInVain);
}

void LooperWatch::followTake(SimpleRecorder& recorder) {
    recorder_ = &recorder;
    notices_.set(Kind::recordFailed, false);
    notices_.set(Kind::takeHasGap, false);
    notices_.set(Kind::takeIncomplete, false);
    connect(&recorder, &SimpleRecorder::writeFailed, this, &LooperWatch::takeFailed,
            Qt::UniqueConnection);
    MainQueue::post(this, [this] { askForSpace(); });
}

void LooperWatch::takeBeganOrEnded() {
    lookForLosses(!state_.isRecording());
    if (!state_.isRecording() && notices_.has(Kind::takeIncomplete)) {
        notices_.tell(Kind::takeIncomplete);
    }
}

void LooperWatch::takeFailed() {
    if (state_.isRecording()) {
        notices_.set(Kind::takeIncomplete, true); // takeBeganOrEnded() ends it
    } else {
        notices_.tell(Kind::takeIncomplete);
    }
    askForSpace();
}

void LooperWatch::askForSpace() {
    if (std::exchange(isAskingForSpace_, true)) {
        return;
    }
    const auto folder = pathOf(recorder_->recordingURL()).parent_path();
    runInBackground(
        BackgroundQueue::Priority::utility, this,
        [ask = freeSpace_, folder] { return ask(folder); },
        [this](std::optional<std::uintmax_t> freeBytes) {
            isAskingForSpace_ = false;
            tellSpace(freeBytes);
        });
}

void LooperWatch::tellSpace(std::optional<std::uintmax_t> freeBytes) {
    const sound::AudioFormat format = engine_.inputNode().outputFormat();
    const double bytesPerSecond = format.sampleRate() * format.channelCount() * sizeof(float);
    const bool isKnown = freeBytes && bytesPerSecond > 0;
    const double seconds = isKnown ? static_cast<double>(*freeBytes) / bytesPerSecond : HUGE_VAL;
    const bool isFull = seconds < kSecondsOfFullDisk;
    const bool isAlmostFull = !isFull && seconds < kSecondsLeft;
    notices_.set(Kind::diskFull, isFull);
    notices_.set(Kind::diskAlmostFull, isAlmostFull, isAlmostFull ? minutesOf(seconds) : QString());
    if (state_.isRecording() || isFull || isAlmostFull) {
        space_.start(kSpaceInterval);
    }
}

} // namespace tessivo
