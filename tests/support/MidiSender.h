#pragma once

#include "Platform/Realtime/SpscQueue.h"
#include "support/GraphNode.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace tessivo::test {

// A controller: a node of the graph with one output port for MIDI, "out_0" unless its
// properties say otherwise. What it is to send waits until somebody is linked to it. Called by
// one thread, and destroyed at any time; a server that went away takes it along.
class MidiSender final : public GraphNode {
public:
    using Packet = std::vector<std::uint8_t>;
    using Clock = std::chrono::steady_clock;

    struct Identity {
        std::string name = "keys"; // of the node
        // A description, a class, whatever else; they replace ours.
        Properties nodeProperties = {};
        Properties portProperties = {};
    };

    static constexpr std::size_t kLargestCycle = 256U * 1024; // bytes, controls included

    explicit MidiSender(Identity identity);
    explicit MidiSender(const std::string& name = "keys")
        : MidiSender(Identity{name}) {}
    ~MidiSender() override;

    // These leave together, in the next cycle that has none from an earlier call. Returns how
    // many cycles were asked for so far, this one included.
    std::size_t send(std::vector<Packet> packets);
    // A note-on.
    std::size_t play(std::uint8_t note) { return send({{0x90, note, 100}}); }

    std::size_t sent() const { return sent_; } // of those cycles
    // When the graph asked for the cycle with that number, from 1 on; none if it did not yet.
    std::optional<Clock::time_point> sentAt(std::size_t number) const;

    // From now on so many note-ons a second, spread evenly: these notes again and again.
    void flood(unsigned perSecond, std::vector<std::uint8_t> notes);
    void endFlood() { flood_ = nullptr; }
    // Notes of the floods so far, the next of which is notes[flooded() % notes.size()].
    std::uint64_t flooded() const { return flooded_; }

private:
    struct Cycle {
        std::vector<Packet> packets;
        Clock::time_point at; // written before sent_ counts it
    };
    struct Flood {
        unsigned perSecond;
        std::vector<std::uint8_t> notes;
    };
    void process(const spa_io_position& position) override;

    void* port_ = nullptr;

    std::deque<Cycle> cycles_; // all of them: the callback frees nothing
    SpscQueue<Cycle*> queue_{4096};
    std::atomic<std::size_t> sent_{0};

    std::deque<Flood> floods_;
    std::atomic<const Flood*> flood_{nullptr};
    std::atomic<std::uint64_t> flooded_{0};
    // The callback's own: the flood that goes on, its frames, and its notes before them.
    const Flood* current_ = nullptr;
    std::uint64_t floodFrames_ = 0;
    std::uint64_t floodNotes_ = 0;
};

} // namespace tessivo::test
