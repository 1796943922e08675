#pragma once

#include "Audio/SimpleAudioEngine.h"
#include "Models/SimpleLoopState.h"
#include "Platform/System/ObservableObject.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace tessivo {

class SimplePlayer;
class SimpleRecorder;

// The looper's one controller: turns the transport commands and the monitoring switch into
// calls on the audio engine, its recorder and its player, and into writes of the loop
// state. Main thread only.
//
// Every write of the loop state is posted, so that within one operation the state still
// shows what was true before it; diagnostic lines appear at once. Every change of the loop
// state is passed on as a change of the controller. Errors of the audio side end here, as
// diagnostic lines.
class SimpleLooperViewModel : public ObservableObject {
    Q_OBJECT
    Q_DISABLE_COPY(SimpleLooperViewModel)
    Q_PROPERTY(tessivo::SimpleLoopState* loopState READ loopState CONSTANT)

public:
    // Plays and records on the system's default devices.
    explicit SimpleLooperViewModel(QObject* parent = nullptr);
    explicit SimpleLooperViewModel(std::unique_ptr<sound::AudioDevice> device,
                                   QObject* parent = nullptr);
    ~SimpleLooperViewModel() override;

    // Owned by the controller, the same for its whole life.
    SimpleLoopState* loopState() { return &loopState_; }

public slots:
    // The four transport commands. One that has no meaning in the present state does
    // nothing.
    void recordButtonPressed();
    void playButtonPressed();
    void stopButtonPressed();
    void clearButtonPressed();

    void toggleInputMonitoring();

private:
    void setupObservers();
    void startAudioEngine();
    void startRecording();
    void stopRecording();
    void stopRecordingAndStartPlayback();
    void cancelDeferredPlayback();
    void startPlayback();
    void stopPlayback();
    void clearLoop();
    void post(std::function<void()> writes);

    SimpleLoopState loopState_;
    SimpleAudioEngine audioEngine_;
    SimpleRecorder* recorder_ = nullptr; // the engine's, from the first recording on
    SimplePlayer* player_ = nullptr;     // the engine's, from the first playback on
    std::uint64_t playbackOrder_ = 0;    // the deferred playback that still counts
};

} // namespace tessivo
