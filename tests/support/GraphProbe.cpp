#include "support/GraphProbe.h"

#include <pipewire/filter.h>
#include <pipewire/pipewire.h>
#include <spa/param/latency-utils.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

namespace tessivo::test {

namespace {

constexpr float kUnit = 1.0F / (1 << 24); // 16 channels fit into a float's 24 bits

std::int64_t number(float sample) {
    return static_cast<std::int64_t>(sample / kUnit) - 1;
}

} // namespace

float Mark::sample(std::size_t channel, std::int64_t frame) {
    return static_cast<float>(static_cast<std::int64_t>(channel) * kFrames + frame % kFrames + 1) *
           kUnit;
}

std::size_t Mark::channel(float sample) {
    return static_cast<std::size_t>(number(sample) / kFrames);
}

std::int64_t Mark::frame(float sample) {
    return number(sample) % kFrames;
}

bool Mark::isExact(float sample) {
    return sample > 0.0F && sample <= 1.0F && std::trunc(sample / kUnit) == sample / kUnit;
}

struct GraphProbe::Port {
    std::size_t index;
};

GraphProbe::GraphProbe(const std::string& name, std::size_t outputs, std::size_t inputs,
                       std::size_t recordedFrames, std::chrono::nanoseconds latency)
    : GraphNode(name, {{PW_KEY_MEDIA_TYPE, "Audio"},
                       {PW_KEY_MEDIA_CATEGORY, "Filter"},
                       {PW_KEY_MEDIA_ROLE, "DSP"}})
    , recordings_(inputs, std::vector<float>(recordedFrames)) {
    const auto add = [this, latency](bool isOutput, const char* prefix, std::size_t index) {
        spa_latency_info info{};
        info.direction = isOutput ? SPA_DIRECTION_OUTPUT : SPA_DIRECTION_INPUT;
        info.min_ns = info.max_ns = static_cast<decltype(info.min_ns)>(latency.count());
        std::array<std::uint8_t, 256> storage{};
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, storage.data(), storage.size());
        const spa_pod* stated = spa_latency_build(&builder, SPA_PARAM_Latency, &info);
        auto* port =
            static_cast<Port*>(addPort(isOutput, sizeof(Port),
                                       {{PW_KEY_FORMAT_DSP, "32 bit float mono audio"},
                                        {PW_KEY_PORT_NAME, prefix + std::to_string(index)}},
                                       {}, latency.count() > 0 ? stated : nullptr));
        port->index = index;
        return port;
    };
    for (std::size_t index = 0; index < outputs; ++index) {
        outputs_.push_back(add(true, "out_", index));
    }
    for (std::size_t index = 0; index < inputs; ++index) {
        inputs_.push_back(add(false, "in_", index));
    }
    start();
}

GraphProbe::~GraphProbe() {
    stop();
}

std::vector<float> GraphProbe::recording(std::size_t input) const {
    const std::vector<float>& all = recordings_.at(input);
    return {all.begin(), all.begin() + std::min<std::ptrdiff_t>(frames_, std::ssize(all))};
}

GraphProbe::Clock GraphProbe::clockOf(std::int64_t frame) const {
    const auto end = cycles_.begin() + static_cast<std::ptrdiff_t>(cycleCount_.load());
    const auto next = std::upper_bound(cycles_.begin(), end, frame,
                                       [](auto f, const Cycle& cycle) { return f < cycle.first; });
    if (next == cycles_.begin()) {
        return {};
    }
    const Cycle& cycle = *std::prev(next);
    const std::int64_t offset = frame - cycle.first;
    return {cycle.clock.nanoseconds + std::llround(static_cast<double>(offset) * cycle.framePeriod),
            cycle.clock.position + offset, cycle.clock.driver};
}

void GraphProbe::process(const spa_io_position& position) {
    const auto count = static_cast<std::uint32_t>(position.clock.duration);
    const std::int64_t first = frames_;
    for (Port* port : outputs_) {
        if (auto* samples = static_cast<float*>(pw_filter_get_dsp_buffer(port, count))) {
            for (std::uint32_t frame = 0; frame < count; ++frame) {
                samples[frame] = Mark::sample(port->index, first + frame);
            }
        }
    }
    for (Port* port : inputs_) {
        const auto* samples = static_cast<const float*>(pw_filter_get_dsp_buffer(port, count));
        for (std::uint32_t frame = 0;
             frame < count && first + frame < std::ssize(recordings_[port->index]); ++frame) {
            recordings_[port->index][static_cast<std::size_t>(first + frame)] =
                samples != nullptr ? samples[frame] : 0.0F;
        }
    }
    if (cycleCount_ < cycles_.size()) {
        cycles_[cycleCount_] = {first,
                                {static_cast<std::int64_t>(position.clock.nsec),
                                 static_cast<std::int64_t>(position.clock.position),
                                 position.clock.id},
                                1e9 * position.clock.rate.num / position.clock.rate.denom};
        ++cycleCount_;
    }
    frames_ = first + count;
}

} // namespace tessivo::test
