#pragma once

#include "Platform/Midi/MidiSystem.h"
#include "Platform/Midi/MidiThread.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tessivo::midi {

// A MIDI system whose sources are made, played and unplugged by hand; for tests and
// benchmarks. Packets take the way through the queue and the thread that they take from a
// real server. All calls on one thread, but for send(), which may have one of its own.
class VirtualMidi : public MidiSystem {
public:
    EndpointRef addSource(std::optional<std::string> name); // sends a notice, as removing does
    void removeSource(EndpointRef source);
    void notify(SetupChange change) { thread_.notify(change); }

    // As when the audio callback has received them. False when something was lost, or nobody
    // is connected to that source.
    bool send(EndpointRef source, std::span<const std::vector<std::uint8_t>> packets);
    bool send(EndpointRef source, std::vector<std::uint8_t> packet);

    // What the next call of that operation will answer instead of doing anything.
    Status failClient = 0;
    Status failPort = 0;
    Status failConnect = 0;

    EndpointRef connected() const { return connected_.load(); }
    bool hasClient() const { return client_ != 0; }
    bool hasPort() const { return port_ != 0; }
    // How often a source was connected, so far.
    unsigned connections() const { return connections_; }

    Status createClient(const std::string& name, SetupHandler handler, ClientRef& client) override;
    Status createInputPort(ClientRef client, const std::string& name, PacketHandler handler,
                           PortRef& port) override;
    void disposePort(PortRef port) override;
    void disposeClient(ClientRef client) override;
    Status connectSource(PortRef port, EndpointRef source) override;
    Status disconnectSource(PortRef port, EndpointRef source) override;
    std::size_t sourceCount() override { return sources_.size(); }
    EndpointRef source(std::size_t index) override;
    std::optional<std::string> displayName(EndpointRef source) override;
    std::uint64_t lostPackets() const override { return thread_.queue().lost(); }

private:
    struct Source {
        EndpointRef reference = 0;
        std::optional<std::string> name;
    };
    std::vector<Source>::iterator find(EndpointRef source);

    std::vector<Source> sources_;
    std::uint32_t lastReference_ = 0; // of whatever kind
    ClientRef client_ = 0;
    PortRef port_ = 0;
    std::atomic<EndpointRef> connected_{0};
    unsigned connections_ = 0;
    MidiThread thread_;
};

} // namespace tessivo::midi
