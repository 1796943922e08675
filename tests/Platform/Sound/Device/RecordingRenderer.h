#pragma once

#include "Platform/Sound/Device/AudioDevice.h"
#include "support/GraphProbe.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <span>
#include <vector>

namespace tessivo::test {

// Replaces the engine in device tests: records the input and renders either the marks of channels
// 0 and 1 or the right input channel on the right side.
class RecordingRenderer final : public sound::AudioRenderer {
public:
    enum class Output { marks, monitorRight };

    explicit RecordingRenderer(Output output = Output::marks)
        : output_(output) {
        for (std::vector<float>& channel : input_) {
            channel.resize(kFrames);
        }
    }

    void render(const sound::RenderCycle& cycle) TESSIVO_REALTIME override {
        const std::int64_t first = frames_;
        for (std::uint32_t i = 0; i < cycle.frames; ++i) {
            for (std::size_t c = 0; c < cycle.input.size() && first + i < kFrames; ++c) {
                input_[c][static_cast<std::size_t>(first + i)] = cycle.input[c][i];
            }
            for (std::size_t c = 0; c < cycle.output.size(); ++c) {
                const bool hasInput = c == 1 && cycle.input.size() == 2;
                cycle.output[c][i] = output_ == Output::marks ? Mark::sample(c, first + i)
                                     : hasInput               ? cycle.input[c][i]
                                                              : 0.0F;
            }
        }
        if (cycles_ < log_.size()) {
            log_[cycles_] = {first, cycle.frames, cycle.time, cycle.missed};
        }
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        if (const auto pause = now - lastCycle_.exchange(now); pause > longestPause_.load()) {
            longestPause_ = pause;
        }
        // Sleeping would be a system call.
        for (const auto end = now + block_.exchange({});
             std::chrono::steady_clock::now().time_since_epoch() < end;) {
        }
        inputChannels_ = cycle.input.size();
        outputChannels_ = cycle.output.size();
        frames_ = first + cycle.frames;
        ++cycles_;
    }

    std::int64_t frames() const { return frames_; }
    std::uint64_t cycles() const { return cycles_; }
    std::size_t inputChannels() const { return inputChannels_; }   // of the last cycle
    std::size_t outputChannels() const { return outputChannels_; } // of the last cycle
    // Between two cycles, since the last forgetPauses().
    std::chrono::nanoseconds longestPause() const { return longestPause_.load(); }
    void forgetPauses() { longestPause_ = std::chrono::nanoseconds(0); }

    // What each cycle said of itself.
    struct Cycle {
        std::int64_t first; // the number of its first frame
        std::uint32_t frames;
        Moment time;
        std::uint32_t missed;
    };
    std::span<const Cycle> log() const {
        return {log_.data(), std::min<std::size_t>(cycles_, log_.size())};
    }
    // The next cycle takes that long.
    void blockOnce(std::chrono::milliseconds time) { block_ = time; }

    std::vector<float> input(std::size_t channel) const {
        const std::vector<float>& all = input_.at(channel);
        return {all.begin(), all.begin() + std::min(frames_.load(), kFrames)};
    }

private:
    static constexpr std::int64_t kFrames = 30 * 48000;

    const Output output_;
    std::array<std::vector<float>, 2> input_;
    std::atomic<std::int64_t> frames_{0};
    std::atomic<std::uint64_t> cycles_{0};
    std::atomic<std::size_t> inputChannels_{99};
    std::atomic<std::size_t> outputChannels_{99};
    std::vector<Cycle> log_ = std::vector<Cycle>(1 << 15);
    std::atomic<std::chrono::milliseconds> block_{};
    std::atomic<std::chrono::nanoseconds> lastCycle_{};
    std::atomic<std::chrono::nanoseconds> longestPause_{};
};

} // namespace tessivo::test
