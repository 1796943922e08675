#include "Platform/Midi/PipeWireInputPort.h"

#include "Platform/Midi/PipeWirePackets.h"

#include <algorithm>
#include <cerrno>
#include <span>
#include <utility>

namespace tessivo::midi {

PipeWireInputPort::PipeWireInputPort(pw_core* core, const std::string& nodeName,
                                     const std::string& portName, MidiThread& thread,
                                     std::function<void()> changed)
    : core_(core)
    , thread_(thread)
    , changed_(std::move(changed))
    , filter_(nullptr, pw_filter_destroy) {
    static const auto events =
        pipewire::eventTable<pw_filter_events>(PW_VERSION_FILTER_EVENTS, [](auto& table) {
            table.state_changed = onState;
            table.process = onProcess;
        });
    pw_properties* properties = pw_properties_new(
        PW_KEY_NODE_NAME, nodeName.c_str(), PW_KEY_NODE_DESCRIPTION, nodeName.c_str(),
        PW_KEY_MEDIA_TYPE, "Midi", PW_KEY_MEDIA_CATEGORY, "Filter", PW_KEY_MEDIA_ROLE, "DSP",
        PW_KEY_NODE_WANT_DRIVER, "true", nullptr);
    errno = 0;
    filter_.reset(pw_filter_new(core, nodeName.c_str(), properties));
    if (filter_ == nullptr) {
        failure_ = errno;
        return;
    }
    pw_filter_add_listener(filter_.get(), &hook_, &events, this);
    port_ =
        pw_filter_add_port(filter_.get(), PW_DIRECTION_INPUT, PW_FILTER_PORT_FLAG_MAP_BUFFERS, 1,
                           pw_properties_new(PW_KEY_FORMAT_DSP, "8 bit raw midi", PW_KEY_PORT_NAME,
                                             portName.c_str(), nullptr),
                           nullptr, 0);
    if (port_ == nullptr ||
        pw_filter_connect(filter_.get(), PW_FILTER_FLAG_RT_PROCESS, nullptr, 0) < 0) {
        failure_ = EIO;
    }
}

PipeWireInputPort::~PipeWireInputPort() {
    closing_ = true;
}

std::unique_ptr<PipeWireLink> PipeWireInputPort::linkFrom(SourceList::Place source) const {
    return std::make_unique<PipeWireLink>(core_, source, node_, changed_);
}

void PipeWireInputPort::onState(void* data, pw_filter_state /*old*/, pw_filter_state state,
                                const char* /*error*/) {
    auto& self = *static_cast<PipeWireInputPort*>(data);
    if (self.closing_) {
        return;
    }
    if (state == PW_FILTER_STATE_ERROR) {
        self.failure_ = EIO;
    } else if (state >= PW_FILTER_STATE_PAUSED && !self.isReady()) {
        self.node_ = pw_filter_get_node_id(self.filter_.get());
    }
    self.changed_();
}

void PipeWireInputPort::onProcess(void* data, spa_io_position* position) TESSIVO_REALTIME {
    auto& self = *static_cast<PipeWireInputPort*>(data);
    pw_buffer* const buffer = pw_filter_dequeue_buffer(self.port_);
    if (buffer == nullptr) {
        return;
    }
    const spa_data& memory = buffer->buffer->datas[0];
    const std::uint32_t offset = std::min(memory.chunk->offset, memory.maxsize);
    if (memory.data != nullptr) {
        CycleTime cycle;
        if (position != nullptr && position->clock.rate.denom > 0) {
            cycle.start = position->clock.nsec;
            cycle.frame = 1e9 * position->clock.rate.num / position->clock.rate.denom;
        }
        const std::span bytes(static_cast<const std::uint8_t*>(memory.data) + offset,
                              std::min(memory.chunk->size, memory.maxsize - offset));
        if (copyPackets(bytes, cycle, self.thread_.queue())) {
            self.thread_.wake();
        }
    }
    pw_filter_queue_buffer(self.port_, buffer);
}

} // namespace tessivo::midi
