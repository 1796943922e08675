#pragma once

#include "Platform/Realtime/SpscQueue.h"
#include "support/GraphNode.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <span>
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

    // Adds packets of its own to a cycle, each at its frame, on the audio thread.
    using Add = std::function<void(std::uint64_t frame, std::span<const std::uint8_t> packet)>;
    using More = std::function<void(const spa_io_position& position, const Add& add)>;

    explicit MidiSender(Identity identity, More more = {});
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

private:
    struct Cycle {
        std::vector<Packet> packets;
        Clock::time_point at; // both are written before sent_ counts it
        Clock::time_point due;
    };
    void process(const spa_io_position& position) override;

    const More more_;
    void* port_ = nullptr;

    std::deque<Cycle> cycles_; // all: the callback must not free one
    SpscQueue<Cycle*> queue_{4096};
    std::atomic<std::size_t> sent_{0};
};

} // namespace tessivo::test
