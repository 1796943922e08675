#pragma once

#include "Platform/Realtime/Realtime.h"
#include "Platform/Realtime/SpscQueue.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace tessivo::sound {

// Carries captured frames from the audio callback (the one writer) to the tap thread (the one
// reader) and holds 40 s of them. Frames lie in chunks; a chunk that has been read is used
// again before a fresh one is touched, so resident memory grows only with the backlog. When
// all chunks are full, frames are lost: the reader gets silence of the same length in their
// place, and lostFrames() tells how many.
class TapQueue {
public:
    TapQueue(std::uint32_t channels, double sampleRate); // channels: 1 or 2; Hz

    // Audio callback. No pointers means silence; a mono source gives both the same pointer.
    void push(const float* left, const float* right, std::uint32_t frames) TESSIVO_REALTIME;

    // Tap thread. Appends interleaved frames to the vector, as many as there are up to
    // maxFrames, and returns how many.
    std::uint32_t pop(std::vector<float>& interleaved, std::uint32_t maxFrames);

    // Tap thread, once the callback has let go of the queue: makes the frames that the
    // callback had not handed over yet readable.
    void flush();

    // Any thread.
    std::int64_t lostFrames() const { return lostFrames_.load(std::memory_order_relaxed); }

private:
    // A stretch of one chunk, behind a stretch of frames that found no room.
    struct Segment {
        std::uint32_t chunk = 0;
        std::uint32_t offset = 0; // frames
        std::uint32_t frames = 0;
        bool endsChunk = false;
        std::int64_t lostBefore = 0; // frames
    };

    bool takeChunk() TESSIVO_REALTIME;
    void publish(bool endsChunk) TESSIVO_REALTIME;
    float* frameAt(std::uint32_t chunk, std::uint32_t offset) TESSIVO_REALTIME;
    std::uint32_t emit(std::vector<float>& interleaved, std::uint32_t maxFrames);

    const std::uint32_t channels_;
    const std::uint32_t chunkCount_;
    std::unique_ptr<float[]> memory_;
    SpscQueue<Segment> filled_;
    SpscQueue<std::uint32_t> free_;
    std::atomic<std::int64_t> lostFrames_{0};

    // Writer's side.
    bool hasChunk_ = false;
    std::uint32_t chunk_ = 0;
    std::uint32_t written_ = 0;   // frames in the current chunk
    std::uint32_t published_ = 0; // of these, handed over
    std::uint32_t fresh_ = 0;     // chunks never used so far begin here
    std::int64_t pendingLost_ = 0;

    // Reader's side.
    Segment current_;
};

} // namespace tessivo::sound
