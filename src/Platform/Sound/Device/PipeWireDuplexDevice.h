#pragma once

#include "Platform/PipeWire/Client.h"
#include "Platform/Sound/Device/AudioDevice.h"
#include "Platform/Sound/Device/PipeWireCycles.h"
#include "Platform/Sound/Device/PipeWireStreams.h"
#include "Platform/Sound/Device/PublishedFormats.h"

#include <chrono>
#include <mutex>
#include <optional>
#include <string>

namespace tessivo::sound {

// The default capture device and the default playback device of the running PipeWire server, as
// one device with one clock. A playback device's monitor is never used as an input. When there is
// no server at construction, start() tries again; a server that goes away after it has answered
// once is reconnected automatically.
class PipeWireDuplexDevice final : public AudioDevice, private pipewire::Client::User {
public:
    enum class Connect {
        now,    // and wait at most a second for the server's first answers
        atStart // the first start(); until then there are no formats and no change notices
    };
    explicit PipeWireDuplexDevice(const std::string& applicationName, Connect when = Connect::now);
    ~PipeWireDuplexDevice() override;
    PipeWireDuplexDevice(const PipeWireDuplexDevice&) = delete;
    PipeWireDuplexDevice& operator=(const PipeWireDuplexDevice&) = delete;

    Formats formats() const override { return formats_.get(); } // any thread
    void start(AudioRenderer& renderer, const Request& request) override;
    void stop() override;
    double outputLatency() const override { return cycles_.outputLatency(); }
    void setChangeHandler(std::function<void()> handler) override; // not from the handler

private:
    void connected(pipewire::Connection& connection) override;
    void disconnecting() override;
    bool reconcile() override;

    void publish();
    void requestNames();
    void tellChange();

    PipeWireCycles cycles_; // outlives the thread that runs its callbacks
    PublishedFormats formats_;

    std::mutex handlerMutex_; // held while the handler runs
    std::function<void()> handler_;

    // The rest is used with the loop locked only.
    std::optional<double> renderRate_; // from start() to stop()
    bool isChangeUntold_ = false;
    std::optional<std::chrono::steady_clock::time_point> requestNamesAt_;
    pipewire::Client client_;
    std::optional<PipeWireDefaults> defaults_; // of the connection
    PipeWireStreams streams_;
};

} // namespace tessivo::sound
