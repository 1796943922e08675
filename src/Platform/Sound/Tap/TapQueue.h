#pragma once

#include "Platform/Realtime/Realtime.h"
#include "Platform/Realtime/SpscQueue.h"
#include "Platform/Sound/AudioPCMBuffer.h"

#include <atomic>
#include <cstdint>
#include <memory>

namespace tessivo::sound {

// Carries captured frames from the audio callback (the one writer) to the tap thread (the one
// reader). It holds 40 s in chunks of planar samples. A chunk that has been read is used again
// before a new one is touched, so resident memory grows only with the backlog. When all chunks
// are full, frames are dropped: the reader gets silence of the same length in their place, and
// overrunFrames() counts them.
class TapQueue {
public:
    TapQueue(std::uint32_t channels, double sampleRate); // channels: 1 or 2; Hz

    // Audio callback. Null pointers mean silence; a mono source gives the same pointer twice.
    void push(const float* left, const float* right, std::uint32_t frames) TESSIVO_REALTIME;

    // Tap thread. Appends frames to the buffer, which has the queue's channels, until it is
    // full or the queue is empty.
    void pop(AudioPCMBuffer& buffer);

    // Tap thread, once the callback no longer uses the queue: makes the frames that the
    // callback has not handed over yet readable.
    void flush();

    // Any thread.
    std::int64_t overrunFrames() const { return overrunFrames_.load(std::memory_order_relaxed); }

private:
    // Frames of one chunk that are handed over together.
    struct Segment {
        std::uint32_t chunk = 0;
        std::uint32_t offset = 0; // frames
        std::uint32_t frames = 0;
        bool endsChunk = false;
        std::int64_t droppedBefore = 0; // frames that found no room before these
    };

    bool takeChunk() TESSIVO_REALTIME;
    void handOver(bool endsChunk) TESSIVO_REALTIME;
    float* samplesAt(std::uint32_t chunk, std::uint32_t channel,
                     std::uint32_t offset) TESSIVO_REALTIME;
    void popSegment(AudioPCMBuffer& buffer);

    const std::uint32_t channels_;
    const std::uint32_t chunkCount_;
    std::unique_ptr<float[]> memory_; // for each chunk all of its left samples, then its right
    SpscQueue<Segment> filled_;
    SpscQueue<std::uint32_t> free_;
    std::atomic<std::int64_t> overrunFrames_{0};

    // Writer.
    bool hasChunk_ = false;
    std::uint32_t chunk_ = 0;
    std::uint32_t written_ = 0;     // frames in the current chunk
    std::uint32_t handedOver_ = 0;  // of these
    std::uint32_t firstUnused_ = 0; // chunks from here on have never been touched
    std::int64_t dropped_ = 0;      // frames, not told to the reader yet

    // Reader.
    Segment current_;
};

} // namespace tessivo::sound
