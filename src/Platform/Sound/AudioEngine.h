#pragma once

#include "Platform/Sound/Device/AudioDevice.h"
#include "Platform/Sound/Diagnostics.h"
#include "Platform/Sound/InputNode.h"
#include "Platform/Sound/MixerNode.h"
#include "Platform/Sound/NodeHost.h"
#include "Platform/Sound/OutputNode.h"
#include "Platform/Sound/PlanBuilder.h"
#include "Platform/Sound/Render/PlanExchange.h"
#include "Platform/Sound/Render/Timeline.h"
#include "Platform/Sound/Tap/InputCapture.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace tessivo::sound {

// Runs a task later on the main thread, in the order of the calls. Callable on any thread.
using MainExecutor = std::function<void(std::function<void()>)>;

// The audio graph: nodes that are mixed by the main mixer, which the output node plays. It is
// edited on the main thread, also while sound runs; the audio callback follows each edit as a
// whole from its next cycle. Everything here belongs to the main thread.
class AudioEngine final : private NodeHost, private AudioRenderer {
public:
    AudioEngine(std::unique_ptr<AudioDevice> device, MainExecutor mainExecutor,
                DiagnosticSink diagnostics = {});
    // Stops. Tasks that are still with the executor then do nothing.
    ~AudioEngine();
    AudioEngine(const AudioEngine&) = delete;
    AudioEngine& operator=(const AudioEngine&) = delete;

    InputNode& inputNode() { return input_; }
    const std::shared_ptr<MixerNode>& mainMixerNode() { return mainMixer_; }
    OutputNode& outputNode() { return output_; }

    // A node is attached to at most one engine; the engine keeps it until it is detached.
    // Throws AudioError when the node is attached already.
    void attach(std::shared_ptr<AudioNode> node);
    void detach(AudioNode& node);

    // Connects a node's output to a node that takes connections, in addition to what is connected
    // there, and replaces the node's previous connection. Throws AudioError unless both are
    // attached here and the target takes connections. The first use of the input by a running
    // engine restarts the device: sound stops for a moment, and AudioError may come from the
    // device.
    void connect(AudioNode& from, AudioNode& to);

    // Throws AudioError when the device cannot start; the engine is then still stopped. Does
    // nothing when already running.
    void start();
    void stop();
    bool isRunning() const { return running_; }

    // Asks the device for short cycles or leaves their length to the server.
    void setShortCycles(bool wanted) { device_->setShortCycles(wanted); }

    // The notice that devices or their formats changed. Runs on the main thread, after the
    // nodes' formats have been renewed.
    void setConfigurationChangeHandler(std::function<void()> handler);

    // A file is being read, for which the destructor would wait. When all players have been
    // stopped, nothing is read any more after that.
    bool isReading() const;

    struct Statistics {
        std::int64_t underrunFrames = 0; // a player had too little decoded
        std::int64_t overrunFrames = 0;  // captured while the tap queue was full
        Timeline::Losses missedFrames;   // of cycles that were lost or late
        std::int64_t position = 0;       // of the next cycle; stands still while there are none
    };
    Statistics statistics() const;

private:
    // For the nodes.
    void updatePlan() override;
    bool isConnected(const AudioNode& node) const override;
    const AudioDevice::Formats& deviceFormats() const override { return formats_; }
    double renderRate() const override { return renderRate_; }
    double outputLatency() const override { return device_->outputLatency(); }
    ReaderThread& readerThread() override;
    CommandFrames framesOf(Moment moment) override;
    const Timeline& timeline() const override { return timeline_; }
    InputCapture& capture() override { return capture_; }
    void inputUseChanged() override;

    // Audio callback.
    void render(const RenderCycle& cycle) TESSIVO_REALTIME override;

    void followRate(double renderRate); // Hz
    bool usesInput() const;
    void devicesChanged();

    std::unique_ptr<AudioDevice> device_;
    MainExecutor mainExecutor_;
    DiagnosticSink diagnostics_;
    std::function<void()> configurationChangeHandler_;
    std::shared_ptr<AudioEngine*> alive_; // posted tasks hold it weakly
    AudioDevice::Formats formats_;
    double renderRate_; // Hz
    bool running_ = false;
    bool capturing_ = false;

    InputNode input_;
    std::shared_ptr<MixerNode> mainMixer_ = std::make_shared<MixerNode>();
    OutputNode output_;
    std::vector<std::shared_ptr<AudioNode>> attached_;
    PlanBuilder::Connections connections_;
    PlanExchange plans_;

    Timeline timeline_;
    InputCapture capture_;
    // The command that is being carried out.
    struct Command {
        Moment moment;
        CommandFrames frames;
    };
    std::optional<Command> lastCommand_;
    std::unique_ptr<ReaderThread> readerThread_;
};

} // namespace tessivo::sound
