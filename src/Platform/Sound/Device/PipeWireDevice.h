#pragma once

#include "Platform/Sound/Device/AudioDevice.h"

#include <memory>
#include <string>

namespace tessivo::sound {

// The default devices of the running PipeWire server. The server's own monitors are never
// taken for an input. A server that is missing at construction is looked for again by
// start(); one that goes away after a successful start is reconnected by itself.
class PipeWireDevice final : public AudioDevice {
public:
    enum class Connect {
        now,    // and wait for the server's first answers, for at most a second
        atStart // the first one; until then there are no formats and no change notices
    };
    explicit PipeWireDevice(std::string applicationName, Connect when = Connect::now);
    ~PipeWireDevice() override;
    PipeWireDevice(const PipeWireDevice&) = delete;
    PipeWireDevice& operator=(const PipeWireDevice&) = delete;

    Formats formats() const override;
    void start(AudioRenderer& renderer, const Request& request) override;
    void stop() override;
    double outputLatency() const override;
    void setChangeHandler(std::function<void()> handler) override;

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace tessivo::sound
