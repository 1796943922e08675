#pragma once

#include "Platform/Midi/MidiSystem.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <vector>

namespace tessivo::test {

using Bytes = std::vector<std::uint8_t>;

// The errno value with which an operation fails; 0 when it succeeds.
template <typename Operation> int errorOf(Operation&& operation) {
    try {
        operation();
    } catch (const std::system_error& error) {
        return error.code().value();
    }
    return 0;
}

// Observes a system's sources and opens its input, and records what the handlers are told. The
// packet handler takes at least the given time.
class MidiListener {
public:
    explicit MidiListener(midi::MidiSystem& system, std::chrono::milliseconds pause = {})
        : observer(system.observeSources([this](midi::SetupChange change) {
            const std::scoped_lock lock(mutex_);
            threads_.insert(std::this_thread::get_id());
            notices_.push_back(change);
        }))
        , input(system.openInput("Tessivo", "TessivoInput",
                                 [this, pause, held = token](midi::PacketList list) {
                                     isHandling = true;
                                     std::this_thread::sleep_for(pause);
                                     add(list);
                                     isHandling = false;
                                 })) {}

    std::vector<midi::SetupChange> notices() { return copyOf(notices_); }
    std::vector<Bytes> packets() { return copyOf(packets_); }
    std::vector<std::uint64_t> times() { return copyOf(times_); }
    std::set<std::thread::id> threads() { return copyOf(threads_); }

    std::shared_ptr<int> token = std::make_shared<int>(); // owned by the packet handler as well
    std::atomic<bool> isHandling{false};

private:
    template <typename Values> Values copyOf(const Values& values) {
        const std::scoped_lock lock(mutex_);
        return values;
    }
    void add(midi::PacketList list) {
        const std::scoped_lock lock(mutex_);
        threads_.insert(std::this_thread::get_id());
        for (const midi::Packet& packet : list) {
            packets_.emplace_back(packet.bytes.begin(), packet.bytes.end());
            times_.push_back(packet.time);
        }
    }

    std::mutex mutex_;
    std::vector<Bytes> packets_;
    std::vector<std::uint64_t> times_;
    std::vector<midi::SetupChange> notices_;
    std::set<std::thread::id> threads_;

public:
    std::unique_ptr<midi::SourceObserver> observer; // the last, as their handlers use the others
    std::unique_ptr<midi::MidiInput> input;
};

} // namespace tessivo::test
