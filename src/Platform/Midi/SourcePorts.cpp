#include "Platform/Midi/SourcePorts.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace tessivo::midi {

using pipewire::dictValue;

namespace {

// The kernel's loop-back port, which exists on every machine and is no controller.
constexpr std::string_view kLoopBack = "Midi Through";

// The alias of a bridge's port is "device:port".
std::string_view deviceOf(std::string_view alias) {
    return alias.substr(0, alias.find(':'));
}

std::string_view labelOf(std::string_view alias) {
    const std::size_t colon = alias.find(':');
    return colon == std::string_view::npos ? std::string_view{} : alias.substr(colon + 1);
}

// Depends on the server's version. The server converts either one to our port's format.
bool carriesMidi(std::string_view format) {
    return format == "8 bit raw midi" || format == "32 bit raw UMP";
}

// Equal for all ports of one device, different for two devices of the same name: the node and
// the path in the system without the port's number.
std::string deviceKey(const std::string& node, std::string path) {
    while (!path.empty() && path.back() >= '0' && path.back() <= '9') {
        path.pop_back();
    }
    return node + ' ' + path;
}

} // namespace

SourcePorts::SourcePorts(pipewire::Connection& connection, SourceList& sources,
                         std::function<void()> changed)
    : sources_(sources)
    , changed_(std::move(changed)) {
    connection.setRegistryListener(*this);
}

void SourcePorts::objectAdded(std::uint32_t id, std::string_view type, const spa_dict* properties) {
    if (type == PW_TYPE_INTERFACE_Node) {
        std::string name = dictValue(properties, PW_KEY_NODE_DESCRIPTION);
        for (const char* const key : {PW_KEY_NODE_NICK, PW_KEY_NODE_NAME}) {
            name = name.empty() ? dictValue(properties, key) : name;
        }
        const bool isBridge = dictValue(properties, PW_KEY_MEDIA_CLASS) == "Midi/Bridge";
        nodes_.insert_or_assign(id, Node{std::move(name), isBridge});
    } else if (type == PW_TYPE_INTERFACE_Port) {
        addPort(id, properties);
    }
}

void SourcePorts::addPort(std::uint32_t id, const spa_dict* properties) {
    if (dictValue(properties, PW_KEY_PORT_DIRECTION) != "out" ||
        !carriesMidi(dictValue(properties, PW_KEY_FORMAT_DSP))) {
        return;
    }
    const std::string nodeId = dictValue(properties, PW_KEY_NODE_ID);
    SourceList::Place place{.port = id};
    std::from_chars(nodeId.data(), nodeId.data() + nodeId.size(), place.node);
    const auto node = nodes_.find(place.node);
    if (node == nodes_.end()) {
        return; // its node is hidden from us
    }
    const std::string alias = dictValue(properties, PW_KEY_PORT_ALIAS);
    const std::string portName = dictValue(properties, PW_KEY_PORT_NAME);
    std::string name = node->second.name;
    std::string_view label = portName;
    if (node->second.isBridge && !alias.empty()) {
        name = deviceOf(alias);
        label = labelOf(alias);
    }
    if (name.starts_with(kLoopBack) || portName.starts_with(kLoopBack)) {
        return;
    }
    const std::string device = deviceKey(nodeId, dictValue(properties, PW_KEY_OBJECT_PATH));
    // A device's first port has the device's name; the others have their own in addition.
    const bool isFurther =
        std::any_of(devices_.begin(), devices_.end(),
                    [&device](const auto& other) { return other.second == device; });
    if (isFurther && !name.empty()) {
        name = label.starts_with(name) ? std::string(label) : name + ' ' + std::string(label);
    }
    devices_.insert_or_assign(id, device);
    sources_.appeared(name, place);
    changed_();
}

void SourcePorts::objectRemoved(std::uint32_t id) {
    nodes_.erase(id);
    if (devices_.erase(id) > 0) {
        sources_.disappeared(id, SourceList::Clock::now());
        changed_();
    }
}

} // namespace tessivo::midi
