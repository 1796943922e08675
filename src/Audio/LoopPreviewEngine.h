#pragma once

#include "Models/SavedLoop.h"
#include "Platform/Sound/AudioEngine.h"
#include "Platform/Sound/File/AudioFile.h"
#include "Platform/Sound/PlayerNode.h"
#include "Platform/System/ObservableObject.h"

#include <QTimer>

#include <cstdint>
#include <memory>
#include <optional>

namespace tessivo {

// Lets saved loops be heard, one at a time and once through, beside the looper and without
// disturbing it: on an engine of its own, which listens to no input. Main thread only.
class LoopPreviewEngine : public ObservableObject {
    Q_OBJECT
    Q_DISABLE_COPY(LoopPreviewEngine)
    Q_PROPERTY(bool isPlaying READ isPlaying NOTIFY isPlayingChanged)
    Q_PROPERTY(
        float previewVolume READ previewVolume WRITE setPreviewVolume NOTIFY previewVolumeChanged)

public:
    // The device is started at the first preview, not here.
    explicit LoopPreviewEngine(std::unique_ptr<sound::AudioDevice> device);
    // Returns at once; a preview that sounds is faded out after it.
    ~LoopPreviewEngine() override;

    // Stops what is previewed, which may be the same loop, and plays this one from its
    // beginning. Throws AudioError when there is no sound, or when the record's file is not
    // in the library's folder, is no audio or cannot be read; nothing is previewed then.
    //
    // The preview is over when its last frame has been heard. One of which nothing has been
    // heard for some seconds, because the speaker or the sound server has gone, is stopped.
    void previewLoop(SavedLoop loop);
    // Does nothing when nothing is previewed.
    void stopPreview();

    // Linear gain, brought into the range from 0 to 1; what is no number changes nothing.
    void setPreviewVolume(float volume);
    float previewVolume() const { return previewVolume_; }

    bool isPlaying() const { return isPlaying_; }
    const std::optional<SavedLoop>& currentPreviewLoop() const { return currentPreviewLoop_; }
    // Records are told apart by their ids alone.
    bool isPreviewingLoop(const SavedLoop& loop) const;

signals:
    void isPlayingChanged();
    void currentPreviewLoopChanged();
    void previewVolumeChanged();

private:
    void startEngineIfNeeded();
    void handlePlaybackCompletion();
    void clearPreview();
    void stopIfSilent();

    std::unique_ptr<sound::AudioEngine> audioEngine_; // handed on at the end
    std::shared_ptr<sound::PlayerNode> playerNode_;
    std::shared_ptr<sound::AudioFileReader> currentFile_;
    bool isPlaying_ = false;
    std::optional<SavedLoop> currentPreviewLoop_;
    float previewVolume_ = 0.7F;
    bool engineStarted_ = false;
    std::uint64_t currentPass_ = 0; // the one whose notice ends the preview
    QTimer silenceTimer_;
    std::int64_t framesPlayed_ = 0; // when the timer last asked
};

} // namespace tessivo
