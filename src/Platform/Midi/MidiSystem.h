#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tessivo::midi {

// The number of one source. It stays the same while the server is away. 0 is no source.
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

// What became of an operation: an errno value, 0 for success. Called once, on any thread, and must
// return soon.
using OutcomeHandler = std::function<void(int error)>;

// An input port. Its destructor disconnects and closes it; when that returns, the handler is not
// running and is not called again. Not to be destroyed in a handler.
class MidiInput {
public:
    virtual ~MidiInput() = default;

    // Connects one source in place of the previous one. When the source does not exist (ENOENT), or
    // the server is away (EHOSTDOWN), that is thrown, and the previous source stays connected.
    // Otherwise the handler gets the outcome, as late as the server answers; after a failure none
    // is connected. A later connect() or disconnect() takes its place: then it gets nothing.
    virtual void connect(SourceRef source, OutcomeHandler outcome) = 0;
    virtual void disconnect() = 0; // does nothing when nothing is connected
};

// Tells when sources come and go, until it is destroyed. After its destructor has returned, the
// handler is not running and is not called again. Not to be destroyed in a handler.
class SourceObserver {
public:
    virtual ~SourceObserver() = default;
};

// The machine's MIDI sources, and an input that listens to one of them.
//
// The operations of a system and of its objects are called on one thread, the main thread, and
// never wait for the server. Those that fail throw std::system_error. The objects must not outlive
// the system.
//
// A server that goes away takes no source with it: while it is away only the connected one is
// listed and no notice is sent, and when it is back, sources of the same names have their old
// references, and the connected one is connected again. A source that is still missing 5 s later
// is told as removed.
class MidiSystem {
public:
    virtual ~MidiSystem() = default;

    // Calls the handler, once, on any thread, when the server has listed its sources, however late
    // that is, or when there is no server. Before that the others fail (EHOSTDOWN).
    virtual void whenReady(std::function<void()> handler) = 0;

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
