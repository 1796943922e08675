#pragma once

#include "Platform/PipeWire/Handles.h"
#include "Platform/Sound/AudioFormat.h"

#include <pipewire/extensions/metadata.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tessivo::sound {

// Which devices the server's session calls the default ones, what they are, and the rates
// of the graph. Belongs to one connection and to its loop.
class PipeWireDefaults {
public:
    // changed is called on the loop whenever something below may have another answer.
    PipeWireDefaults(pw_core* core, std::function<void()> changed);
    ~PipeWireDefaults();
    PipeWireDefaults(const PipeWireDefaults&) = delete;
    PipeWireDefaults& operator=(const PipeWireDefaults&) = delete;

    struct Device {
        std::string serial; // what a stream names as its target; empty: there is no device
        AudioFormat format;
    };
    // The default capture device. A default that is a playback device, whose monitor the
    // session would record, is no device. A device appears here once its format is known.
    Device source() const;
    Device sink() const;

    // The rate that the graph runs at with that capture device, Hz; 0 when the server has
    // not said.
    double graphRate(double sourceRate) const;

    // The session manager has announced its choice of devices, but has not told it. That
    // happens to who comes while it is just starting, and nothing is told later either:
    // it has to be asked once more.
    bool lacksNames() const;
    void askForNames(); // not from one of our callbacks

private:
    struct Node;     // any device in the registry
    struct Metadata; // one of the two metadata objects that matter
    struct Follower; // what is known of one default device
    struct Role {    // of a default device: source or sink
        std::unique_ptr<Follower> device;
        std::unique_ptr<Follower> successor; // until it has told its format

        Role();
        ~Role();
        Role(const Role&) = delete;
        Role& operator=(const Role&) = delete;
    };

    static void onGlobal(void* data, std::uint32_t id, std::uint32_t permissions, const char* type,
                         std::uint32_t version, const spa_dict* properties);
    static void onGlobalRemove(void* data, std::uint32_t id);
    static int onDefault(void* data, std::uint32_t subject, const char* key, const char* type,
                         const char* value);
    static int onSetting(void* data, std::uint32_t subject, const char* key, const char* type,
                         const char* value);
    static const pw_registry_events kRegistryEvents;
    static const pw_metadata_events kDefaultEvents;
    static const pw_metadata_events kSettingEvents;

    void bindMetadata(std::uint32_t id, bool isDefaults);
    void follow(Role& role, const std::string& name, const std::string& mediaClass);
    void resolve();

    std::function<void()> changed_;
    std::map<std::uint32_t, Node> nodes_;
    std::map<std::string, std::string, std::less<>> settings_;
    std::string sourceName_;
    std::string sinkName_;
    pipewire::ProxyOwner<pw_registry> registry_;
    pipewire::Listener registryListener_;
    std::vector<std::unique_ptr<Metadata>> metadata_;
    Role source_;
    Role sink_;
};

} // namespace tessivo::sound
