#include "Platform/Midi/PipeWirePorts.h"

#include "Platform/PipeWire/Calls.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <string_view>
#include <utility>

namespace tessivo::midi {

using pipewire::dictValue;

namespace {

// The kernel's loop-back, which is there on every machine and which nobody plays.
constexpr std::string_view kLoopBack = "Midi Through";

// A bridge's port is called "device:port" by its alias.
std::string_view deviceOf(std::string_view alias) {
    return alias.substr(0, alias.find(':'));
}

std::string_view labelOf(std::string_view alias) {
    const std::size_t colon = alias.find(':');
    return colon == std::string_view::npos ? std::string_view{} : alias.substr(colon + 1);
}

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

// Server versions differ in the format that their bridges speak; ours is converted to.
bool carriesMidi(std::string_view format) {
    return format == "8 bit raw midi" || format == "32 bit raw UMP";
}

// What is equal for all ports of one device and different for two devices of one name: the
// path in the system without the number of the port.
std::string deviceKey(const std::string& node, std::string path) {
    while (!path.empty() && path.back() >= '0' && path.back() <= '9') {
        path.pop_back();
    }
    return node + ' ' + path;
}

} // namespace

const pw_core_events PipeWirePorts::kCoreEvents = [] {
    pw_core_events events{};
    events.version = PW_VERSION_CORE_EVENTS;
    events.done = onDone;
    events.error = onError;
    return events;
}();

const pw_registry_events PipeWirePorts::kRegistryEvents = [] {
    pw_registry_events events{};
    events.version = PW_VERSION_REGISTRY_EVENTS;
    events.global = onGlobal;
    events.global_remove = onGlobalRemove;
    return events;
}();

PipeWirePorts::PipeWirePorts(pw_context* context, const std::string& applicationName,
                             Listener listener)
    : listener_(std::move(listener)) {
    errno = 0;
    core_.reset(pw_context_connect(
        context, pw_properties_new(PW_KEY_APP_NAME, applicationName.c_str(), nullptr), 0));
    if (core_ == nullptr) {
        lost_ = true;
        return;
    }
    pipewire::listenTo(core_.get(), coreListener_.fresh(), kCoreEvents, this);
    registry_.reset(pw_core_get_registry(core_.get(), PW_VERSION_REGISTRY, 0));
    if (registry_ != nullptr) {
        pipewire::listenTo(registry_.get(), registryListener_.fresh(), kRegistryEvents, this);
    }
    roundTrip_ = pipewire::askForAnswer(core_.get());
}

PipeWirePorts::~PipeWirePorts() = default;

void PipeWirePorts::onDone(void* data, std::uint32_t id, int sequence) {
    auto& self = *static_cast<PipeWirePorts*>(data);
    if (id == PW_ID_CORE && sequence == self.roundTrip_) {
        self.answered_ = true;
        self.listener_.changed();
    }
}

void PipeWirePorts::onError(void* data, std::uint32_t id, int /*sequence*/, int result,
                            const char* /*message*/) {
    auto& self = *static_cast<PipeWirePorts*>(data);
    if (id == PW_ID_CORE && result == -EPIPE) {
        self.lost_ = true;
        self.listener_.changed();
    }
}

void PipeWirePorts::onGlobal(void* data, std::uint32_t id, std::uint32_t /*permissions*/,
                             const char* type, std::uint32_t /*version*/,
                             const spa_dict* properties) {
    auto& self = *static_cast<PipeWirePorts*>(data);
    if (std::strcmp(type, PW_TYPE_INTERFACE_Node) == 0) {
        std::string name = dictValue(properties, PW_KEY_NODE_DESCRIPTION);
        for (const char* const key : {PW_KEY_NODE_NICK, PW_KEY_NODE_NAME}) {
            name = name.empty() ? dictValue(properties, key) : name;
        }
        const bool isBridge = dictValue(properties, PW_KEY_MEDIA_CLASS) == "Midi/Bridge";
        self.nodes_.insert_or_assign(id, Node{std::move(name), isBridge});
    } else if (std::strcmp(type, PW_TYPE_INTERFACE_Port) == 0) {
        self.addPort(id, properties);
    }
}

void PipeWirePorts::addPort(std::uint32_t id, const spa_dict* properties) {
    if (dictValue(properties, PW_KEY_PORT_DIRECTION) != "out" ||
        !carriesMidi(dictValue(properties, PW_KEY_FORMAT_DSP))) {
        return;
    }
    const std::string nodeId = dictValue(properties, PW_KEY_NODE_ID);
    SourceList::Place place{.port = id};
    std::from_chars(nodeId.data(), nodeId.data() + nodeId.size(), place.node);
    const auto node = nodes_.find(place.node);
    if (node == nodes_.end()) {
        return; // of a node that we may not see
    }
    const std::string alias = dictValue(properties, PW_KEY_PORT_ALIAS);
    const std::string portName = dictValue(properties, PW_KEY_PORT_NAME);
    std::string name = node->second.name;
    std::string_view label = portName;
    if (node->second.isBridge && !alias.empty()) {
        name = deviceOf(alias);
        label = labelOf(alias);
    }
    if (startsWith(name, kLoopBack) || startsWith(portName, kLoopBack)) {
        return;
    }
    const std::string device = deviceKey(nodeId, dictValue(properties, PW_KEY_OBJECT_PATH));
    // A device's first port goes by its name; those that follow say which one they are.
    const bool isFurther =
        std::any_of(devices_.begin(), devices_.end(),
                    [&device](const auto& other) { return other.second == device; });
    if (isFurther && !name.empty()) {
        name = startsWith(label, name) ? std::string(label) : name + ' ' + std::string(label);
    }
    devices_.insert_or_assign(id, device);
    listener_.appeared(name, place);
}

void PipeWirePorts::onGlobalRemove(void* data, std::uint32_t id) {
    auto& self = *static_cast<PipeWirePorts*>(data);
    self.nodes_.erase(id);
    if (self.devices_.erase(id) > 0) {
        self.listener_.disappeared(id);
    }
}

} // namespace tessivo::midi
