#pragma once

#include "Platform/Midi/MidiSystem.h"
#include "Platform/Midi/PacketQueue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace tessivo::midi {

// The thread on which a MIDI system calls its handlers. Notices come from any thread but the
// audio callback, through a list; packets come from the audio callback, through the queue. The
// callback makes no system call, so nobody wakes the thread for a packet: while it listens it
// looks into the queue every kLookInterval.
class MidiThread {
public:
    MidiThread();
    ~MidiThread();
    MidiThread(const MidiThread&) = delete;
    MidiThread& operator=(const MidiThread&) = delete;

    // When they return, the previous handler is not running and is gone. Not from a handler.
    void setSetupHandler(SetupHandler handler);
    void setPacketHandler(PacketHandler handler);

    // Whether packets may come. Any thread.
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
    std::deque<SetupChange> notices_; // one for every device that came or went: few
    bool listening_ = false;
    bool quit_ = false;

    std::mutex handlersMutex_; // held while a handler runs
    SetupHandler setupHandler_;
    PacketHandler packetHandler_;

    // The thread's own: the packets of one call, whose memory is used again.
    std::vector<std::vector<std::uint8_t>> bytes_;
    std::vector<Packet> packets_;

    std::thread thread_; // the last, as it uses the others
};

} // namespace tessivo::midi
