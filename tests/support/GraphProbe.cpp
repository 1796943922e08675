#include "support/GraphProbe.h"

#include <pipewire/filter.h>
#include <pipewire/pipewire.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

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
                       std::size_t recordedFrames)
    : recordings_(inputs, std::vector<float>(recordedFrames)) {
    static const pw_filter_events events = [] {
        pw_filter_events e{};
        e.version = PW_VERSION_FILTER_EVENTS;
        e.process = onProcess;
        return e;
    }();
    pw_init(nullptr, nullptr);
    loop_ = pw_thread_loop_new(name.c_str(), nullptr);
    pw_thread_loop_lock(loop_);
    // With the priority of an audio thread, or a busy machine would make it miss what is there.
    context_ = pw_context_new(pw_thread_loop_get_loop(loop_),
                              pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr), 0);
    pw_core* const core = context_ != nullptr ? pw_context_connect(context_, nullptr, 0) : nullptr;
    if (core == nullptr) {
        pw_thread_loop_unlock(loop_);
        release();
        throw std::runtime_error("the sound server cannot be reached by a probe");
    }
    filter_ = pw_filter_new(core, name.c_str(),
                            pw_properties_new(PW_KEY_NODE_NAME, name.c_str(), PW_KEY_MEDIA_TYPE,
                                              "Audio", PW_KEY_MEDIA_CATEGORY, "Filter",
                                              PW_KEY_MEDIA_ROLE, "DSP", nullptr));
    pw_filter_add_listener(filter_, &listener_, &events, this);
    const auto addPort = [this](pw_direction direction, const char* prefix, std::size_t index) {
        auto* port = static_cast<Port*>(pw_filter_add_port(
            filter_, direction, PW_FILTER_PORT_FLAG_MAP_BUFFERS, sizeof(Port),
            pw_properties_new(PW_KEY_FORMAT_DSP, "32 bit float mono audio", PW_KEY_PORT_NAME,
                              (prefix + std::to_string(index)).c_str(), nullptr),
            nullptr, 0));
        port->index = index;
        return port;
    };
    for (std::size_t index = 0; index < outputs; ++index) {
        outputs_.push_back(addPort(PW_DIRECTION_OUTPUT, "out_", index));
    }
    for (std::size_t index = 0; index < inputs; ++index) {
        inputs_.push_back(addPort(PW_DIRECTION_INPUT, "in_", index));
    }
    const bool works = pw_filter_connect(filter_, PW_FILTER_FLAG_RT_PROCESS, nullptr, 0) >= 0 &&
                       pw_thread_loop_start(loop_) >= 0;
    pw_thread_loop_unlock(loop_);
    if (!works) {
        release();
        throw std::runtime_error("the sound server takes no probe");
    }
}

GraphProbe::~GraphProbe() {
    release();
}

void GraphProbe::release() {
    pw_thread_loop_stop(loop_);
    if (filter_ != nullptr) {
        pw_filter_destroy(filter_);
    }
    if (context_ != nullptr) {
        pw_context_destroy(context_);
    }
    pw_thread_loop_destroy(loop_);
}

std::vector<float> GraphProbe::recording(std::size_t input) const {
    const std::vector<float>& all = recordings_.at(input);
    return {all.begin(), all.begin() + std::min<std::ptrdiff_t>(frames_, std::ssize(all))};
}

void GraphProbe::onProcess(void* data, spa_io_position* position) {
    auto& self = *static_cast<GraphProbe*>(data);
    if (position == nullptr) {
        return; // between two drivers
    }
    const auto count = static_cast<std::uint32_t>(position->clock.duration);
    const std::int64_t first = self.frames_;
    for (Port* port : self.outputs_) {
        if (auto* samples = static_cast<float*>(pw_filter_get_dsp_buffer(port, count))) {
            for (std::uint32_t frame = 0; frame < count; ++frame) {
                samples[frame] = Mark::sample(port->index, first + frame);
            }
        }
    }
    for (Port* port : self.inputs_) {
        const auto* samples = static_cast<const float*>(pw_filter_get_dsp_buffer(port, count));
        for (std::uint32_t frame = 0;
             frame < count && first + frame < std::ssize(self.recordings_[port->index]); ++frame) {
            self.recordings_[port->index][static_cast<std::size_t>(first + frame)] =
                samples != nullptr ? samples[frame] : 0.0F;
        }
    }
    self.frames_ = first + count;
}

} // namespace tessivo::test
