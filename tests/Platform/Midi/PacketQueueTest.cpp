#include "Platform/Midi/PacketQueue.h"

#include <gtest/gtest.h>

#include <thread>

using tessivo::midi::PacketQueue;

namespace {

std::vector<std::uint8_t> packet(std::uint64_t number) {
    std::vector<std::uint8_t> bytes(number % 300);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(number + i);
    }
    return bytes;
}

} // namespace

TEST(PacketQueueTest, PassesPacketsWholeAndInOrderAndCountsThoseThatDoNotFit) {
    constexpr std::uint64_t kPackets = 20'000;
    PacketQueue queue(1024);
    std::uint64_t refused = 0;
    std::thread writer([&] {
        for (std::uint64_t number = 0; number < kPackets; ++number) {
            while (!queue.push(number, packet(number))) {
                ++refused;
                std::this_thread::yield();
            }
        }
    });
    std::uint64_t time = 0;
    std::vector<std::uint8_t> bytes;
    std::uint64_t spoiled = 0;
    for (std::uint64_t number = 0; number < kPackets; ++number) {
        while (!queue.pop(time, bytes)) {
            std::this_thread::yield();
        }
        spoiled += time != number || bytes != packet(number) ? 1U : 0U;
    }
    writer.join();
    EXPECT_EQ(spoiled, 0U);
    EXPECT_EQ(queue.lost(), refused);
    EXPECT_FALSE(queue.pop(time, bytes));

    const std::vector<std::uint8_t> largest(1024 - 16, 7);
    const std::vector<std::uint8_t> tooLarge(largest.size() + 1);
    EXPECT_FALSE(queue.push(0, tooLarge));
    EXPECT_TRUE(queue.push(1, largest));
    EXPECT_FALSE(queue.push(2, {}));
    EXPECT_EQ(queue.lost(), refused + 2);
    EXPECT_TRUE(queue.pop(time, bytes));
    EXPECT_EQ(bytes, largest);
}
