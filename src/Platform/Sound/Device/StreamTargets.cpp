#include "Platform/Sound/Device/StreamTargets.h"

#include "Platform/PipeWire/Handles.h"

#include <pipewire/keys.h>

#include <cstdlib>
#include <string_view>

namespace tessivo::sound {

void StreamTargets::addLink(std::uint32_t id, const spa_dict* properties) {
    const auto number = [properties](const char* key) {
        const std::string text = pipewire::dictValue(properties, key);
        return static_cast<std::uint32_t>(std::strtoul(text.c_str(), nullptr, 10));
    };
    links_[id] = {number(PW_KEY_LINK_OUTPUT_NODE), number(PW_KEY_LINK_INPUT_NODE)};
}

void StreamTargets::remove(std::uint32_t id) {
    links_.erase(id);
    entries_.erase(id);
}

bool StreamTargets::setEntry(std::uint32_t stream, const char* key, const char* value) {
    if (key == nullptr) {
        entries_.erase(stream);
        return false;
    }
    const bool isObject = std::string_view(key) == "target.object";
    if (!isObject && std::string_view(key) != "target.node") {
        return false;
    }
    Entries& entries = entries_[stream];
    (isObject ? entries.object : entries.node) = value != nullptr ? value : "";
    return true;
}

std::optional<StreamTargets::Target> StreamTargets::targetOf(std::uint32_t stream) const {
    const auto found = entries_.find(stream);
    if (found == entries_.end()) {
        return std::nullopt;
    }
    const auto& [object, node] = found->second;
    // What was chosen and taken back leaves the default.
    return object.empty() ? Target{true, node.empty() ? "-1" : node} : Target{false, object};
}

std::vector<std::uint32_t> StreamTargets::sourcesOf(std::uint32_t stream) const {
    std::vector<std::uint32_t> sources;
    for (const auto& [id, link] : links_) {
        if (link.input == stream) {
            sources.push_back(link.output);
        }
    }
    return sources;
}

} // namespace tessivo::sound
