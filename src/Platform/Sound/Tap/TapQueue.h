#pragma once

#include "Platform/Realtime/Realtime.h"
#include "Platform/Realtime/SpscQueue.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>

namespace tessivo::sound {

// Carries captured frames from the audio callback (the one writer) to the tap thread (the one
// reader), which keeps them for as long as it likes. Stereo, at the render rate; a frame is
// known by its position on the engine's timeline.
//
// It holds 40 s and the history in chunks of planar samples. A chunk that the reader has released
// is used again before a new one is touched, so resident memory grows only with what is kept. When
// all chunks are full, frames are dropped and overrunFrames() counts them. Positions that were
// never pushed, or dropped, read as silence.
class TapQueue {
public:
    explicit TapQueue(double sampleRate); // Hz

    // Audio callback. The frames from `position` on, which lies behind those pushed before.
    // Null pointers mean silence; a mono source gives the same pointer twice.
    void push(std::int64_t position, const float* left, const float* right,
              std::uint32_t frames) TESSIVO_REALTIME;

    // Any thread.
    std::int64_t overrunFrames() const { return overrunFrames_.load(std::memory_order_relaxed); }

    // All that follows: tap thread.

    // Takes over what has been pushed since the last call.
    void receive();
    // The position behind the last frame that was received; 0 before the first.
    std::int64_t end() const { return end_; }
    // Copies received frames of one channel. Returns how many of them were never captured and
    // are silence.
    std::uint32_t copy(std::int64_t from, std::uint32_t frames, std::uint32_t channel,
                       float* target) const;
    // Whether a sample of these received frames, of either channel, is at that amplitude or beyond.
    bool reaches(std::int64_t from, std::uint32_t frames, float amplitude) const;
    // Frames before that position are not needed any more.
    void release(std::int64_t before);

private:
    // Frames that lie one behind the other in one chunk, without a gap.
    struct Run {
        std::int64_t position = 0;
        std::int64_t storedBefore = 0; // frames stored in the queue before these
        std::uint32_t chunk = 0;
        std::uint32_t offset = 0; // frames
    };

    bool beginRun(std::int64_t position) TESSIVO_REALTIME;
    float* samplesAt(std::uint32_t chunk, std::uint32_t channel,
                     std::uint32_t offset) const TESSIVO_REALTIME;
    std::int64_t lengthOf(std::size_t run) const;
    template <typename Work>
    void forEachPiece(std::int64_t from, std::uint32_t frames, const Work& work) const;

    const std::uint32_t chunkCount_;
    std::unique_ptr<float[]> memory_; // for each chunk all of its left samples, then its right
    SpscQueue<Run> runs_;
    SpscQueue<std::uint32_t> free_;
    std::atomic<std::int64_t> storedTotal_{0}; // frames; every sample of these is readable
    std::atomic<std::int64_t> pushedEnd_{0};   // the position behind the last frame
    std::atomic<std::int64_t> overrunFrames_{0};

    // Writer.
    bool hasChunk_ = false;
    std::uint32_t chunk_ = 0;
    std::uint32_t written_ = 0;     // frames in the current chunk
    std::int64_t runEnd_ = -1;      // the position at which the current run can go on
    std::int64_t stored_ = 0;       // frames
    std::uint32_t firstUnused_ = 0; // chunks from here on have never been touched

    // Reader.
    std::deque<Run> kept_;      // oldest first
    std::int64_t readable_ = 0; // frames stored
    std::int64_t end_ = 0;
};

} // namespace tessivo::sound
