#pragma once

#include "Platform/Realtime/Moment.h"
#include "Platform/Realtime/Realtime.h"

#include <pipewire/stream.h>

#include <cstdint>

namespace tessivo::sound {

// Where the cycles of a stream are on the clock of the graph, and how much passed between two of
// them. Belongs to the audio callback.
class GraphPosition {
public:
    struct Cycle {
        Moment time{};            // of the first frame; Moment{} while the graph has no clock
        std::uint32_t missed = 0; // frames between the end of the previous cycle and this one
    };

    // To be called in each cycle of the stream that renders, with the time that the stream states
    // in it, the frames that it has, and their rate (Hz). Nothing is missed in the first cycle of
    // a stream, nor where the graph got another clock or another rate.
    Cycle begin(const pw_stream* stream, const pw_time& time, std::uint32_t frames,
                double renderRate) TESSIVO_REALTIME;

private:
    const pw_stream* stream_ = nullptr;
    spa_fraction tick_{}; // seconds
    double end_ = 0.0;    // of the previous cycle, ticks
};

} // namespace tessivo::sound
