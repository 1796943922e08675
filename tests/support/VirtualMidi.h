#pragma once

#include "Platform/Midi/MidiSystem.h"
#include "Platform/Midi/MidiThread.h"
#include "Platform/Realtime/Moment.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tessivo::midi {

// A MIDI system whose sources are added, played and unplugged by a test or a benchmark. Packets
// take the same way through the queue and the thread as with a real server. All calls on one
// thread, except send(), which may have one of its own.
class VirtualMidi : public MidiSystem {
public:
    SourceRef addSource(std::optional<std::string> name); // sends a notice, as removing does
    void removeSource(SourceRef source);
    void notify(SetupChange change) { thread_.notify(change); }

    // As when the audio callback has received them, due at that time. False when something was
    // lost, or when that source is not connected.
    bool send(SourceRef source, std::span<const std::vector<std::uint8_t>> packets,
              Moment due = momentNow());
    bool send(SourceRef source, std::vector<std::uint8_t> packet);

    // The errno value with which the next call of that operation fails; 0 for none.
    int failObserve = 0;
    int failOpen = 0;
    int failConnect = 0;

    SourceRef connected() const { return connected_.load(); }
    bool isObserved() const { return observed_; }
    bool isOpen() const { return open_; }
    bool inputWentFirst() const { return inputWentFirst_; } // before the observer
    unsigned connections() const { return connections_; }   // calls that connected a source

    void whenReady(std::function<void()> handler) override { handler(); }
    std::unique_ptr<SourceObserver> observeSources(SetupHandler handler) override;
    std::unique_ptr<MidiInput> openInput(const std::string& clientName, const std::string& portName,
                                         PacketHandler handler) override;
    std::vector<Source> sources() override { return sources_; }
    std::uint64_t lostPackets() const override { return thread_.queue().lost(); }

private:
    class Observer;
    class Input;

    std::vector<Source> sources_;
    SourceRef lastReference_ = 0;
    bool observed_ = false;
    bool open_ = false;
    bool inputWentFirst_ = false;
    std::atomic<SourceRef> connected_{0};
    unsigned connections_ = 0;
    MidiThread thread_;
};

} // namespace tessivo::midi
