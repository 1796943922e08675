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
    AudioFormat current{}; // set on the device, once it has been in use
    AudioFormat offered{}; // what the device would be set to
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

constexpr double kUnknownRate = 48000.0;
constexpr int kUnknownQuantum = 1024;

} // namespace

PipeWireDefaults::PipeWireDefaults(pipewire::Connection& connection, std::function<void()> changed)
    : connection_(connection)
    , changed_(std::move(changed)) {
    connection_.setRegistryListener(*this);
}

PipeWireDefaults::~PipeWireDefaults() = default;

PipeWireDefaults::Device PipeWireDefaults::source() const {
    return source_.device ? Device{source_.device->serial, source_.device->format()} : Device{};
}

PipeWireDefaults::Device PipeWireDefaults::sink() const {
    return sink_.device ? Device{sink_.device->serial, sink_.device->format()} : Device{};
}

int PipeWireDefaults::setting(const char* key) const {
    const auto found = settings_.find(key);
    const auto all =
        found != settings_.end() ? parseNumbers(found->second.c_str()) : std::vector<int>{};
    return all.empty() ? 0 : all.front();
}

PipeWireDefaults::Clock PipeWireDefaults::clock() const {
    const int quantum = setting("clock.quantum");
    const int rate = setting("clock.rate");
    return {static_cast<std::uint32_t>(quantum > 0 ? quantum : kUnknownQuantum),
            rate > 0 ? rate : kUnknownRate, setting("clock.force-quantum") > 0};
}

double PipeWireDefaults::renderRate(double sourceRate) const {
    if (const int forced = setting("clock.force-rate"); forced > 0) {
        return forced;
    }
    const auto found = settings_.find("clock.allowed-rates");
    const std::vector<int> allowed =
        found != settings_.end() ? parseNumbers(found->second.c_str()) : std::vector<int>{};
    if (std::find(allowed.begin(), allowed.end(), sourceRate) != allowed.end()) {
        return sourceRate;
    }
    for (const double rate :
         {static_cast<double>(setting("clock.rate")), connection_.clockRate()}) {
        if (rate > 0.0) {
            return rate;
        }
    }
    return kUnknownRate;
}

void PipeWireDefaults::objectAdded(std::uint32_t id, std::string_view type,
                                   const spa_dict* properties) {
    if (type == PW_TYPE_INTERFACE_Node) {
        Node node{pipewire::dictValue(properties, PW_KEY_NODE_NAME),
                  pipewire::dictValue(properties, PW_KEY_OBJECT_SERIAL),
                  pipewire::dictValue(properties, PW_KEY_MEDIA_CLASS)};
        if (node.mediaClass.starts_with("Audio/")) {
            nodes_.insert_or_assign(id, std::move(node));
            resolve();
        }
    } else if (type == PW_TYPE_INTERFACE_Metadata) {
        const std::string name = pipewire::dictValue(properties, PW_KEY_METADATA_NAME);
        if (name == "default" || name == "settings") {
            bindMetadata(id, name == "default");
        }
    }
}

void PipeWireDefaults::bindMetadata(std::uint32_t id, bool isDefaults) {
    static const auto defaultEvents = pipewire::eventTable<pw_metadata_events>(
        PW_VERSION_METADATA_EVENTS, [](auto& events) { events.property = onDefault; });
    static const auto settingEvents = pipewire::eventTable<pw_metadata_events>(
        PW_VERSION_METADATA_EVENTS, [](auto& events) { events.property = onSetting; });
    auto metadata = std::make_unique<Metadata>();
    metadata->id = id;
    metadata->isDefaults = isDefaults;
    metadata->proxy =
        connection_.bind<pw_metadata>(id, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA);
    if (metadata->proxy == nullptr) {
        return;
    }
    pipewire::listenTo(metadata->proxy.get(), metadata->listener.fresh(),
                       isDefaults ? defaultEvents : settingEvents, this);
    metadata_.push_back(std::move(metadata));
}

bool PipeWireDefaults::lacksNames() const {
    const auto lacks = [this](const std::string& name, const char* mediaClass) {
        bool isDevice = false;
        bool isNamed = false;
        for (const auto& [id, node] : nodes_) {
            isDevice |= node.mediaClass.starts_with(mediaClass);
            isNamed |= !name.empty() && node.name == name;
        }
        return isDevice && !isNamed;
    };
    return (lacks(sourceName_, "Audio/Source") || lacks(sinkName_, "Audio/Sink")) &&
           std::any_of(metadata_.begin(), metadata_.end(),
                       [](const auto& metadata) { return metadata->isDefaults; });
}

void PipeWireDefaults::requestNames() {
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

void PipeWireDefaults::objectRemoved(std::uint32_t id) {
    // The names are kept: while a session manager restarts, its devices stay in use.
    std::erase_if(metadata_, [id](const auto& metadata) { return metadata->id == id; });
    nodes_.erase(id);
    resolve();
}

int PipeWireDefaults::onDefault(void* data, std::uint32_t subject, const char* key,
                                const char* /*type*/, const char* value) {
    auto& self = *static_cast<PipeWireDefaults*>(data);
    if (subject != PW_ID_CORE) {
        return 0;
    }
    // A null key removes all of the subject's values.
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
                   entry.second.mediaClass.starts_with(mediaClass);
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
    static const auto events = pipewire::eventTable<pw_node_events>(
        PW_VERSION_NODE_EVENTS, [](auto& table) { table.param = Follower::onParam; });
    role.successor.reset(
        new Follower{.owner = *this, .role = role, .id = id, .serial = found->second.serial});
    Follower& follower = *role.successor;
    follower.proxy = connection_.bind<pw_node>(id, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE);
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
