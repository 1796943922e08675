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
    // Returns how many.
    std::uint32_t beginCycle() TESSIVO_REALTIME;
    // When it is full, the oldest frames are dropped.
    void push(std::span<const float* const> channels, std::uint32_t frames) TESSIVO_REALTIME;

    // Fills the channels, with silence at the end if frames are missing. Returns how many are
    // missing.
    std::uint32_t pop(std::span<float* const> channels, std::uint32_t frames) TESSIVO_REALTIME;

    std::uint32_t size() const TESSIVO_REALTIME { return size_; }

private:
    static constexpr std::uint32_t kCapacity = 4 * kMaxRenderFrames;
    // After so many cycles the frames that were never needed in them are dropped: they only add
    // latency.
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
