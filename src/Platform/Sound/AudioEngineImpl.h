#pragma once

#include "Platform/Sound/AudioEngine.h"
#include "Platform/Sound/Decode/ReaderThread.h"
#include "Platform/Sound/Render/RenderUnits.h"
#include "Platform/Sound/Tap/TapThread.h"

#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace tessivo::sound {

// The inside of the engine: the graph as the main thread edits it, the plan as the audio
// callback follows it, and the hand-over between the two.
class AudioEngine::Impl final : public AudioRenderer {
public:
    Impl(AudioEngine& owner, std::unique_ptr<AudioDevice> device, MainExecutor mainExecutor,
         DiagnosticSink diagnostics);
    ~Impl();

    void attach(std::shared_ptr<AudioNode> node);
    void detach(AudioNode& node);
    void connect(AudioNode& from, AudioNode& to, std::optional<AudioFormat> format);
    void start();
    void stop();

    AudioFormat inputDeviceFormat() const { return formats_.input; }
    AudioFormat outputDeviceFormat() const { return formats_.output; }
    AudioFormat inputConnectionFormat() const;
    void installTap(std::uint32_t bufferSize, const AudioFormat& format, TapBlock block);
    void removeTap();

    std::shared_ptr<PlayerStream> makeStream();
    ReaderThread& reader();
    // The graph, or what a node plays, has changed: the callback follows from its next cycle.
    void publish();

    void render(const RenderCycle& cycle) TESSIVO_REALTIME override;

    std::shared_ptr<MixerNode> mainMixer;
    InputNode input;
    OutputNode output;
    bool running = false;
    std::function<void()> configurationChangeHandler;
    std::shared_ptr<std::atomic<std::int64_t>> starvedFrames =
        std::make_shared<std::atomic<std::int64_t>>(0);
    std::int64_t lostTapFrames() const;

private:
    struct Connection {
        AudioNode* to = nullptr;
        AudioFormat format;
    };
    struct InstalledTap {
        std::uint32_t bufferSize = 0;
        AudioFormat format;
        TapBlock block;
        std::shared_ptr<TapQueue> queue; // none while there is no input
    };

    bool usesInput() const;
    void captureIfUsed();
    std::size_t compile(AudioNode& node, std::vector<RenderPlan::Step>& steps) const;
    std::unique_ptr<RenderPlan> compile() const;
    void swapPlan(std::unique_ptr<RenderPlan> plan);
    void freeRetiredPlans();
    void waitUntilCallbackFollowsLivePlan() const;
    void startTap();
    void stopTap();
    void devicesChanged();
    void reportStarvation();

    std::unique_ptr<AudioDevice> device_;
    MainExecutor mainExecutor_;
    DiagnosticSink diagnostics_;
    // Cleared on the main thread at destruction; posted tasks hold it weakly.
    std::shared_ptr<Impl*> alive_;
    AudioDevice::Formats formats_;
    double renderRate_ = 0.0;
    bool capturing_ = false;

    std::vector<std::shared_ptr<AudioNode>> attached_;
    std::map<AudioNode*, Connection> connections_;

    std::optional<InstalledTap> tap_;
    std::int64_t lostByEarlierTaps_ = 0;
    std::unique_ptr<TapThread> tapThread_;
    std::unique_ptr<ReaderThread> readerThread_;
    std::int64_t reportedStarvation_ = 0; // reader thread

    // The callback takes the live plan and says which one it is in; the main thread frees a
    // retired plan only when the callback is not in it.
    std::atomic<RenderPlan*> live_{nullptr};
    std::atomic<RenderPlan*> inUse_{nullptr};
    std::unique_ptr<RenderPlan> livePlan_;
    std::vector<std::unique_ptr<RenderPlan>> retired_;
};

} // namespace tessivo::sound
