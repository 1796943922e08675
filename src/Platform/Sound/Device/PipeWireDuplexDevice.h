#pragma once

#include "Platform/PipeWire/Client.h"
#include "Platform/Sound/Device/AudioDevice.h"
#include "Platform/Sound/Device/PipeWireCycles.h"
#include "Platform/Sound/Device/PipeWireStreams.h"
#include "Platform/Sound/Device/PublishedFormats.h"
#include "Platform/Sound/Diagnostics.h"

#include <chrono>
#include <mutex>
#include <optional>
#include <string>

namespace tessivo::sound {

// The default capture device and the default playback device of the running PipeWire server, as
// one device with one clock. A playback device's monitor is never used as an input. When there is
// no server at construction, start() tries again. Who asks for the formats or starts waits for a
// server at most until `answerTime` after construction. When it answers later, cycles begin then,
// with a change notice; their rate is taken to be 48 kHz, and the streams convert. A server that
// goes away is reconnected automatically.
class PipeWireDuplexDevice final : public AudioDevice, private pipewire::Client::User {
public:
    // A server that works answers within a few milliseconds.
    static constexpr std::chrono::milliseconds kAnswerTime{250};

    // The nodes have that name; the playback stream goes by the other one in a mixer.
    // Short cycles have 64 frames at first. When cycles get lost the device asks for twice as
    // many, up to 512, and tells the sink, on a thread of its own.
    explicit PipeWireDuplexDevice(const std::string& nodeName, DiagnosticSink diagnostics = {},
                                  std::chrono::milliseconds answerTime = kAnswerTime,
                                  const std::string& playbackName = "Loop");
    ~PipeWireDuplexDevice() override;
    PipeWireDuplexDevice(const PipeWireDuplexDevice&) = delete;
    PipeWireDuplexDevice& operator=(const PipeWireDuplexDevice&) = delete;

    Formats formats() override;
    void start(AudioRenderer& renderer, const Request& request) override;
    void stop() override;
    double inputLatency() const override { return cycles_.inputLatency(); }
    double outputLatency() const override { return cycles_.outputLatency(); }
    // As the cycles have stated them, since construction. Any thread.
    std::int64_t missedOutputFrames() const { return cycles_.missedOutputFrames(); }
    void setShortCycles(bool wanted) override;
    void setChangeHandler(std::function<void()> handler) override; // not from the handler

private:
    void connected(pipewire::Connection& connection) override;
    void disconnecting() override;
    bool reconcile() override;

    bool reachServer();
    void publish();
    void requestNames();
    void tellChange();
    void requestCycles();
    void lengthenCycles();
    std::int64_t losses() const;

    PipeWireCycles cycles_; // outlives the thread that runs its callbacks
    PublishedFormats formats_;

    std::mutex handlerMutex_; // held while the handler runs
    std::function<void()> handler_;

    // The rest is used with the loop locked only.
    std::uint32_t shortCycles_ = 0; // frames; 0 while their length is left to the server
    std::int64_t knownLosses_ = 0;  // frames
    std::chrono::steady_clock::time_point cyclesRequestedAt_;
    DiagnosticSink diagnostics_;
    std::optional<double> renderRate_; // from start() to stop()
    bool isChangeUntold_ = false;
    bool areFormatsRead_ = false;
    std::chrono::steady_clock::time_point answerDue_;
    std::optional<std::chrono::steady_clock::time_point> requestNamesAt_;
    pipewire::Client client_;
    std::optional<PipeWireDefaults> defaults_; // of the connection
    PipeWireStreams streams_;
};

} // namespace tessivo::sound
