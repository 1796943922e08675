#pragma once

#include "support/OfflineDevice.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

namespace tessivo::benchmark {

// Turns an offline device at the pace of a sound card, 64 frames at a time, with an input
// whose every sample tells its own number.
class RealTimeTurner {
public:
    explicit RealTimeTurner(sound::OfflineDevice& device, double rate = 48000.0)
        : device_(device)
        , rate_(rate)
        , thread_([this] { run(); }) {}
    ~RealTimeTurner() { stop(); }
    RealTimeTurner(const RealTimeTurner&) = delete;
    RealTimeTurner& operator=(const RealTimeTurner&) = delete;

    void stop() {
        quit_ = true;
        if (thread_.joinable()) {
            thread_.join();
        }
    }

    std::int64_t framesTurned() const { return frames_; }
    // When the output was first other than silence; the epoch if it never was.
    std::chrono::steady_clock::time_point firstSound() const { return firstSound_; }

    // Sample values are exact in a float up to this many frames, then begin again.
    static constexpr std::int64_t kPeriod = std::int64_t{1} << 23;
    static float sampleAt(std::int64_t frame) {
        return static_cast<float>(frame % kPeriod) / static_cast<float>(kPeriod);
    }

private:
    void run() {
        constexpr std::uint32_t kQuantum = 64;
        const auto begin = std::chrono::steady_clock::now();
        sound::OfflineDevice::Channels input(2, std::vector<float>(kQuantum));
        while (!quit_) {
            for (std::uint32_t i = 0; i < kQuantum; ++i) {
                input[0][i] = input[1][i] = sampleAt(frames_ + i);
            }
            const auto output = device_.turn(kQuantum, input);
            frames_ += kQuantum;
            if (firstSound_.load() == std::chrono::steady_clock::time_point{} &&
                output[0] != std::vector<float>(kQuantum, 0.0F)) {
                firstSound_ = std::chrono::steady_clock::now();
            }
            std::this_thread::sleep_until(
                begin + std::chrono::duration_cast<std::chrono::nanoseconds>(
                            std::chrono::duration<double>(static_cast<double>(frames_) / rate_)));
        }
    }

    sound::OfflineDevice& device_;
    const double rate_;
    std::atomic<bool> quit_ = false;
    std::atomic<std::int64_t> frames_ = 0;
    std::atomic<std::chrono::steady_clock::time_point> firstSound_{};
    std::thread thread_;
};

} // namespace tessivo::benchmark
