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
        std::uint32_t missed = 0; // frames between those of the previous cycle and of this one
    };

    // To be called in each cycle of the stream that renders, with the time that the stream states
    // in it, the frames that it has, and their rate (Hz). Nothing is missed in the first cycle of
    // a stream. A graph that changes its rate stands still meanwhile, which is a gap like others.
    //
    // A callback that comes late may find the clock of the next cycle, and the frames of its own.
    // So a gap counts when the next cycle has it too, which tells it one cycle behind its place.
    Cycle begin(const pw_stream* stream, const pw_time& time, std::uint32_t frames,
                double renderRate) TESSIVO_REALTIME;

private:
    const pw_stream* stream_ = nullptr;
    spa_fraction tick_{};  // seconds
    double end_ = 0.0;     // of the previous cycle's frames, ticks
    Moment endTime_{};     // the same on the clock of the system
    double doubted_ = 0.0; // by how many ticks the clock was ahead of the frames; 0 when it was not
    int settling_ = 0;     // cycles until the ticks of a new clock are believed
};

} // namespace tessivo::sound
