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

// A controller: a node with one MIDI output port, "out_0" unless its properties say otherwise.
// Packets are kept until its port is linked. Used by one thread. It does not survive its server.
class MidiSender final : public GraphNode {
public:
    using Packet = std::vector<std::uint8_t>;
    using Clock = std::chrono::steady_clock;

    struct Identity {
        std::string name = "keys"; // of the node
        // They override ours.
        Properties nodeProperties = {};
        Properties portProperties = {};
    };

    static constexpr std::size_t kLargestCycle = 256U * 1024; // bytes, controls included

    explicit MidiSender(Identity identity);
    explicit MidiSender(const std::string& name = "keys")
        : MidiSender(Identity{name}) {}
    ~MidiSender() override;

    // Sends these together, in the next cycle that is free. Returns the cycle's number, from 1.
    std::size_t send(std::vector<Packet> packets);
    // A note-on.
    std::size_t play(std::uint8_t note) { return send({{0x90, note, 100}}); }

    std::size_t sent() const { return sent_; } // cycles
    // When the graph processed the cycle of that number; none before that.
    std::optional<Clock::time_point> sentAt(std::size_t number) const;

    // The time of that cycle on the graph's clock, once it was processed.
    Clock::time_point dueAt(std::size_t number) const {
        return sent_ >= number ? cycles_[number - 1].due : Clock::time_point{};
    }

    // Sends so many note-ons a second, spread evenly, and repeats the notes.
    void flood(unsigned perSecond, std::vector<std::uint8_t> notes);
    void endFlood() { flood_ = nullptr; }
    // Notes of the floods so far, the next of which is notes[flooded() % notes.size()].
    std::uint64_t flooded() const { return flooded_; }

private:
    struct Cycle {
        std::vector<Packet> packets;
        Clock::time_point at; // both are written before sent_ counts it
        Clock::time_point due;
    };
    struct Flood {
        unsigned perSecond;
        std::vector<std::uint8_t> notes;
    };
    void process(const spa_io_position& position) override;

    void* port_ = nullptr;

    std::deque<Cycle> cycles_; // all: the callback must not free one
    SpscQueue<Cycle*> queue_{4096};
    std::atomic<std::size_t> sent_{0};

    std::deque<Flood> floods_;
    std::atomic<const Flood*> flood_{nullptr};
    std::atomic<std::uint64_t> flooded_{0};
    // The callback's own: the current flood, and its frames and notes so far.
    const Flood* current_ = nullptr;
    std::uint64_t floodFrames_ = 0;
    std::uint64_t floodNotes_ = 0;
};

} // namespace tessivo::test
