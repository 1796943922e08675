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
    std::string description; // for people
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
    std::string name;
    std::string serial;
    std::string description;
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

PipeWireDefaults::Role::Role(const char* devices)
    : mediaClass(devices) {}
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
    return deviceOf(source_);
}

PipeWireDefaults::Device PipeWireDefaults::sink() const {
    return deviceOf(sink_);
}

PipeWireDefaults::Device PipeWireDefaults::deviceOf(const Role& role) const {
    if (!role.device) {
        return {};
    }
    const Follower& device = *role.device;
    const bool isChosen = device.name == role.chosenName && device.name != role.defaultName;
    return {device.serial, device.format(), device.description, isChosen};
}

// The server keeps the metadata of an object from clients that have said nothing since the object
// came up: so nobody would tell us what is chosen for a new stream. A request speaks.
void PipeWireDefaults::setStreams(std::uint32_t capture, std::uint32_t playback) {
    bool isNew = false;
    for (const auto& [role, stream] : {std::pair{&source_, capture}, {&sink_, playback}}) {
        role->stream = stream;
        if (nodes_.contains(stream) && std::exchange(role->knownStream, stream) != stream) {
            isNew = true;
        }
    }
    if (isNew) {
        requestEntries();
    }
}

PipeWireDefaults::Origin PipeWireDefaults::originOf(std::uint32_t stream) const {
    const auto sources = targets_.sourcesOf(stream);
    const auto isMonitor = [this](std::uint32_t node) {
        const auto found = nodes_.find(node);
        return found != nodes_.end() && found->second.mediaClass.starts_with(sink_.mediaClass);
    };
    if (sources.empty()) {
        return Origin::unlinked;
    }
    return std::all_of(sources.begin(), sources.end(), isMonitor) ? Origin::monitor : Origin::other;
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
        const std::string name = pipewire::dictValue(properties, PW_KEY_NODE_NAME);
        const std::string description = pipewire::dictValue(properties, PW_KEY_NODE_DESCRIPTION);
        Node node{name, description.empty() ? name : description,
                  pipewire::dictValue(properties, PW_KEY_OBJECT_SERIAL),
                  pipewire::dictValue(properties, PW_KEY_MEDIA_CLASS)};
        if (node.mediaClass.starts_with("Audio/")) {
            nodes_.insert_or_assign(id, std::move(node));
            resolve();
        } else if (node.mediaClass.starts_with("Stream/")) {
            nodes_.insert_or_assign(id, std::move(node));
            changed_(); // it may be ours
        }
    } else if (type == PW_TYPE_INTERFACE_Link) {
        targets_.addLink(id, properties);
        changed_();
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
    return (lacksName(source_) || lacksName(sink_)) &&
           std::any_of(metadata_.begin(), metadata_.end(),
                       [](const auto& metadata) { return metadata->isDefaults; });
}

bool PipeWireDefaults::lacksName(const Role& role) const {
    bool isDevice = false;
    bool isNamed = false;
    for (const auto& [id, node] : nodes_) {
        isDevice |= node.mediaClass.starts_with(role.mediaClass);
        isNamed |= node.name == role.defaultName && node.mediaClass.starts_with("Audio/");
    }
    return isDevice && !isNamed;
}

void PipeWireDefaults::requestEntries() {
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
    targets_.remove(id);
    for (Role* const role : {&source_, &sink_}) {
        if (role->knownStream == id) {
            role->knownStream = SPA_ID_INVALID; // its successor may get the same id
        }
    }
    resolve();
}

int PipeWireDefaults::onDefault(void* data, std::uint32_t subject, const char* key,
                                const char* /*type*/, const char* value) {
    auto& self = *static_cast<PipeWireDefaults*>(data);
    if (subject != PW_ID_CORE) {
        if (self.targets_.setEntry(subject, key, value)) {
            for (Role* const role : {&self.source_, &self.sink_}) {
                if (role->stream == subject) {
                    self.choose(*role);
                }
            }
            self.resolve();
        }
        return 0;
    }
    // A null key removes all of the subject's values.
    if (key == nullptr || std::strcmp(key, "default.audio.source") == 0) {
        self.source_.defaultName = parseNodeName(value);
    }
    if (key == nullptr || std::strcmp(key, "default.audio.sink") == 0) {
        self.sink_.defaultName = parseNodeName(value);
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

// Keeps the name of what was chosen for the role's stream: the device may go and come back, and the
// stream's successor is to find it. What the role cannot use, as a monitor, is no choice.
void PipeWireDefaults::choose(Role& role) {
    const auto target = targets_.targetOf(role.stream);
    if (!target) {
        return;
    }
    if (target->value == "-1") {
        role.chosenName.clear();
        return;
    }
    for (const auto& [id, node] : nodes_) {
        const bool isMeant = node.name == target->value ||
                             (target->isId ? std::to_string(id) : node.serial) == target->value;
        if (isMeant && node.mediaClass.starts_with(role.mediaClass)) {
            role.chosenName = node.name;
        }
    }
}

const std::pair<const std::uint32_t, PipeWireDefaults::Node>*
PipeWireDefaults::find(const Role& role, const std::string& name) const {
    const auto found = std::find_if(nodes_.begin(), nodes_.end(), [&](const auto& entry) {
        return !name.empty() && entry.second.name == name &&
               entry.second.mediaClass.starts_with(role.mediaClass);
    });
    return found != nodes_.end() ? &*found : nullptr;
}

void PipeWireDefaults::follow(Role& role) {
    if (role.device && !nodes_.contains(role.device->id)) {
        role.device.reset();
        changed_();
    }
    const auto* const chosen = find(role, role.chosenName);
    const auto* const found = chosen != nullptr ? chosen : find(role, role.defaultName);
    if (found == nullptr) {
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
    role.successor.reset(new Follower{.owner = *this,
                                      .role = role,
                                      .id = id,
                                      .name = found->second.name,
                                      .serial = found->second.serial,
                                      .description = found->second.description});
    Follower& follower = *role.successor;
    follower.proxy = connection_.bind<pw_node>(id, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE);
    if (follower.proxy != nullptr) {
        pipewire::listenTo(follower.proxy.get(), follower.listener.fresh(), events, &follower);
        std::array<std::uint32_t, 2> params{SPA_PARAM_EnumFormat, SPA_PARAM_Format};
        pipewire::subscribe(follower.proxy.get(), params);
    }
}

void PipeWireDefaults::resolve() {
    follow(source_);
    follow(sink_);
}

} // namespace tessivo::sound
