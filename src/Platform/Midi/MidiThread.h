#pragma once

#include "Platform/Midi/MidiSystem.h"
#include "Platform/Midi/PacketQueue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace tessivo::midi {

// The thread on which a MIDI system calls its handlers. Packets come from the audio callback
// through the queue, notices from any other thread through a list. The callback makes no system
// call and so does not wake the thread: while it listens it polls the queue.
class MidiThread {
public:
    MidiThread();
    ~MidiThread();
    MidiThread(const MidiThread&) = delete;
    MidiThread& operator=(const MidiThread&) = delete;

    // When they return, the previous handler is not running and is gone. Not from a handler.
    void setSetupHandler(SetupHandler handler);
    void setPacketHandler(PacketHandler handler);

    // Whether to poll for packets. Any thread.
    void setListening(bool listening);

    void notify(SetupChange change); // any thread but the audio callback
    PacketQueue& queue() { return queue_; }
    const PacketQueue& queue() const { return queue_; }

private:
    void run();
    void deliverPackets();

    PacketQueue queue_;

    std::mutex mutex_; // of what follows
    std::condition_variable changed_;
    std::deque<SetupChange> notices_; // few: one for each device that comes or goes
    bool listening_ = false;
    bool quit_ = false;

    std::mutex handlersMutex_; // held while a handler runs
    SetupHandler setupHandler_;
    PacketHandler packetHandler_;

    // The thread's own: the packets of one call; the memory is reused.
    std::vector<std::vector<std::uint8_t>> bytes_;
    std::vector<Packet> packets_;

    std::thread thread_; // the last member, because it uses the others
};

} // namespace tessivo::midi
