#include "Platform/Midi/PipeWireLink.h"

#include "Platform/PipeWire/Calls.h"

#include <cerrno>
#include <utility>

namespace tessivo::midi {

PipeWireLink::PipeWireLink(pw_core* core, SourceList::Place source, std::uint32_t inputNode,
                           std::function<void()> changed)
    : source_(source)
    , changed_(std::move(changed)) {
    static const auto linkEvents = pipewire::eventTable<pw_link_events>(
        PW_VERSION_LINK_EVENTS, [](auto& events) { events.info = onInfo; });
    static const auto proxyEvents =
        pipewire::eventTable<pw_proxy_events>(PW_VERSION_PROXY_EVENTS, [](auto& events) {
            events.removed = onRemoved;
            events.error = onError;
        });
    pw_properties* properties = pw_properties_new(PW_KEY_OBJECT_LINGER, "false", nullptr);
    pw_properties_setf(properties, PW_KEY_LINK_OUTPUT_NODE, "%u", source.node);
    pw_properties_setf(properties, PW_KEY_LINK_OUTPUT_PORT, "%u", source.port);
    pw_properties_setf(properties, PW_KEY_LINK_INPUT_NODE, "%u", inputNode);
    proxy_.reset(pipewire::createObject(core, "link-factory", PW_TYPE_INTERFACE_Link,
                                        PW_VERSION_LINK, properties));
    if (proxy_ == nullptr) {
        failure_ = errno;
        return;
    }
    pw_proxy_add_listener(proxy_.get(), proxyListener_.fresh(), &proxyEvents, this);
    pipewire::listenTo(reinterpret_cast<pw_link*>(proxy_.get()), linkListener_.fresh(), linkEvents,
                       this);
}

void PipeWireLink::onInfo(void* data, const pw_link_info* info) {
    auto& self = *static_cast<PipeWireLink*>(data);
    self.made_ = true;
    self.active_ = info->state == PW_LINK_STATE_ACTIVE;
    if (info->state == PW_LINK_STATE_ERROR) {
        self.failure_ = EIO;
    }
    self.changed_();
}

void PipeWireLink::onRemoved(void* data) {
    auto& self = *static_cast<PipeWireLink*>(data);
    self.failure_ = ENOLINK;
    self.changed_();
}

void PipeWireLink::onError(void* data, int /*sequence*/, int result, const char* /*message*/) {
    auto& self = *static_cast<PipeWireLink*>(data);
    self.failure_ = -result;
    self.changed_();
}

} // namespace tessivo::midi
