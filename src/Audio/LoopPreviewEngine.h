#pragma once

#include "Models/SavedLoop.h"
#include "Platform/Sound/AudioEngine.h"
#include "Platform/Sound/File/AudioFile.h"
#include "Platform/Sound/PlayerNode.h"
#include "Platform/System/ObservableObject.h"

#include <QTimer>

#include <cstdint>
#include <future>
#include <memory>
#include <optional>

namespace tessivo {

// Lets saved loops be heard, one at a time and once through, while the looper runs and without
// disturbing it: on an engine of its own, which listens to no input. Main thread only.
class LoopPreviewEngine : public ObservableObject {
    Q_OBJECT
    Q_DISABLE_COPY(LoopPreviewEngine)
    Q_PROPERTY(bool isPlaying READ isPlaying NOTIFY isPlayingChanged)
    Q_PROPERTY(bool isOpening READ isOpening NOTIFY isOpeningChanged)
    Q_PROPERTY(
        float previewVolume READ previewVolume WRITE setPreviewVolume NOTIFY previewVolumeChanged)

public:
    // The device is started at the first preview, not here.
    explicit LoopPreviewEngine(std::unique_ptr<sound::AudioDevice> device);
    // Returns at once; a preview that sounds fades out afterwards.
    ~LoopPreviewEngine() override;

    // Stops what is previewed, which may be the same loop, and plays this one from its
    // beginning as soon as the disk has its file, unless another preview or stopPreview() comes
    // first. Fails when the device cannot start, or when the entry's file is not in the
    // library's folder, is no audio or cannot be read; nothing is previewed then.
    //
    // The preview is over when its last frame has been heard. It is stopped when the device
    // takes no frames for some seconds, because the speaker or the sound server has gone.
    void previewLoop(const SavedLoop& loop);
    // Does nothing when nothing is previewed.
    void stopPreview();

    // Linear gain, limited to the range from 0 to 1. NaN is ignored.
    void setPreviewVolume(float volume);
    float previewVolume() const { return previewVolume_; }

    bool isPlaying() const { return isPlaying_; }
    // A preview waits for the disk.
    bool isOpening() const { return isOpening_; }
    const std::optional<SavedLoop>& currentPreviewLoop() const { return currentPreviewLoop_; }
    // Compares the entries' ids only.
    bool isPreviewingLoop(const SavedLoop& loop) const;

signals:
    void previewFailed(const QString& reason);
    void isPlayingChanged();
    void isOpeningChanged();
    void currentPreviewLoopChanged();
    void previewVolumeChanged();

private:
    // What was opened, or why it could not be.
    using OpenedFile = std::shared_future<std::shared_ptr<sound::AudioFileReader>>;

    void startEngineIfNeeded();
    void play(const SavedLoop& loop, const OpenedFile& opened);
    void handlePlaybackCompletion();
    void clearPreview();
    void stopIfSilent();

    std::unique_ptr<sound::AudioEngine> audioEngine_; // moved to the fade-out at the end
    std::shared_ptr<sound::PlayerNode> playerNode_;
    std::shared_ptr<sound::AudioFileReader> currentFile_;
    bool isPlaying_ = false;
    bool isOpening_ = false;
    std::uint64_t opening_ = 0; // number of the opening whose result counts
    std::optional<SavedLoop> currentPreviewLoop_;
    float previewVolume_ = 0.7F;
    bool engineStarted_ = false;
    std::uint64_t currentPass_ = 0; // the one whose notice ends the preview
    QTimer silenceTimer_;
    std::int64_t framesPlayed_ = 0; // at the timer's last tick
};

} // namespace tessivo
