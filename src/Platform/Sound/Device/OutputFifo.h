#pragma once

#include "Platform/Realtime/Realtime.h"
#include "Platform/Sound/Limits.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace tessivo::sound {

// Carries rendered frames from the capture callback to the playback callback that it triggers.
// Both run on one thread. At equal rates it is empty after every cycle; where a stream converts
// rates, it keeps the few frames by which the two frame counts differ from cycle to cycle.
class OutputFifo {
public:
    OutputFifo();

    void clear() TESSIVO_REALTIME;

    // Begins a cycle. Frames that were not fetched since the previous one are late: dropped.
    void beginCycle() TESSIVO_REALTIME;
    // When it is full, the oldest frames are dropped.
    void push(std::span<const float* const> channels, std::uint32_t frames) TESSIVO_REALTIME;

    // Fills the channels. Returns how many frames at the end are silence for want of others.
    std::uint32_t pop(std::span<float* const> channels, std::uint32_t frames) TESSIVO_REALTIME;

    std::uint32_t size() const TESSIVO_REALTIME { return size_; }

private:
    static constexpr std::uint32_t kCapacity = 4 * kMaxRenderFrames;
    // A fill level that was never undercut in so many cycles is only latency: it is dropped.
    static constexpr std::uint32_t kTrimCycles = 512;

    void drop(std::uint32_t frames) TESSIVO_REALTIME;

    std::array<std::vector<float>, kGraphChannels> samples_;
    std::uint32_t first_ = 0;
    std::uint32_t size_ = 0;
    bool fetched_ = true;
    std::uint32_t lowestFill_ = 0;
    std::uint32_t cyclesWatched_ = 0;
};

} // namespace tessivo::sound
