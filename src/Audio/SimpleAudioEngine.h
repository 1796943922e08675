#pragma once

#include "Platform/Sound/AudioEngine.h"
#include "Platform/System/ObservableObject.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace tessivo {

class SimplePlayer;
class SimpleRecorder;

// The looper's audio graph: input, monitoring mixer, main mixer, output; and on the input the
// level meter and, while there is a take, the tap that feeds the recorder. Main thread only; the
// handlers of both run on the tap thread.
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

    // Throws what the device says when it cannot start. Does nothing when already running.
    void start();
    void enableLevelMonitoring();
    // Keeps what is captured from that moment on until enableRecording() or
    // releaseRecording().
    void holdRecording(Moment since);
    void releaseRecording();
    // Every buffer captured from that moment on goes to the handler; the level meter gets none
    // before it.
    void enableRecording(sound::TapHandler recordingHandler, Moment since);
    // Returns when the recording handler has had everything captured before that moment. The
    // result is how many of its frames that is: it may have had some more. Nothing when the
    // engine has been stopped since.
    std::optional<std::int64_t> disableRecording(Moment until);
    void stop();
    // Input monitoring at unity gain; off at first.
    void setInputMonitoring(bool enabled);

    // The engine's recorder and its player, made on the first call.
    SimpleRecorder& createRecorder();
    SimplePlayer& createPlayer();

    bool isEngineRunning() const { return isEngineRunning_; }
    float inputLevel() const { return inputLevel_; }
    sound::InputNode& inputNode() { return audioEngine_.inputNode(); }
    sound::OutputNode& outputNode() { return audioEngine_.outputNode(); }
    sound::AudioEngine::Statistics statistics() const { return audioEngine_.statistics(); }

    // 0 for a buffer without channels or frames.
    static float calculateLevel(const sound::AudioPCMBuffer& buffer);

signals:
    void inputLevelChanged();
    void inputPeaked();    // a sample of any channel was at full scale or beyond; with a level
    void devicesChanged(); // the nodes' formats have been renewed

private:
    void setupAudioEngine();
    void setupDeviceChangeMonitoring();
    void handleConfigurationChange();
    void updateTapHandler();
    sound::MeterBlock makeLevelHandler();

    sound::AudioEngine audioEngine_;
    std::shared_ptr<sound::MixerNode> monitoringMixerNode_;
    std::unique_ptr<SimpleRecorder> recorder_;
    std::unique_ptr<SimplePlayer> player_;
    bool isEngineRunning_ = false;
    float inputLevel_ = 0.0F;
    bool isLevelMonitoringEnabled_ = false;
    bool isRecordingActive_ = false;
};

} // namespace tessivo
