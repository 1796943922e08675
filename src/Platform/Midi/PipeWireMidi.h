#pragma once

#include "Platform/Midi/MidiSystem.h"
#include "Platform/Midi/PipeWireInput.h"
#include "Platform/Midi/SourcePorts.h"
#include "Platform/PipeWire/Client.h"

#include <optional>
#include <string>

namespace tessivo::midi {

// The MIDI sources of a PipeWire server: the MIDI output ports of controllers and of other
// programs, except the kernel's loop-back port. Connects to the server in whenReady(); without one
// there are no sources, and neither an observer nor an input.
class PipeWireMidi final : public MidiSystem, private pipewire::Client::User {
public:
    explicit PipeWireMidi(const std::string& applicationName);
    ~PipeWireMidi() override;
    PipeWireMidi(const PipeWireMidi&) = delete;
    PipeWireMidi& operator=(const PipeWireMidi&) = delete;

    void whenReady(std::function<void()> handler) override;
    std::unique_ptr<SourceObserver> observeSources(SetupHandler handler) override;
    std::unique_ptr<MidiInput> openInput(const std::string& clientName, const std::string& portName,
                                         PacketHandler handler) override;
    std::vector<Source> sources() override;
    std::uint64_t lostPackets() const override { return parts_.thread.queue().lost(); }

private:
    class Observer;

    void connected(pipewire::Connection& connection) override;
    void disconnecting() override;
    bool reconcile() override;

    void requireServer();

    PipeWireMidiParts parts_;
    std::function<void()> ready_;      // loop locked; none once it has been called
    bool isObserved_ = false;          // written with the loop locked
    std::optional<SourcePorts> ports_; // of the connection; loop locked
};

} // namespace tessivo::midi
