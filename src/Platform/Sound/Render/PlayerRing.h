#pragma once

#include "Platform/Realtime/Realtime.h"
#include "Platform/Sound/Limits.h"

#include <spa/utils/ringbuffer.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>
#include <span>
#include <vector>

namespace tessivo::sound {

// What the two sides of a player share from its first scheduled file to its stop: a ring of
// stereo frames that the reader thread writes and the audio callback reads, and what each must
// know of the other.
//
// It has room for the read-ahead and some steps more. The reader thread pushes nothing while
// the read-ahead is full; when the ring is empty the callback plays silence.
class PlayerRing {
public:
    explicit PlayerRing(double renderRate) // Hz
        : ring_()
        , capacity_(capacityFor(renderRate))
        , samples_(static_cast<std::size_t>(capacity_) * kGraphChannels) {
        spa_ringbuffer_init(&ring_);
    }

    // Any thread. The callback fades out and then plays nothing more.
    void stop() { stopping_.store(true, std::memory_order_release); }
    bool isStopping() const TESSIVO_REALTIME { return stopping_.load(std::memory_order_acquire); }

    // Any thread. Frames that are written and not yet read.
    std::int64_t queuedFrames() const {
        // The library's function takes a ring that may change, but only looks at it.
        std::uint32_t index = 0;
        return spa_ringbuffer_get_read_index(const_cast<spa_ringbuffer*>(&ring_), &index);
    }
    // Any thread. Frames that the callback has read since the beginning.
    std::int64_t playedFrames() const { return played_.load(std::memory_order_acquire); }

    // Any thread. After stop(): the fade-out has been rendered.
    bool isFinished() const TESSIVO_REALTIME { return finished_.load(std::memory_order_acquire); }

    // Reader thread. Appends interleaved frames, for which there must be room.
    void push(std::span<const float> stereo) {
        const auto frames = static_cast<std::uint32_t>(stereo.size() / kGraphChannels);
        std::uint32_t index = 0;
        spa_ringbuffer_get_write_index(&ring_, &index);
        spa_ringbuffer_write_data(&ring_, samples_.data(), capacity_ * kFrameBytes,
                                  (index & (capacity_ - 1)) * kFrameBytes, stereo.data(),
                                  frames * kFrameBytes);
        spa_ringbuffer_write_update(&ring_, static_cast<std::int32_t>(index + frames));
    }
    // Reader thread. Takes back the newest frames. The callback must be so far behind them
    // that it cannot be reading them now.
    void takeBack(std::int64_t frames) {
        std::uint32_t index = 0;
        spa_ringbuffer_get_write_index(&ring_, &index);
        spa_ringbuffer_write_update(
            &ring_, static_cast<std::int32_t>(index - static_cast<std::uint32_t>(frames)));
    }
    // Reader thread. Enough is there for the callback to begin.
    void setPrebuffered() { prebuffered_.store(true, std::memory_order_release); }
    bool isPrebuffered() const TESSIVO_REALTIME {
        return prebuffered_.load(std::memory_order_acquire);
    }
    // Reader thread, before it has set the ring prebuffered, where the loop already sounds from
    // memory: the position at which the ring's first frame would have been heard in the same
    // phase, and whether its samples only resemble those of the memory.
    void setJoin(std::int64_t position, bool resembles) {
        joinPosition_.store(position, std::memory_order_relaxed);
        joinResembles_.store(resembles, std::memory_order_relaxed);
    }
    std::int64_t joinPosition() const TESSIVO_REALTIME {
        return joinPosition_.load(std::memory_order_relaxed);
    }
    bool joinResembles() const TESSIVO_REALTIME {
        return joinResembles_.load(std::memory_order_relaxed);
    }
    // Reader thread. Whether more frames are to come: then an empty ring is an underrun.
    void setMoreToCome(bool more) { moreToCome_.store(more, std::memory_order_relaxed); }
    bool isMoreToCome() const TESSIVO_REALTIME {
        return moreToCome_.load(std::memory_order_relaxed);
    }

    // Audio callback. The oldest frames, at most that many.
    struct Readable {
        std::uint32_t index = 0;
        std::uint32_t frames = 0;
    };
    Readable beginRead(std::uint32_t maxFrames) TESSIVO_REALTIME {
        Readable readable;
        const auto filled = spa_ringbuffer_get_read_index(&ring_, &readable.index);
        readable.frames = std::min(maxFrames, static_cast<std::uint32_t>(std::max(filled, 0)));
        return readable;
    }
    // Left and right sample of one of them; `at` counts from readable.index.
    const float* frame(const Readable& readable, std::uint32_t at) const TESSIVO_REALTIME {
        const std::size_t slot = (readable.index + at) & (capacity_ - 1);
        return samples_.data() + slot * kGraphChannels;
    }
    void endRead(const Readable& readable) TESSIVO_REALTIME {
        spa_ringbuffer_read_update(&ring_,
                                   static_cast<std::int32_t>(readable.index + readable.frames));
        played_.store(played_.load(std::memory_order_relaxed) + readable.frames,
                      std::memory_order_release);
    }
    // Audio callback. Takes that many of the oldest frames without playing them, or all that
    // there are.
    void skip(std::int64_t frames) TESSIVO_REALTIME {
        constexpr std::int64_t kMost = UINT32_MAX;
        endRead(beginRead(static_cast<std::uint32_t>(std::min(frames, kMost))));
    }
    void setFinished() TESSIVO_REALTIME { finished_.store(true, std::memory_order_release); }

private:
    static constexpr std::uint32_t kFrameBytes = kGraphChannels * sizeof(float);

    static std::uint32_t capacityFor(double renderRate) {
        const auto readAhead = static_cast<std::uint32_t>(kReadAheadSeconds * renderRate);
        return std::bit_ceil(std::max(readAhead + 4 * kReadChunkFrames, 4 * kMaxRenderFrames));
    }

    spa_ringbuffer ring_;          // its indices count frames and wrap
    const std::uint32_t capacity_; // frames, a power of two
    std::vector<float> samples_;
    std::atomic<std::int64_t> played_{0};
    std::atomic<bool> prebuffered_{false};
    std::atomic<bool> moreToCome_{false};
    std::atomic<std::int64_t> joinPosition_{0};
    std::atomic<bool> joinResembles_{false};
    std::atomic<bool> stopping_{false};
    std::atomic<bool> finished_{false};
};

} // namespace tessivo::sound
