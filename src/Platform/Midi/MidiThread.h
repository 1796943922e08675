#pragma once

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Midi/MidiSystem.h"
#include "Platform/Midi/PacketQueue.h"
#include "Platform/Realtime/Realtime.h"

#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace tessivo::midi {

// The thread on which a MIDI system calls its handlers. Packets come from the audio callback
// through the queue, notices from any other thread through a list. The thread sleeps until it is
// woken.
class MidiThread {
public:
    MidiThread();
    ~MidiThread();
    MidiThread(const MidiThread&) = delete;
    MidiThread& operator=(const MidiThread&) = delete;

    // When they return, the previous handler is not running and is gone. Not from a handler.
    void setSetupHandler(SetupHandler handler);
    void setPacketHandler(PacketHandler handler);

    // To be called when packets were put into the queue. Any thread, also the audio callback: one
    // write of eight bytes, which never waits.
    void wake() TESSIVO_REALTIME;

    void notify(SetupChange change); // any thread but the audio callback
    PacketQueue& queue() { return queue_; }
    const PacketQueue& queue() const { return queue_; }

private:
    void run();
    void deliverPackets();

    PacketQueue queue_;
    files::FileDescriptor event_; // readable when there may be something to do

    std::mutex mutex_;                // of what follows
    std::deque<SetupChange> notices_; // few: one for each device that comes or goes
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
