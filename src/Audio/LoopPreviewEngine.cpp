#include "Audio/LoopPreviewEngine.h"

#include "Platform/Sound/AudioError.h"
#include "Platform/System/BackgroundCall.h"
#include "Platform/System/LogLine.h"
#include "Platform/System/MainQueue.h"
#include "Platform/System/Paths.h"
#include "Utils/LoopFileManager.h"

#include <QCoreApplication>
#include <QPointer>
#include <QTimerEvent>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <exception>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>

namespace tessivo {
namespace {

using namespace std::chrono_literals;

// A preview is stopped when the device takes no frame between two checks, that is after 5 to 10 s.
// A server that restarts or a speaker that wakes up needs less.
constexpr auto kLongestSilence = 5s;

// How often the end of a fade-out is polled, and for how long at most: without a device that
// takes frames a fade never ends.
constexpr auto kFadePoll = 20ms;
constexpr auto kLongestFade = 250ms;

// An entry may name any file, but only those in the library's folder are played.
std::filesystem::path audioOf(const SavedLoop& loop) {
    if (const auto location = LoopFileManager::locationOf(loop)) {
        return pathOf(*location);
    }
    throw sound::AudioError("The audio file is not in the library's folder: \"" +
                            loop.filename().toStdString() + "\"");
}

// Keeps an engine until the device has taken the fade-out of its last preview and no disk is waited
// for, and then deletes itself. When the application object ends first, the destructor waits for
// that.
class FadeOut final : public QObject {
public:
    FadeOut(std::unique_ptr<sound::AudioEngine> engine, std::shared_ptr<sound::PlayerNode> player)
        : engine_(std::move(engine))
        , player_(std::move(player)) {
        startTimer(kFadePoll);
    }
    ~FadeOut() override {
        while (!isOver()) {
            std::this_thread::sleep_for(1ms);
        }
    }
    Q_DISABLE_COPY_MOVE(FadeOut)

protected:
    void timerEvent(QTimerEvent* event) override {
        if (isOver()) {
            killTimer(event->timerId());
            engine_.reset();
            deleteLater();
        }
    }

private:
    bool isOver() const {
        const bool isFaded = !player_->isFading() || std::chrono::steady_clock::now() >= deadline_;
        return isFaded && !(engine_ && engine_->isReading());
    }

