#pragma once

#include "Platform/Sound/Device/AudioDevice.h"
#include "Platform/Sound/Device/PipeWireCycles.h"
#include "Platform/Sound/Device/PipeWireDefaults.h"
#include "Platform/Sound/Device/PipeWireStream.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace tessivo::sound {

// The capture and the playback stream of one device, which follow the default devices. Created,
// used and destroyed with the loop locked.
class PipeWireStreams {
public:
    // changed is called on the loop's thread when follow() may have something to do.
    // The nodes have that name; the playback stream goes by the other one in a mixer.
    PipeWireStreams(const std::string& nodeName, const std::string& playbackName,
                    PipeWireCycles& cycles, std::function<void()> changed);

    void start(double renderRate, const AudioDevice::Request& request);
    // Opens, closes and replaces streams as the default devices demand. After start().
    void follow(pw_context* context, PipeWireDefaults& defaults);
    // Also forgets which devices failed.
    void close();

    // Asks the server for cycles of that many frames, also for the streams to come; 0 leaves
    // their length to the server.
    void requestCycles(std::uint32_t frames, const PipeWireDefaults::Clock& server);

    // Whether the server is asked: not when the user has set a length for all our streams.
    bool decideCycles() const;

    // follow() has to be called again in a while although nothing will announce it.
    bool isPollNeeded() const;

private:
    // A device whose stream failed. It is not used for some time, unless another one replaces it.
    struct FailedDevice {
        std::string serial;
        std::chrono::steady_clock::time_point since;

        bool matches(const std::string& other) const { return !serial.empty() && serial == other; }
        void expire();
    };

    void followSource(pw_context* context, const PipeWireDefaults& defaults);
    void followSink(pw_context* context, const PipeWireDefaults& defaults);
    std::unique_ptr<PipeWireStream> open(pw_context* context, PipeWireStream::Kind kind,
                                         std::uint32_t channelCount, PipeWireStream::Target target);
    bool isHeard() const;
    bool drivesPlayback() const;
    void applyCycles();

    PipeWireStreamSettings settings_;
    AudioDevice::Request request_;
    PipeWireCycles& cycles_;
    std::function<void()> changed_;
    std::unique_ptr<PipeWireStream> playback_;
    std::unique_ptr<PipeWireStream> capture_;
    bool mayRestore_ = true; // no capture stream has been left to the session manager yet
    bool isInputLinked_ = false;
    std::uint32_t cycleFrames_ = 0; // 0 until short cycles were asked for
    double cycleRate_ = 0.0;
    FailedDevice failedSource_;
    FailedDevice failedSink_;
};

} // namespace tessivo::sound
