#pragma once

#include "Platform/Midi/MidiSystem.h"

#include <memory>
#include <string>

namespace tessivo::midi {

// The MIDI sources of a PipeWire server: the output ports for MIDI of controllers and of other
// programs, but for the kernel's loop-back port. Connects to the server at the first question
// about sources or the first client; without one there are no sources, and creating a client
// fails.
class PipeWireMidi : public MidiSystem {
public:
    explicit PipeWireMidi(std::string applicationName);
    ~PipeWireMidi() override;
    PipeWireMidi(const PipeWireMidi&) = delete;
    PipeWireMidi& operator=(const PipeWireMidi&) = delete;

    Status createClient(const std::string& name, SetupHandler handler, ClientRef& client) override;
    Status createInputPort(ClientRef client, const std::string& name, PacketHandler handler,
                           PortRef& port) override;
    void disposePort(PortRef port) override;
    void disposeClient(ClientRef client) override;
    Status connectSource(PortRef port, EndpointRef source) override;
    Status disconnectSource(PortRef port, EndpointRef source) override;
    std::size_t sourceCount() override;
    EndpointRef source(std::size_t index) override;
    std::optional<std::string> displayName(EndpointRef source) override;
    std::uint64_t lostPackets() const override;

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace tessivo::midi
