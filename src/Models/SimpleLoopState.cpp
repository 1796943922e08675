#include "Models/SimpleLoopState.h"

namespace tessivo {

bool SimpleLoopState::canPlay() const {
    return hasAudio_ && transportState_ == TransportState::stopped;
}

bool SimpleLoopState::canStop() const {
    return transportState_ != TransportState::stopped;
}

bool SimpleLoopState::canSave() const {
    return canPlay() && !currentSavedLoop_;
}

bool SimpleLoopState::canClear() const {
    return canPlay();
}

void SimpleLoopState::setTransportState(TransportState state) {
    publish(transportState_, state, &SimpleLoopState::transportStateChanged,
            &SimpleLoopState::permissionsChanged);
}

void SimpleLoopState::setHasAudio(bool hasAudio) {
    publish(hasAudio_, hasAudio, &SimpleLoopState::hasAudioChanged,
            &SimpleLoopState::permissionsChanged);
}

void SimpleLoopState::setIsRecording(bool isRecording) {
    publish(isRecording_, isRecording, &SimpleLoopState::isRecordingChanged);
}

void SimpleLoopState::setFileURL(const QUrl& url) {
    publish(fileURL_, url, &SimpleLoopState::fileURLChanged);
}

void SimpleLoopState::setInputLevel(float level) {
    publish(inputLevel_, level, &SimpleLoopState::inputLevelChanged);
}

void SimpleLoopState::setPlaybackVolume(float volume) {
    publish(playbackVolume_, volume, &SimpleLoopState::playbackVolumeChanged);
}

void SimpleLoopState::setInputMonitoringEnabled(bool enabled) {
    publish(inputMonitoringEnabled_, enabled, &SimpleLoopState::inputMonitoringEnabledChanged);
}

void SimpleLoopState::setCurrentSavedLoop(const std::optional<SavedLoop>& loop) {
    publish(currentSavedLoop_, loop, &SimpleLoopState::currentSavedLoopChanged,
            &SimpleLoopState::permissionsChanged);
}

void SimpleLoopState::setShowingSaveDialog(bool showing) {
    publish(showingSaveDialog_, showing, &SimpleLoopState::showingSaveDialogChanged);
}

void SimpleLoopState::setShowingLoopLibrary(bool showing) {
    publish(showingLoopLibrary_, showing, &SimpleLoopState::showingLoopLibraryChanged);
}

} // namespace tessivo
