#pragma once

#include "Platform/Realtime/Realtime.h"

#include <atomic>
#include <cstdint>
#include <vector>

namespace tessivo::sound {

// The first ten seconds of a take in memory, stereo, at the render rate, so that its loop can
// be heard at once, without a disk. Frame 0 is the take's first frame. The audio callback writes
// from the frame at which it gets to know the head; the tap thread, which knows the past, writes
// the frames before. Neither waits for the other. Holes in the input are silence.
class TakeHead {
public:
    // The position of frame 0 on the engine's timeline; Hz; whether only the left side counts.
    TakeHead(std::int64_t begin, double renderRate, bool mono);

    std::int64_t begin() const { return begin_; }
    double renderRate() const { return renderRate_; }   // Hz
    std::int64_t capacity() const { return capacity_; } // frames

    // Audio callback. What was captured from that position on; a null pointer means silence.
    void write(std::int64_t position, const float* left, const float* right,
               std::uint32_t frames) TESSIVO_REALTIME;

    // Tap thread. The frame at which the callback began to write, at most the capacity; -1
    // before that.
    std::int64_t callbackBegin() const { return callbackBegin_.load(std::memory_order_acquire); }
    // Tap thread. The next `frames` frames of the past, to be written to the two targets.
    struct Past {
        float* left = nullptr;
        float* right = nullptr;
    };
    Past nextPast() { return {left_.data() + pastEnd_, right_.data() + pastEnd_}; }
    std::int64_t pastEnd() const { return pastEnd_.load(std::memory_order_relaxed); }
    void endPast(std::int64_t frames);
    bool isMono() const { return mono_; }

    // Audio callback. Whether that frame is there, and its samples.
    bool has(std::int64_t frame) const TESSIVO_REALTIME;
    float left(std::int64_t frame) const TESSIVO_REALTIME { return left_[index(frame)]; }
    float right(std::int64_t frame) const TESSIVO_REALTIME { return right_[index(frame)]; }

private:
    static std::size_t index(std::int64_t frame) TESSIVO_REALTIME {
        return static_cast<std::size_t>(frame);
    }

    const std::int64_t begin_;
    const double renderRate_;
    const bool mono_;
    const std::int64_t capacity_;
    // Zeroed, so that no page is missing when the callback writes.
    std::vector<float> left_;
    std::vector<float> right_;
    std::atomic<std::int64_t> pastEnd_{0};
    std::atomic<std::int64_t> callbackBegin_{-1};
    std::atomic<std::int64_t> callbackEnd_{0};
};

} // namespace tessivo::sound
