#pragma once

#include "Platform/Realtime/Realtime.h"

#include <spa/utils/ringbuffer.h>

#include <atomic>
#include <cstdint>
#include <span>
#include <vector>

namespace tessivo::midi {

// One second of packets at 50,000 a second, or a controller's longest system exclusive message.
inline constexpr std::uint32_t kPacketQueueBytes = 1U << 20U;

// Packets from one writing thread, the audio callback, to one reading thread, in order. A packet
// that does not fit is dropped as a whole and counted; neither side waits.
class PacketQueue {
public:
    // Bytes, rounded up to a power of two; each packet takes 16 more than its own.
    explicit PacketQueue(std::uint32_t capacity = kPacketQueueBytes);

    // Writer. False when the packet was dropped.
    bool push(std::uint64_t time, std::span<const std::uint8_t> bytes) TESSIVO_REALTIME;

    // Reader. Replaces time and bytes by those of the next packet; false when there is none.
    bool pop(std::uint64_t& time, std::vector<std::uint8_t>& bytes);

    // Any thread.
    std::uint64_t lost() const TESSIVO_REALTIME { return lost_.load(std::memory_order_relaxed); }

private:
    struct Header {
        std::uint64_t time;
        std::uint32_t length;
        std::uint32_t padding;
    };
    static_assert(sizeof(Header) == 16);

    spa_ringbuffer ring_;
    std::vector<std::uint8_t> storage_;
    std::atomic<std::uint64_t> lost_{0};
};

} // namespace tessivo::midi
