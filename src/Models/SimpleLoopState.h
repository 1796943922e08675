#pragma once

#include "Models/SavedLoop.h"
#include "Models/TransportState.h"
#include "Platform/System/ObservableObject.h"

#include <QUrl>

#include <optional>

namespace tessivo {

// What the window shows of the looper. The controller writes it; each sheet resets its own
// "showing" flag. Main thread only. objectWillChange() comes before each write, the signal of
// the property after it.
class SimpleLoopState : public ObservableObject {
    Q_OBJECT
    Q_PROPERTY(
        tessivo::TransportState transportState READ transportState NOTIFY transportStateChanged)
    Q_PROPERTY(bool hasAudio READ hasAudio NOTIFY hasAudioChanged)
    Q_PROPERTY(bool isRecording READ isRecording NOTIFY isRecordingChanged)
    Q_PROPERTY(QUrl fileURL READ fileURL NOTIFY fileURLChanged)
    Q_PROPERTY(float inputLevel READ inputLevel NOTIFY inputLevelChanged)
    Q_PROPERTY(float playbackVolume READ playbackVolume NOTIFY playbackVolumeChanged)
    Q_PROPERTY(bool inputMonitoringEnabled READ inputMonitoringEnabled NOTIFY
                   inputMonitoringEnabledChanged)
    Q_PROPERTY(bool showingSaveDialog READ showingSaveDialog WRITE setShowingSaveDialog NOTIFY
                   showingSaveDialogChanged)
    Q_PROPERTY(bool showingLoopLibrary READ showingLoopLibrary WRITE setShowingLoopLibrary NOTIFY
                   showingLoopLibraryChanged)
    Q_PROPERTY(bool canPlay READ canPlay NOTIFY permissionsChanged)
    Q_PROPERTY(bool canStop READ canStop NOTIFY permissionsChanged)
    Q_PROPERTY(bool canSave READ canSave NOTIFY permissionsChanged)
    Q_PROPERTY(bool canClear READ canClear NOTIFY permissionsChanged)

public:
    using ObservableObject::ObservableObject;

    TransportState transportState() const { return transportState_; }
    // Whether there is a file to play: a finished recording or a loop of the library.
    bool hasAudio() const { return hasAudio_; }
    bool isRecording() const { return isRecording_; }
    // The file that is looped; empty when there is none.
    const QUrl& fileURL() const { return fileURL_; }
    // Mean absolute sample value of the input, linear.
    float inputLevel() const { return inputLevel_; }
    // Linear gain with which every playback starts.
    float playbackVolume() const { return playbackVolume_; }
    bool inputMonitoringEnabled() const { return inputMonitoringEnabled_; }
    // The record of the current audio, if it is in the library.
    const std::optional<SavedLoop>& currentSavedLoop() const { return currentSavedLoop_; }
    bool showingSaveDialog() const { return showingSaveDialog_; }
    bool showingLoopLibrary() const { return showingLoopLibrary_; }

    bool canPlay() const;
    bool canStop() const;
    bool canSave() const;
    bool canClear() const;

    void setTransportState(TransportState state);
    void setHasAudio(bool hasAudio);
    void setIsRecording(bool isRecording);
    void setFileURL(const QUrl& url);
    void setInputLevel(float level);
    void setPlaybackVolume(float volume);
    void setInputMonitoringEnabled(bool enabled);
    void setCurrentSavedLoop(const std::optional<SavedLoop>& loop);
    void setShowingSaveDialog(bool showing);
    void setShowingLoopLibrary(bool showing);

signals:
    void transportStateChanged();
    void hasAudioChanged();
    void isRecordingChanged();
    void fileURLChanged();
    void inputLevelChanged();
    void playbackVolumeChanged();
    void inputMonitoringEnabledChanged();
    void currentSavedLoopChanged();
    void showingSaveDialogChanged();
    void showingLoopLibraryChanged();
    // One of canPlay, canStop, canSave, canClear may have changed.
    void permissionsChanged();

private:
    TransportState transportState_ = TransportState::stopped;
    bool hasAudio_ = false;
    bool isRecording_ = false;
    QUrl fileURL_;
    float inputLevel_ = 0.0F;
    float playbackVolume_ = 1.0F;
    bool inputMonitoringEnabled_ = false;
    std::optional<SavedLoop> currentSavedLoop_;
    bool showingSaveDialog_ = false;
    bool showingLoopLibrary_ = false;
};

} // namespace tessivo
