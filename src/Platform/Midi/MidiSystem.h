#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tessivo::midi {

// Refers to one source as long as the source is there; 0 is none.
using SourceRef = std::uint32_t;

struct Source {
    SourceRef reference = 0;
    std::optional<std::string> name; // that its user knows it by

    friend bool operator==(const Source&, const Source&) = default;
};

// What a setup notice is about. A system may send others, which say nothing about sources.
enum class SetupChange : std::int32_t {
    setupChanged = 1,
    objectAdded = 2,
    objectRemoved = 3,
    propertyChanged = 4,
};

// The bytes that arrived together: in most cases, but not always, one message.
struct Packet {
    std::uint64_t time; // ns of the system's monotonic clock at which the first byte is due
    std::span<const std::uint8_t> bytes;
};
using PacketList = std::span<const Packet>; // in the order of arrival

// Called on the system's own thread, one at a time, in the order in which things happened. They
// may take their time, but must not call an operation of the system or of its objects.
using SetupHandler = std::function<void(SetupChange)>;
using PacketHandler = std::function<void(PacketList)>; // the packets are valid during the call

// An input port. Its destructor disconnects and closes it; when that returns, the handler is not
// running and is not called again. Not to be destroyed in a handler.
class MidiInput {
public:
    virtual ~MidiInput() = default;

    // Connects one source, in place of the previous one. After a failure none is connected,
    // unless the source or the server was missing already (ENOENT, EHOSTDOWN).
    virtual void connect(SourceRef source) = 0;
    virtual void disconnect() = 0; // harmless when nothing is connected
};

// Tells when sources come and go, until it is destroyed; the rest as with an input.
class SourceObserver {
public:
    virtual ~SourceObserver() = default;
};

// The machine's MIDI sources, and an input that listens to one of them.
//
// The operations of a system and of its objects are called on one thread, the main thread, and
// wait for the server at most half a second. Those that fail throw std::system_error. The objects
// must not outlive the system.
//
// A server that goes away takes no source with it: while it is away only the connected one is
// listed and no notice is sent, and when it is back, sources of the same names have their old
// references, and the connected one is connected again. A source that is still missing 5 s later
// is told as removed.
class MidiSystem {
public:
    virtual ~MidiSystem() = default;

    // One observer and one input at a time (EBUSY).
    virtual std::unique_ptr<SourceObserver> observeSources(SetupHandler handler) = 0;
    virtual std::unique_ptr<MidiInput> openInput(const std::string& clientName,
                                                 const std::string& portName,
                                                 PacketHandler handler) = 0;

    // The sources a person would call controllers, in the order in which they were plugged in.
    virtual std::vector<Source> sources() = 0;

    // Packets that were dropped so far because the queue was full. Any thread.
    virtual std::uint64_t lostPackets() const = 0;
};

} // namespace tessivo::midi
