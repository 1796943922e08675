#pragma once

#include "Platform/Midi/PacketQueue.h"
#include "Platform/Realtime/Realtime.h"

#include <cstdint>
#include <span>

namespace tessivo::midi {

// When a cycle of the graph begins, and how long a frame of it is.
struct CycleTime {
    std::uint64_t start = 0; // ns of the monotonic clock
    double frame = 0.0;      // ns
};

// Copies the MIDI messages of one cycle, as a port's buffer has them, into the queue. The
// buffer is shared with other programs: whatever it holds, nothing outside it is read.
void copyPackets(std::span<const std::uint8_t> buffer, const CycleTime& cycle,
                 PacketQueue& queue) TESSIVO_REALTIME;

} // namespace tessivo::midi
