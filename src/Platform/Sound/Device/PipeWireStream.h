#pragma once

#include "Platform/PipeWire/Handles.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace tessivo::sound {

class PipeWireCycles;

// What the streams of one device have in common.
struct PipeWireStreamSettings {
    std::string nodeName;
    std::string playbackName; // of the playback stream in a mixer
    std::string group;        // streams of one group share one cycle of the graph
    double renderRate = 0.0;
};

// One open stream, from opening to destruction. Created and destroyed with its loop locked.
class PipeWireStream {
public:
    enum class Kind {
        capture,
        directPlayback,   // renders in its own callback
        triggeredPlayback // plays what the capture callback has rendered
    };

    // The device with that serial number.
    struct Target {
        std::string serial;
        // The session manager is left to choose. It is expected to choose that device, unless it
        // remembers another one that was chosen earlier.
        bool isFree = false;
    };

    // Opens a stream of 1 or 2 channels to that device and hands it to the cycles. It has a
    // connection of its own to the server. changed is called when nodeId(), isRunning() or
    // hasFailed() changes.
    PipeWireStream(pw_context* context, const PipeWireStreamSettings& settings, Kind kind,
                   std::uint32_t channelCount, Target target, PipeWireCycles& cycles,
                   std::function<void()> changed);
    ~PipeWireStream();
    PipeWireStream(const PipeWireStream&) = delete;
    PipeWireStream& operator=(const PipeWireStream&) = delete;

    // Asks the server for cycles of that length, in frames at that rate. Nothing is asked for at
    // first, nor where the user has set a length for our streams.
    void requestCycles(std::uint32_t frames, double rate);

    bool isLatencySet() const { return isLatencySet_; } // by the user
    Kind kind() const { return kind_; }
    std::uint32_t channelCount() const { return channelCount_; }
    const Target& target() const { return target_; }
    std::uint32_t nodeId() const;               // in the registry; SPA_ID_INVALID until it is known
    bool isRunning() const { return running_; } // linked and processed
    bool hasFailed() const { return failed_; }  // never false again
    std::chrono::steady_clock::time_point openedAt() const { return openedAt_; }

private:
    static void onState(void* data, pw_stream_state old, pw_stream_state state, const char* error);
    void open(pw_context* context, const PipeWireStreamSettings& settings);
    void fail();

    Kind kind_;
    std::uint32_t channelCount_;
    Target target_;
    PipeWireCycles& cycles_;
    std::function<void()> changed_;
    std::chrono::steady_clock::time_point openedAt_ = std::chrono::steady_clock::now();
    pipewire::Owner<pw_core> core_;
    pipewire::Owner<pw_stream> stream_;
    // Plain hooks: the stream removes them when it is destroyed, after its last callback.
    spa_hook stateHook_{};
    spa_hook processHook_{};
    bool isLatencySet_ = false;         // by the user
    std::uint32_t requestedCycles_ = 0; // frames; 0 when nothing was asked for
    bool running_ = false;
    bool failed_ = false;
    bool closing_ = false;
};

} // namespace tessivo::sound
