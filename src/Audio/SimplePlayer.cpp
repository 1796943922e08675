#include "Audio/SimplePlayer.h"

#include "Platform/Sound/AudioEngine.h"
#include "Platform/System/LogLine.h"
#include "Platform/System/MainQueue.h"
#include "Platform/System/Paths.h"

#include <QPointer>

#include <algorithm>
#include <cmath>

namespace tessivo {
namespace {

// What is queued at once lasts at least this long, s: the time that the main thread has to
// queue more before a gap could be heard.
constexpr double kShortestSchedule = 1.0;

std::uint32_t passesToSchedule(const sound::AudioFileReader& file) {
    const double seconds = static_cast<double>(file.length()) / file.format().sampleRate();
    return static_cast<std::uint32_t>(std::max(1.0, std::ceil(kShortestSchedule / seconds)));
}

} // namespace

SimplePlayer::SimplePlayer(sound::AudioEngine& audioEngine)
    : audioEngine_(audioEngine)
    , playerNode_(std::make_shared<sound::PlayerNode>()) {
    audioEngine_.attach(playerNode_);
    audioEngine_.connect(*playerNode_, *audioEngine_.mainMixerNode());
}

SimplePlayer::~SimplePlayer() {
    audioEngine_.detach(*playerNode_);
}

void SimplePlayer::loadAudioFile(const QUrl& url) {
    audioFile_ = std::make_shared<sound::AudioFileReader>(pathOf(url));
    currentURL_ = url;
    logLine("Audio file loaded: " + url.toString().toStdString());
    if (isPlaying_) {
        playerNode_->discardUpcoming();
        scheduleLoop();
    }
}

void SimplePlayer::startPlaying() {
    if (!audioFile_ || isPlaying_) {
        return;
    }
    scheduleLoop();
    playerNode_->play();
    isPlaying_ = true;
    logLine("Playback started with looping");
}

void SimplePlayer::stopPlaying() {
    if (!isPlaying_) {
        return;
    }
    playerNode_->stop();
    isPlaying_ = false;
    logLine("Playback stopped");
}

void SimplePlayer::setVolume(float volume) {
    playerNode_->setVolume(volume);
}

void SimplePlayer::clearAudioFile() {
    stopPlaying();
    audioFile_.reset();
    currentURL_.clear();
}

void SimplePlayer::scheduleLoop() {
    // The notice comes when the last frame has been read, well before it is heard: what
    // follows is then queued in time whatever the main thread is doing.
    scheduledPass_ = playerNode_->scheduleFile(
        audioFile_, sound::NoticeWhen::read,
        [self = QPointer(this)](const sound::PlaybackNotice& notice) {
            MainQueue::post([self, notice] {
                if (self) {
                    self->passesQueued(notice);
                }
            });
        },
        passesToSchedule(*audioFile_));
}

void SimplePlayer::passesQueued(const sound::PlaybackNotice& notice) {
    // A notice can be overtaken on its way here by a stop and a new start, or by another
    // file; only that of what was scheduled last continues the loop.
    if (isPlaying_ && notice.passId == scheduledPass_ &&
        notice.reason == sound::PlaybackNotice::Reason::done) {
        scheduleLoop();
    }
}

} // namespace tessivo
