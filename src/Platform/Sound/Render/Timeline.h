#pragma once

#include "Platform/Realtime/Moment.h"
#include "Platform/Realtime/Realtime.h"
#include "Platform/Sound/Device/AudioDevice.h"

#include <atomic>
#include <cstdint>
#include <optional>

namespace tessivo::sound {

// Which frame belongs to which moment. Frames are counted at the render rate since the engine
// exists, those of lost cycles included; a frame's number is its position. Captured and
// rendered frames share the count. The audio callback is the one writer and never waits, and any
// thread reads; only while no device runs the main thread writes.
class Timeline {
public:
    // Audio callback, at the beginning of each cycle. Returns the position of its first frame.
    std::int64_t beginCycle(const RenderCycle& cycle) TESSIVO_REALTIME;

    // The position of the first frame of the next cycle that begins.
    std::int64_t next() const { return next_.load(); }

    // The length of the newest cycle, frames.
    std::uint32_t cycleFrames() const { return frames_.load(); }

    // Frames of lost cycles, and those that the speaker missed.
    struct Losses {
        std::int64_t input = 0;
        std::int64_t output = 0;

        bool operator==(const Losses&) const = default;
    };
    Losses losses() const {
        return {missed_.load(std::memory_order_relaxed),
                missedOutput_.load(std::memory_order_relaxed)};
    }

    // The position that belongs to that moment at that rate (Hz), counted from the newest cycle.
    // Nothing when there is no clock, or when the cycles have stopped coming before the moment.
    std::optional<std::int64_t> positionAt(Moment moment, double rate) const;

    // While there are no cycles: the next ones may come at any time. The count goes on.
    void forgetClock();

private:
    // The newest cycle. The version is odd while the other two are being written.
    std::atomic<std::uint64_t> version_{0};
    std::atomic<std::int64_t> position_{0};
    std::atomic<Moment> time_{};

    std::atomic<std::int64_t> next_{0};
    std::atomic<std::uint32_t> frames_{0};
    std::atomic<std::int64_t> missed_{0};
    std::atomic<std::int64_t> missedOutput_{0};
};

} // namespace tessivo::sound