    std::chrono::steady_clock::time_point deadline_ =
        std::chrono::steady_clock::now() + kLongestFade;
    std::unique_ptr<sound::AudioEngine> engine_;
    std::shared_ptr<sound::PlayerNode> player_;
};

} // namespace

LoopPreviewEngine::LoopPreviewEngine(std::unique_ptr<sound::AudioDevice> device)
    : audioEngine_(std::make_unique<sound::AudioEngine>(
          std::move(device), [](auto task) { MainQueue::post(std::move(task)); },
          [](const std::string& line) { logLine(line); }))
    , playerNode_(std::make_shared<sound::PlayerNode>()) {
    audioEngine_->attach(playerNode_);
    audioEngine_->connect(*playerNode_, *audioEngine_->mainMixerNode());
    playerNode_->setVolume(previewVolume_);
    silenceTimer_.setInterval(kLongestSilence);
    connect(&silenceTimer_, &QTimer::timeout, this, &LoopPreviewEngine::stopIfSilent);
}

LoopPreviewEngine::~LoopPreviewEngine() {
    stopPreview();
    if (std::exchange(engineStarted_, false) &&
        (playerNode_->isFading() || audioEngine_->isReading())) {
        auto fadeOut = std::make_unique<FadeOut>(std::move(audioEngine_), std::move(playerNode_));
        if (auto* application = QCoreApplication::instance()) {
            fadeOut.release()->setParent(application);
        }
    }
    audioEngine_.reset();
    logLine("🎵 [PREVIEW] Preview engine cleaned up");
}

void LoopPreviewEngine::startEngineIfNeeded() {
    if (!engineStarted_) {
        audioEngine_->start();
        engineStarted_ = true;
        logLine("🎵 [PREVIEW] Preview engine started");
    }
}

void LoopPreviewEngine::previewLoop(const SavedLoop& loop) {
    stopPreview();
    try {
        startEngineIfNeeded();
    } catch (const std::exception& error) {
        emit previewFailed(QString::fromUtf8(error.what()));
        return;
    }
    publish(isOpening_, true, &LoopPreviewEngine::isOpeningChanged);
    // In order with the changes of the library: what was deleted before is not heard.
    runInOrder(
        this, [loop] { return outcomeOf([&] { return sound::openForPlaying(audioOf(loop)); }); },
        [this, loop, number = opening_](const OpenedFile& opened) {
            if (number == opening_) {
                play(loop, opened);
            }
        });
}

void LoopPreviewEngine::play(const SavedLoop& loop, const OpenedFile& opened) {
    publish(isOpening_, false, &LoopPreviewEngine::isOpeningChanged);
    try {
        currentFile_ = opened.get();
    } catch (const std::exception& error) {
        currentFile_.reset();
        publish(currentPreviewLoop_, std::nullopt, &LoopPreviewEngine::currentPreviewLoopChanged);
        emit previewFailed(QString::fromUtf8(error.what()));
        return;
    }
    publish(currentPreviewLoop_, loop, &LoopPreviewEngine::currentPreviewLoopChanged);
    // Stopped notices are ignored. A done notice may reach the main thread when the next preview
    // is already playing, so it is matched by its pass id.
    currentPass_ = playerNode_->scheduleFile(
        currentFile_, sound::NoticeWhen::heard,
        [self = QPointer(this)](const sound::PlaybackNotice& notice) {
            if (notice.reason == sound::PlaybackNotice::Reason::stopped) {
                return;
            }
            MainQueue::post([self, pass = notice.passId] {
                if (self && self->isPlaying_ && self->currentPass_ == pass) {
                    self->handlePlaybackCompletion();
                }
            });
        });
    playerNode_->play();
    framesPlayed_ = 0;
    silenceTimer_.start();
    publish(isPlaying_, true, &LoopPreviewEngine::isPlayingChanged);
    logLine("🎵 [PREVIEW] Started previewing: " + loop.name().toStdString());
}

void LoopPreviewEngine::stopPreview() {
    ++opening_;
    if (isOpening_) {
        publish(isOpening_, false, &LoopPreviewEngine::isOpeningChanged);
    }
    if (!isPlaying_) {
        return;
    }
    playerNode_->stop();
    clearPreview();
    logLine("🎵 [PREVIEW] Stopped preview");
}

void LoopPreviewEngine::handlePlaybackCompletion() {
    playerNode_->stop(); // the next preview begins afresh, not as more of this one
    clearPreview();
    logLine("🎵 [PREVIEW] Preview completed");
}

void LoopPreviewEngine::clearPreview() {
    silenceTimer_.stop();
    publish(isPlaying_, false, &LoopPreviewEngine::isPlayingChanged);
    currentFile_.reset();
    publish(currentPreviewLoop_, std::nullopt, &LoopPreviewEngine::currentPreviewLoopChanged);
}

void LoopPreviewEngine::stopIfSilent() {
    const std::int64_t played = playerNode_->playedFrames();
    if (std::exchange(framesPlayed_, played) == played) {
        stopPreview();
    }
}

bool LoopPreviewEngine::isPreviewingLoop(const SavedLoop& loop) const {
    return isPlaying_ && currentPreviewLoop_ && currentPreviewLoop_->id() == loop.id();
}

void LoopPreviewEngine::setPreviewVolume(float volume) {
    if (std::isnan(volume)) {
        return;
    }
    previewVolume_ = std::clamp(volume, 0.0F, 1.0F);
    playerNode_->setVolume(previewVolume_);
    emit previewVolumeChanged();
}

} // namespace tessivo
