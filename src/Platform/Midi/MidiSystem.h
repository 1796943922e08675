#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace tessivo::midi {

// What an operation answers: 0 for success, otherwise a negative errno value.
using Status = std::int32_t;

// Handles. 0 is none; a reference is one source's as long as the source is there.
using ClientRef = std::uint32_t;
using PortRef = std::uint32_t;
using EndpointRef = std::uint32_t;

// What a setup notice is about. A system may send others, which say nothing about sources.
enum class SetupChange : std::int32_t {
    setupChanged = 1,
    objectAdded = 2,
    objectRemoved = 3,
    propertyChanged = 4,
};

// The bytes that arrived together: mostly one message, but nobody promises that.
struct Packet {
    std::uint64_t time; // ns of the system's monotonic clock at which the first byte is due
    std::span<const std::uint8_t> bytes;
};
using PacketList = std::span<const Packet>; // in the order of arrival

using SetupHandler = std::function<void(SetupChange)>;
using PacketHandler = std::function<void(PacketList)>; // the packets are valid during the call

// The machine's MIDI sources, and one client with one input port that listens to them.
//
// Its operations are called on one thread, the main thread, and wait for the server at most
// half a second. Handlers are called on the system's own thread, one at a time, in the order
// in which things happened; they may take their time, but must not call an operation.
//
// A server that goes away takes no source with it: while it is away only the connected one is
// listed and no notice is sent, and when it is back, sources of the same names have their old
// references, and the connected one is connected again. One that is still missing 5 s later has
// gone, and that is told like any other departure.
class MidiSystem {
public:
    virtual ~MidiSystem() = default;

    // The system of this process: PipeWire's, unless another one was put in its place.
    static std::shared_ptr<MidiSystem> shared();
    // For whoever comes to ask next; empty puts PipeWire's back.
    static void setShared(std::shared_ptr<MidiSystem> system);

    // One client at a time, and one port of it. A failure leaves the reference at 0.
    virtual Status createClient(const std::string& name, SetupHandler handler,
                                ClientRef& client) = 0;
    virtual Status createInputPort(ClientRef client, const std::string& name, PacketHandler handler,
                                   PortRef& port) = 0;
    // Disposing of a port disconnects it. When these return, the handler is not running and
    // will not be called again. Not from a handler.
    virtual void disposePort(PortRef port) = 0;
    virtual void disposeClient(ClientRef client) = 0;

    // One source at a time.
    virtual Status connectSource(PortRef port, EndpointRef source) = 0;
    virtual Status disconnectSource(PortRef port, EndpointRef source) = 0;

    // The sources a person would call controllers, in the order in which they were plugged in.
    // Works without a client. An index beyond the end is no source.
    virtual std::size_t sourceCount() = 0;
    virtual EndpointRef source(std::size_t index) = 0;
    // The name that its user knows it by; none for a source without one or that has gone.
    virtual std::optional<std::string> displayName(EndpointRef source) = 0;

    // Packets that nobody took in time and that were dropped, so far. Any thread.
    virtual std::uint64_t lostPackets() const = 0;
};

} // namespace tessivo::midi
