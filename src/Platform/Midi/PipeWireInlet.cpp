#include "Platform/Midi/PipeWireInlet.h"

#include "Platform/Midi/PipeWirePackets.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <utility>

namespace tessivo::midi {

namespace {

// A controller may be the only thing that wants the graph to be quick.
constexpr const char* kWishedLatency = "64/48000";

} // namespace

PipeWireLink::PipeWireLink(pw_core* core, SourceList::Place source, std::uint32_t inletNode,
                           std::function<void()> changed)
    : source_(source)
    , changed_(std::move(changed)) {
    static const pw_link_events linkEvents = [] {
        pw_link_events e{};
        e.version = PW_VERSION_LINK_EVENTS;
        e.info = onInfo;
        return e;
    }();
    static const pw_proxy_events events = [] {
        pw_proxy_events e{};
        e.version = PW_VERSION_PROXY_EVENTS;
        e.removed = onRemoved;
        e.error = onError;
        return e;
    }();
    pw_properties* properties = pw_properties_new(PW_KEY_OBJECT_LINGER, "false", nullptr);
    pw_properties_setf(properties, PW_KEY_LINK_OUTPUT_NODE, "%u", source.node);
    pw_properties_setf(properties, PW_KEY_LINK_OUTPUT_PORT, "%u", source.port);
    pw_properties_setf(properties, PW_KEY_LINK_INPUT_NODE, "%u", inletNode);
    proxy_.reset(pipewire::createObject(core, "link-factory", PW_TYPE_INTERFACE_Link,
                                        PW_VERSION_LINK, properties));
    if (proxy_ == nullptr) {
        failure_ = -errno;
        return;
    }
    pw_proxy_add_listener(proxy_.get(), proxyListener_.fresh(), &events, this);
    pipewire::listenTo(reinterpret_cast<pw_link*>(proxy_.get()), linkListener_.fresh(), linkEvents,
                       this);
}

void PipeWireLink::onInfo(void* data, const pw_link_info* info) {
    auto& self = *static_cast<PipeWireLink*>(data);
    self.made_ = true;
    self.active_ = info->state == PW_LINK_STATE_ACTIVE;
    if (info->state == PW_LINK_STATE_ERROR) {
        self.failure_ = -EIO;
    }
    self.changed_();
}

void PipeWireLink::onRemoved(void* data) {
    auto& self = *static_cast<PipeWireLink*>(data);
    self.failure_ = -ENOLINK;
    self.changed_();
}

void PipeWireLink::onError(void* data, int /*sequence*/, int result, const char* /*message*/) {
    auto& self = *static_cast<PipeWireLink*>(data);
    self.failure_ = result;
    self.changed_();
}

PipeWireInlet::PipeWireInlet(pw_core* core, const std::string& nodeName,
                             const std::string& portName, PacketQueue& queue,
                             std::function<void()> changed)
    : core_(core)
    , queue_(queue)
    , changed_(std::move(changed))
    , filter_(nullptr, pw_filter_destroy) {
    static const pw_filter_events events = [] {
        pw_filter_events e{};
        e.version = PW_VERSION_FILTER_EVENTS;
        e.state_changed = onState;
        e.process = onProcess;
        return e;
    }();
    pw_properties* properties = pw_properties_new(
        PW_KEY_NODE_NAME, nodeName.c_str(), PW_KEY_NODE_DESCRIPTION, nodeName.c_str(),
        PW_KEY_MEDIA_TYPE, "Midi", PW_KEY_MEDIA_CATEGORY, "Filter", PW_KEY_MEDIA_ROLE, "DSP",
        PW_KEY_NODE_WANT_DRIVER, "true", nullptr);
    if (std::getenv("PIPEWIRE_LATENCY") == nullptr) {
        pw_properties_set(properties, PW_KEY_NODE_LATENCY, kWishedLatency);
    }
    errno = 0;
    filter_.reset(pw_filter_new(core, nodeName.c_str(), properties));
    if (filter_ == nullptr) {
        failure_ = -errno;
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
        failure_ = -EIO;
    }
}

PipeWireInlet::~PipeWireInlet() {
    closing_ = true;
}

void PipeWireInlet::connect(SourceList::Place source) {
    link_.reset();
    link_ = std::make_unique<PipeWireLink>(core_, source, node_, changed_);
}

void PipeWireInlet::disconnect() {
    link_.reset();
}

void PipeWireInlet::onState(void* data, pw_filter_state /*old*/, pw_filter_state state,
                            const char* /*error*/) {
    auto& self = *static_cast<PipeWireInlet*>(data);
    if (self.closing_) {
        return;
    }
    if (state == PW_FILTER_STATE_ERROR) {
        self.failure_ = -EIO;
    } else if (state >= PW_FILTER_STATE_PAUSED && !self.isReady()) {
        self.node_ = pw_filter_get_node_id(self.filter_.get());
    }
    self.changed_();
}

void PipeWireInlet::onProcess(void* data, spa_io_position* position) TESSIVO_REALTIME {
    auto& self = *static_cast<PipeWireInlet*>(data);
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
        copyPackets({static_cast<const std::uint8_t*>(memory.data) + offset,
                     std::min(memory.chunk->size, memory.maxsize - offset)},
                    cycle, self.queue_);
    }
    pw_filter_queue_buffer(self.port_, buffer);
}

} // namespace tessivo::midi
