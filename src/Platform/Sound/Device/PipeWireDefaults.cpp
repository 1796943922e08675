#include "Platform/Sound/Device/PipeWireDefaults.h"

#include "Platform/PipeWire/Calls.h"
#include "Platform/Sound/Device/PipeWireFormats.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <utility>

namespace tessivo::sound {

struct PipeWireDefaults::Node {
    std::string name;
    std::string serial;
    std::string mediaClass;
};

struct PipeWireDefaults::Metadata {
    std::uint32_t id = 0;
    bool isDefaults = false;
    pipewire::ProxyOwner<pw_metadata> proxy;
    pipewire::Listener listener;
};

struct PipeWireDefaults::Follower {
    PipeWireDefaults& owner;
    Role& role;
    std::uint32_t id = 0;
    std::string serial;
    AudioFormat current{}; // what the device is set to, once it was in use
    AudioFormat offered{}; // what it would be set to
    std::uint32_t offeredIndex = UINT32_MAX;
    pipewire::ProxyOwner<pw_node> proxy{};
    pipewire::Listener listener{};

    const AudioFormat& format() const { return current.channelCount() > 0 ? current : offered; }

    static void onParam(void* data, int /*sequence*/, std::uint32_t id, std::uint32_t index,
                        std::uint32_t /*next*/, const spa_pod* param) {
        auto& self = *static_cast<Follower*>(data);
        const std::optional<AudioFormat> format = parseRawFormat(param);
        // A device may offer several formats and prefers the first.
        const bool isOffer = id == SPA_PARAM_EnumFormat;
        if (!format || (isOffer && index > self.offeredIndex)) {
            return;
        }
        if (isOffer) {
            self.offeredIndex = index;
        }
        AudioFormat& known = isOffer ? self.offered : self.current;
        if (std::exchange(known, *format) == *format) {
            return;
        }
        if (self.role.successor.get() == &self) {
            self.role.device = std::move(self.role.successor);
        }
        self.owner.changed_();
    }
};

PipeWireDefaults::Role::Role() = default;
PipeWireDefaults::Role::~Role() = default;

namespace {

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

} // namespace

const pw_registry_events PipeWireDefaults::kRegistryEvents = [] {
    pw_registry_events events{};
    events.version = PW_VERSION_REGISTRY_EVENTS;
    events.global = onGlobal;
    events.global_remove = onGlobalRemove;
    return events;
}();

const pw_metadata_events PipeWireDefaults::kDefaultEvents = [] {
    pw_metadata_events events{};
    events.version = PW_VERSION_METADATA_EVENTS;
    events.property = onDefault;
    return events;
}();

const pw_metadata_events PipeWireDefaults::kSettingEvents = [] {
    pw_metadata_events events{};
    events.version = PW_VERSION_METADATA_EVENTS;
    events.property = onSetting;
    return events;
}();

PipeWireDefaults::PipeWireDefaults(pw_core* core, std::function<void()> changed)
    : changed_(std::move(changed))
    , registry_(pw_core_get_registry(core, PW_VERSION_REGISTRY, 0)) {
    if (registry_ != nullptr) {
        pipewire::listenTo(registry_.get(), registryListener_.fresh(), kRegistryEvents, this);
    }
}

PipeWireDefaults::~PipeWireDefaults() = default;

PipeWireDefaults::Device PipeWireDefaults::source() const {
    return source_.device ? Device{source_.device->serial, source_.device->format()} : Device{};
}

PipeWireDefaults::Device PipeWireDefaults::sink() const {
    return sink_.device ? Device{sink_.device->serial, sink_.device->format()} : Device{};
}

double PipeWireDefaults::graphRate(double sourceRate) const {
    const auto numbers = [this](const char* key) {
        const auto found = settings_.find(key);
        return found != settings_.end() ? parseNumbers(found->second.c_str()) : std::vector<int>{};
    };
    const auto number = [&numbers](const char* key) {
        const std::vector<int> all = numbers(key);
        return all.empty() ? 0 : all.front();
    };
    if (const int forced = number("clock.force-rate"); forced > 0) {
        return forced;
    }
    const std::vector<int> allowed = numbers("clock.allowed-rates");
    if (std::find(allowed.begin(), allowed.end(), sourceRate) != allowed.end()) {
        return sourceRate;
    }
    return number("clock.rate");
}

void PipeWireDefaults::onGlobal(void* data, std::uint32_t id, std::uint32_t /*permissions*/,
                                const char* type, std::uint32_t /*version*/,
                                const spa_dict* properties) {
    auto& self = *static_cast<PipeWireDefaults*>(data);
    if (std::strcmp(type, PW_TYPE_INTERFACE_Node) == 0) {
        Node node{pipewire::dictValue(properties, PW_KEY_NODE_NAME),
                  pipewire::dictValue(properties, PW_KEY_OBJECT_SERIAL),
                  pipewire::dictValue(properties, PW_KEY_MEDIA_CLASS)};
        if (startsWith(node.mediaClass, "Audio/")) {
            self.nodes_.insert_or_assign(id, std::move(node));
            self.resolve();
        }
        return;
    }
    if (std::strcmp(type, PW_TYPE_INTERFACE_Metadata) != 0) {
        return;
    }
    const std::string name = pipewire::dictValue(properties, PW_KEY_METADATA_NAME);
    const bool isDefaults = name == "default";
    if (!isDefaults && name != "settings") {
        return;
    }
    self.bindMetadata(id, isDefaults);
}

void PipeWireDefaults::bindMetadata(std::uint32_t id, bool isDefaults) {
    auto metadata = std::make_unique<Metadata>();
    metadata->id = id;
    metadata->isDefaults = isDefaults;
    metadata->proxy.reset(static_cast<pw_metadata*>(
        pw_registry_bind(registry_.get(), id, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0)));
    if (metadata->proxy == nullptr) {
        return;
    }
    pipewire::listenTo(metadata->proxy.get(), metadata->listener.fresh(),
                       isDefaults ? kDefaultEvents : kSettingEvents, this);
    metadata_.push_back(std::move(metadata));
}

bool PipeWireDefaults::lacksNames() const {
    return sourceName_.empty() && sinkName_.empty() && !nodes_.empty() &&
           std::any_of(metadata_.begin(), metadata_.end(),
                       [](const auto& metadata) { return metadata->isDefaults; });
}

void PipeWireDefaults::askForNames() {
    std::vector<std::uint32_t> ids;
    for (const auto& metadata : metadata_) {
        if (metadata->isDefaults) {
            ids.push_back(metadata->id);
        }
    }
    std::erase_if(metadata_, [](const auto& metadata) { return metadata->isDefaults; });
    for (const std::uint32_t id : ids) {
        bindMetadata(id, true);
    }
}

void PipeWireDefaults::onGlobalRemove(void* data, std::uint32_t id) {
    auto& self = *static_cast<PipeWireDefaults*>(data);
    // The names stay known: a session manager that restarts takes nothing from devices that
    // are still there.
    std::erase_if(self.metadata_, [id](const auto& metadata) { return metadata->id == id; });
    self.nodes_.erase(id);
    self.resolve();
}

int PipeWireDefaults::onDefault(void* data, std::uint32_t subject, const char* key,
                                const char* /*type*/, const char* value) {
    auto& self = *static_cast<PipeWireDefaults*>(data);
    if (subject != PW_ID_CORE) {
        return 0;
    }
    // Without a key, everything about the subject is gone.
    if (key == nullptr || std::strcmp(key, "default.audio.source") == 0) {
        self.sourceName_ = parseNodeName(value);
    }
    if (key == nullptr || std::strcmp(key, "default.audio.sink") == 0) {
        self.sinkName_ = parseNodeName(value);
    }
    self.resolve();
    return 0;
}

int PipeWireDefaults::onSetting(void* data, std::uint32_t subject, const char* key,
                                const char* /*type*/, const char* value) {
    auto& self = *static_cast<PipeWireDefaults*>(data);
    if (subject != PW_ID_CORE || key == nullptr) {
        return 0;
    }
    self.settings_[key] = value != nullptr ? value : "";
    self.changed_();
    return 0;
}

void PipeWireDefaults::follow(Role& role, const std::string& name, const std::string& mediaClass) {
    if (role.device && !nodes_.contains(role.device->id)) {
        role.device.reset();
        changed_();
    }
    const auto found =
        std::find_if(nodes_.begin(), nodes_.end(), [&name, &mediaClass](const auto& entry) {
            return !name.empty() && entry.second.name == name &&
                   startsWith(entry.second.mediaClass, mediaClass);
        });
    if (found == nodes_.end()) {
        role.successor.reset();
        if (std::exchange(role.device, nullptr) != nullptr) {
            changed_();
        }
        return;
    }
    const std::uint32_t id = found->first;
    if (role.device && role.device->id == id) {
        role.successor.reset();
        return;
    }
    if (role.successor && role.successor->id == id) {
        return;
    }
    static const pw_node_events events = [] {
        pw_node_events e{};
        e.version = PW_VERSION_NODE_EVENTS;
        e.param = Follower::onParam;
        return e;
    }();
    role.successor.reset(
        new Follower{.owner = *this, .role = role, .id = id, .serial = found->second.serial});
    Follower& follower = *role.successor;
    follower.proxy.reset(static_cast<pw_node*>(
        pw_registry_bind(registry_.get(), id, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0)));
    if (follower.proxy != nullptr) {
        pipewire::listenTo(follower.proxy.get(), follower.listener.fresh(), events, &follower);
        std::array<std::uint32_t, 2> params{SPA_PARAM_EnumFormat, SPA_PARAM_Format};
        pipewire::subscribe(follower.proxy.get(), params);
    }
}

void PipeWireDefaults::resolve() {
    follow(source_, sourceName_, "Audio/Source");
    follow(sink_, sinkName_, "Audio/Sink");
}

} // namespace tessivo::sound
