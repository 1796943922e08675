#include "Audio/SimplePlayer.h"

#include "Platform/Sound/AudioEngine.h"
#include "Platform/System/LogLine.h"
#include "Platform/System/MainQueue.h"

#include <QPointer>

#include <algorithm>
#include <cmath>
#include <utility>

namespace tessivo {
namespace {

// The passes that are scheduled at once last at least this long, in seconds. That is the time
// the main thread has to schedule more before there is a gap.
constexpr double kShortestSchedule = 1.0;

double lengthOf(const sound::AudioFileReader& file) { // seconds
    return static_cast<double>(file.length()) / file.format().sampleRate();
}

std::uint32_t passesToSchedule(const sound::AudioFileReader& file) {
    return static_cast<std::uint32_t>(std::max(1.0, std::ceil(kShortestSchedule / lengthOf(file))));
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

void SimplePlayer::loadAudioFile(const QUrl& url, std::shared_ptr<sound::AudioFileReader> file) {
    audioFile_ = std::move(file);
    currentURL_ = url;
    logLine("Audio file loaded: " + url.toString().toStdString());
    if (isPlaying_) {
        playerNode_->discardUpcoming();
        scheduleLoop();
    }
}

void SimplePlayer::soundTake(Moment end) {
    if (const auto head = audioEngine_.inputNode().takeHead(); head && !isPlaying_) {
        takeSounds_ = playerNode_->loopTake(head, end);
    }
}

void SimplePlayer::dropTake() {
    if (std::exchange(takeSounds_, false)) {
        playerNode_->stop();
    }
}

void SimplePlayer::startPlaying() {
    if (!audioFile_ || isPlaying_) {
        return;
    }
    scheduleLoop();
    takeSounds_ = false;
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

double SimplePlayer::length() const {
    return audioFile_ ? lengthOf(*audioFile_) : 0.0;
}

double SimplePlayer::position() const {
    return isPlaying_ ? std::fmod(playerNode_->heardTime(), length()) : 0.0;
}

void SimplePlayer::clearAudioFile() {
    stopPlaying();
    audioFile_.reset();
    currentURL_.clear();
}

void SimplePlayer::scheduleLoop() {
    // The notice comes when the last frame has been read, well before it is heard, so that the
    // next passes are scheduled in time even by a busy main thread.
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
    // By the time a notice gets here, playback may have been restarted or another file loaded.
    // Only the notice of what was scheduled last continues the loop.
    if (isPlaying_ && notice.passId == scheduledPass_ &&
        notice.reason == sound::PlaybackNotice::Reason::done) {
        scheduleLoop();
    }
}

} // namespace tessivo
