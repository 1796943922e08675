#include "support/MidiSender.h"

#include <pipewire/filter.h>
#include <pipewire/pipewire.h>
#include <spa/control/control.h>
#include <spa/param/param.h>
#include <spa/pod/builder.h>

#include <array>
#include <stdexcept>
#include <utility>

namespace tessivo::test {

MidiSender::MidiSender(Identity identity, More more)
    : GraphNode(identity.name, {{PW_KEY_MEDIA_TYPE, "Midi"}, {PW_KEY_MEDIA_CATEGORY, "Playback"}},
                identity.nodeProperties)
    , more_(std::move(more)) {
    std::array<std::uint8_t, 256> storage{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, storage.data(), storage.size());
    spa_pod_frame frame{};
    spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
    spa_pod_builder_prop(&builder, SPA_PARAM_BUFFERS_size, 0);
    spa_pod_builder_int(&builder, static_cast<std::int32_t>(kLargestCycle));
    const auto* buffers = static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &frame));
    port_ = addPort(true, 1, {{PW_KEY_FORMAT_DSP, "8 bit raw midi"}, {PW_KEY_PORT_NAME, "out_0"}},
                    identity.portProperties, buffers);
    start();
}

MidiSender::~MidiSender() {
    stop();
}

std::size_t MidiSender::send(std::vector<Packet> packets) {
    std::size_t size = 0;
    for (const Packet& packet : packets) {
        size += packet.size() + 32; // the control around it
    }
    if (size > kLargestCycle - 64) {
        throw std::invalid_argument("more than a controller sends at once");
    }
    cycles_.push_back({std::move(packets), {}, {}});
    if (!queue_.tryPush(&cycles_.back())) {
        throw std::runtime_error("a controller that nobody listens to has too much to send");
    }
    return cycles_.size();
}

std::optional<MidiSender::Clock::time_point> MidiSender::sentAt(std::size_t number) const {
    return number <= sent_ ? std::optional(cycles_[number - 1].at) : std::nullopt;
}

void MidiSender::process(const spa_io_position& position) {
    pw_buffer* const buffer = pw_filter_dequeue_buffer(port_);
    if (buffer == nullptr) {
        return; // nobody listens
    }
    const Clock::time_point begun = Clock::now();
    spa_data& data = buffer->buffer->datas[0];
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, data.data, data.maxsize);
    spa_pod_frame frame{};
    spa_pod_builder_push_sequence(&builder, &frame, 0);
    const auto add = [&builder](std::uint64_t at, std::span<const std::uint8_t> packet) {
        spa_pod_builder_control(&builder, static_cast<std::uint32_t>(at), SPA_CONTROL_Midi);
        spa_pod_builder_bytes(&builder, packet.data(), static_cast<std::uint32_t>(packet.size()));
    };
    Cycle* cycle = nullptr;
    if (queue_.tryPop(cycle)) {
        for (const Packet& packet : cycle->packets) {
            add(0, packet);
        }
    }
    if (more_) {
        more_(position, add);
    }
    spa_pod_builder_pop(&builder, &frame);
    data.chunk->offset = 0;
    data.chunk->size = builder.state.offset;
    data.chunk->stride = 1;
    pw_filter_queue_buffer(port_, buffer);
    if (cycle != nullptr) {
        cycle->at = begun;
        cycle->due = Clock::time_point(std::chrono::nanoseconds(position.clock.nsec));
        ++sent_;
    }
}

} // namespace tessivo::test
