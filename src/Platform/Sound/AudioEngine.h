#pragma once

#include "Platform/Sound/AudioNode.h"
#include "Platform/Sound/Device/AudioDevice.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tessivo::sound {

// Runs a task later on the main thread, in the order of the calls. Callable on any thread.
using MainExecutor = std::function<void(std::function<void()>)>;

// Takes one line about something that went wrong beside the audio callback (frames lost to
// a full queue, a starved player). Called on threads of the engine's, never the callback.
using DiagnosticSink = std::function<void(const std::string&)>;

// The audio graph: input node, mixers, players, main mixer, output node. It is edited on
// the main thread, also while sound runs, and every edit becomes visible to the audio
// callback at once and as a whole.
class AudioEngine {
public:
    AudioEngine(std::unique_ptr<AudioDevice> device, MainExecutor mainExecutor,
                DiagnosticSink diagnostics = {});
    // Stops. Tasks that are still with the executor then do nothing.
    ~AudioEngine();
    AudioEngine(const AudioEngine&) = delete;
    AudioEngine& operator=(const AudioEngine&) = delete;

    InputNode& inputNode();
    const std::shared_ptr<MixerNode>& mainMixerNode(); // already connected to the output
    OutputNode& outputNode();

    // A node is attached to at most one engine; the engine keeps it until it is detached.
    void attach(std::shared_ptr<AudioNode> node);
    void detach(AudioNode& node);

    // Connects a node's output to a mixer's next free input, replacing the node's previous
    // connection. Without a format the node's own is meant. Both nodes must be attached.
    void connect(AudioNode& from, AudioNode& to, std::optional<AudioFormat> format = {});

    // Throws AudioError when the device cannot start; nothing has changed then. Harmless
    // when running.
    void start();
    void stop();
    bool isRunning() const;

    // The notice that devices or their formats changed. Runs on the main thread, after the
    // nodes' formats have been renewed.
    void setConfigurationChangeHandler(std::function<void()> handler);

    // Frames that the callback could not deliver in time, since start().
    struct Statistics {
        std::int64_t starvedFrames = 0; // a player had nothing decoded
        std::int64_t lostTapFrames = 0; // the tap queue was full
    };
    Statistics statistics() const;

private:
    friend class InputNode;
    friend class MixerNode;
    friend class OutputNode;
    friend class PlayerNode;
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace tessivo::sound
