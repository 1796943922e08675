#pragma once

#include "Platform/Sound/AudioEngine.h"
#include "Platform/System/ObservableObject.h"

#include <memory>

namespace tessivo {

class SimplePlayer;
class SimpleRecorder;

// The looper's audio graph: input, monitoring mixer, main mixer, output; and the one tap on
// the input, whose handler feeds the level meter and, while there is a take, the recorder.
// Main thread only; the handlers given to the tap run on the tap thread.
//
// The level is the mean absolute value of the first channel, linear, published at most
// thirty times a second. A change of the devices is only reported; a take in progress keeps
// its format and the next one uses the new format.
class SimpleAudioEngine : public ObservableObject {
    Q_OBJECT
    Q_DISABLE_COPY(SimpleAudioEngine)

public:
    explicit SimpleAudioEngine(std::unique_ptr<sound::AudioDevice> device);
    // Stops; a take in progress is completed with all that was captured.
    ~SimpleAudioEngine() override;

    // Throws what the device says when it cannot start. Harmless when running.
    void start();
    void enableLevelMonitoring();
    // From now on every captured buffer goes to the handler first and then to the level meter.
    void enableRecording(sound::TapHandler recordingHandler);
    // Returns when the recording handler has had everything captured so far.
    void disableRecording();
    void stop();
    // Input monitoring at unity gain; off at first.
    void setInputMonitoring(bool enabled);

    // The engine's recorder and its player, made on the first call.
    SimpleRecorder& createRecorder();
    SimplePlayer& createPlayer();

    bool isEngineRunning() const { return isEngineRunning_; }
    float inputLevel() const { return inputLevel_; }
    sound::InputNode& inputNode() { return audioEngine_.inputNode(); }

    // 0 for a buffer without channels or frames.
    static float calculateLevel(const sound::AudioPCMBuffer& buffer);

signals:
    void inputLevelChanged();

private:
    void setupAudioEngine();
    void setupDeviceChangeMonitoring();
    void handleConfigurationChange();
    void updateTapHandler();
    void installUnifiedTap();
    sound::TapHandler makeLevelHandler();

    sound::AudioEngine audioEngine_;
    std::shared_ptr<sound::MixerNode> monitoringMixerNode_;
    std::unique_ptr<SimpleRecorder> recorder_;
    std::unique_ptr<SimplePlayer> player_;
    bool isEngineRunning_ = false;
    float inputLevel_ = 0.0F;
    sound::TapHandler tapHandler_;
    bool isLevelMonitoringEnabled_ = false;
    bool isRecordingActive_ = false;
    struct LevelClock;
    std::shared_ptr<LevelClock> levelClock_; // used on the tap thread only
};

} // namespace tessivo
