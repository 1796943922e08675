#pragma once

#include "Platform/Midi/PacketQueue.h"
#include "Platform/Realtime/Realtime.h"

#include <cstdint>
#include <span>

namespace tessivo::midi {

// The clock of one cycle of the graph.
struct CycleTime {
    std::uint64_t start = 0; // ns of the monotonic clock
    double frame = 0.0;      // duration, ns
};

// Copies the MIDI messages of one cycle from a port's buffer into the queue. The buffer is shared
// with other programs: whatever it contains, nothing outside it is read. Returns whether there was
// any; one that did not fit into the queue counts.
bool copyPackets(std::span<const std::uint8_t> buffer, const CycleTime& cycle,
                 PacketQueue& queue) TESSIVO_REALTIME;

} // namespace tessivo::midi
