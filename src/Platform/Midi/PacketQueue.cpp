#include "Platform/Midi/PacketQueue.h"

#include <bit>

namespace tessivo::midi {

PacketQueue::PacketQueue(std::uint32_t capacity)
    : ring_()
    , storage_(std::bit_ceil(capacity)) {
    spa_ringbuffer_init(&ring_);
}

bool PacketQueue::push(std::uint64_t time, std::span<const std::uint8_t> bytes) TESSIVO_REALTIME {
    const auto capacity = static_cast<std::uint32_t>(storage_.size());
    std::uint32_t index = 0;
    const auto filled = static_cast<std::uint32_t>(spa_ringbuffer_get_write_index(&ring_, &index));
    const std::size_t free = capacity - filled;
    if (free < sizeof(Header) || free - sizeof(Header) < bytes.size()) {
        lost_.fetch_add(1, std::memory_order_relaxed);
        return false;
    }
    const auto length = static_cast<std::uint32_t>(bytes.size());
    const Header header{time, length, 0};
    const auto write = [this, capacity](std::uint32_t at, const void* data, std::uint32_t size) {
        if (size > 0) { // the address of no bytes may be null
            spa_ringbuffer_write_data(&ring_, storage_.data(), capacity, at & (capacity - 1), data,
                                      size);
        }
    };
    write(index, &header, sizeof(header));
    write(index + static_cast<std::uint32_t>(sizeof(header)), bytes.data(), length);
    spa_ringbuffer_write_update(&ring_, static_cast<std::int32_t>(index + sizeof(header) + length));
    return true;
}

bool PacketQueue::pop(std::uint64_t& time, std::vector<std::uint8_t>& bytes) {
    const auto capacity = static_cast<std::uint32_t>(storage_.size());
    std::uint32_t index = 0;
    if (spa_ringbuffer_get_read_index(&ring_, &index) <= 0) {
        return false;
    }
    const auto read = [this, capacity](std::uint32_t at, void* data, std::uint32_t size) {
        if (size > 0) {
            spa_ringbuffer_read_data(&ring_, storage_.data(), capacity, at & (capacity - 1), data,
                                     size);
        }
    };
    Header header{};
    read(index, &header, sizeof(header));
    bytes.resize(header.length);
    read(index + static_cast<std::uint32_t>(sizeof(header)), bytes.data(), header.length);
    spa_ringbuffer_read_update(&ring_,
                               static_cast<std::int32_t>(index + sizeof(header) + header.length));
    time = header.time;
    return true;
}

} // namespace tessivo::midi
