#pragma once

#include "Platform/Realtime/Realtime.h"

#include <spa/utils/ringbuffer.h>

#include <bit>
#include <cstdint>
#include <vector>

namespace tessivo {

// Small values from one writing thread to one reading thread, in order, without waiting.
// When it is full the writer is told and nothing is overwritten. Either side may be the
// audio callback. A typed face of PipeWire's ring buffer, whose atomics, unlike fences, the
// race detector can follow.
template <typename T> class SpscQueue {
public:
    // Holds at least that many values.
    explicit SpscQueue(std::uint32_t capacity)
        : ring_()
        , slots_(std::bit_ceil(capacity)) {
        spa_ringbuffer_init(&ring_);
    }

    // Writer. False when the queue is full.
    bool tryPush(const T& value) TESSIVO_REALTIME {
        std::uint32_t index = 0;
        if (spa_ringbuffer_get_write_index(&ring_, &index) >=
            static_cast<std::int32_t>(slots_.size())) {
            return false;
        }
        slots_[index & (slots_.size() - 1)] = value;
        spa_ringbuffer_write_update(&ring_, static_cast<std::int32_t>(index + 1));
        return true;
    }

    // Reader. False when the queue is empty.
    bool tryPop(T& value) TESSIVO_REALTIME {
        std::uint32_t index = 0;
        if (spa_ringbuffer_get_read_index(&ring_, &index) <= 0) {
            return false;
        }
        value = slots_[index & (slots_.size() - 1)];
        spa_ringbuffer_read_update(&ring_, static_cast<std::int32_t>(index + 1));
        return true;
    }

    // Writer. How many values wait; the reader may be taking some at this moment.
    std::uint32_t size() TESSIVO_REALTIME {
        std::uint32_t index = 0;
        return static_cast<std::uint32_t>(spa_ringbuffer_get_write_index(&ring_, &index));
    }

private:
    spa_ringbuffer ring_;
    std::vector<T> slots_;
};

} // namespace tessivo
