#pragma once

#include "support/GraphNode.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tessivo::test {

// Samples that identify themselves: channel and frame number can be computed from each one after
// any path that is bit-exact. Frame 0 of channel 0 is not silence.
struct Mark {
    static constexpr std::int64_t kFrames = 1 << 20; // then they start again
    static float sample(std::size_t channel, std::int64_t frame);
    static std::size_t channel(float sample);
    static std::int64_t frame(float sample);
    static bool isExact(float sample);
};

// A node with ports "out_0" ..., which send the marks of their channels, and ports "in_0" ...,
// which are recorded from the first cycle on, without loss. The test links it.
class GraphProbe final : public GraphNode {
public:
    // Its ports state that latency: what they send is that old, what they take is heard so late.
    GraphProbe(const std::string& name, std::size_t outputs, std::size_t inputs,
               std::size_t recordedFrames = std::size_t{60} * 48000,
               std::chrono::nanoseconds latency = {});
    ~GraphProbe() override;

    std::int64_t frames() const { return frames_; } // recorded so far, and emitted
    // The graph's time and position at which it emitted a frame.
    struct Clock {
        std::int64_t nanoseconds = 0;
        std::int64_t position = 0;
        std::uint32_t driver = 0; // whose position it is
    };
    Clock clockOf(std::int64_t frame) const;
    // What one input has heard.
    std::vector<float> recording(std::size_t input) const;

private:
    struct Port;
    void process(const spa_io_position& position) override;

    std::vector<Port*> outputs_;
    std::vector<Port*> inputs_;
    std::vector<std::vector<float>> recordings_;
    struct Cycle {
        std::int64_t first;
        Clock clock;
        double framePeriod; // ns
    };
    std::vector<Cycle> cycles_ = std::vector<Cycle>(1 << 16);
    std::atomic<std::size_t> cycleCount_{0};
    std::atomic<std::int64_t> frames_{0};
};

} // namespace tessivo::test
