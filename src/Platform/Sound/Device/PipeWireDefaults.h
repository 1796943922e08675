#pragma once

#include "Platform/PipeWire/Connection.h"
#include "Platform/Sound/AudioFormat.h"
#include "Platform/Sound/Device/StreamTargets.h"

#include <pipewire/extensions/metadata.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tessivo::sound {

// The devices that the server's session has for us, their formats, and the rate of the graph. They
// are its default devices, unless others have been chosen for our streams. Belongs to one
// connection; created, used and destroyed with its loop locked.
class PipeWireDefaults final : private pipewire::RegistryListener {
public:
    // changed is called on the loop's thread when an answer below may have changed.
    PipeWireDefaults(pipewire::Connection& connection, std::function<void()> changed);
    ~PipeWireDefaults();
    PipeWireDefaults(const PipeWireDefaults&) = delete;
    PipeWireDefaults& operator=(const PipeWireDefaults&) = delete;

    struct Device {
        std::string serial; // a stream's target; empty when there is no device
        AudioFormat format;
        std::string name;      // as people know it
        bool isChosen = false; // for our stream, and not the default one
    };
    // The capture device and the playback device, once their formats are known. A playback device
    // whose monitor the session offers for capture is no capture device.
    Device source() const;
    Device sink() const;

    // The ids of our streams, SPA_ID_INVALID for none: what is chosen for them counts from now on,
    // and for their successors. Not from an event function.
    void setStreams(std::uint32_t capture, std::uint32_t playback);

    // Where what that stream captures comes from.
    enum class Origin { unlinked, monitor, other };
    Origin originOf(std::uint32_t stream) const;

    // The rate that the graph runs at with a capture device of that rate, Hz.
    double renderRate(double sourceRate) const;

    // What the server's settings say of the cycles that nobody has asked to be shorter.
    struct Clock {
        std::uint32_t quantum = 0; // frames
        double rate = 0.0;         // Hz
        bool isForced = false;     // the user has set the length of all cycles
    };
    Clock clock() const;

    // The session manager has a list of default devices, but no name of one that is there, although
    // there are devices for it. That happens to a client that connects while the session manager
    // starts, and no name is sent later either: they have to be requested.
    bool lacksNames() const;
    void requestEntries(); // not from an event function

private:
    struct Node;     // an audio device in the registry, or a stream
    struct Metadata; // the one with the default devices or the one with the settings
    struct Follower; // a device in the server whose format events we receive
    struct Role {    // the source or the sink
        const char* const mediaClass; // of its devices begins with that
        std::string defaultName;
        std::string chosenName; // while it is there it comes before the default; empty for none
        std::uint32_t stream = SPA_ID_INVALID;
        std::uint32_t knownStream = SPA_ID_INVALID; // the one whose metadata we are told
        std::unique_ptr<Follower> device;
        std::unique_ptr<Follower> successor; // replaces `device` once its format is known

        explicit Role(const char* devices);
        ~Role();
        Role(const Role&) = delete;
        Role& operator=(const Role&) = delete;
    };

    void objectAdded(std::uint32_t id, std::string_view type, const spa_dict* properties) override;
    void objectRemoved(std::uint32_t id) override;
    static int onDefault(void* data, std::uint32_t subject, const char* key, const char* type,
                         const char* value);
    static int onSetting(void* data, std::uint32_t subject, const char* key, const char* type,
                         const char* value);

    // The first number of a setting; 0 when there is none.
    int setting(const char* key) const;
    void bindMetadata(std::uint32_t id, bool isDefaults);
    const std::pair<const std::uint32_t, Node>* find(const Role& role,
                                                     const std::string& name) const;
    Device deviceOf(const Role& role) const;
    bool lacksName(const Role& role) const;
    void choose(Role& role);
    void follow(Role& role);
    void resolve();

    pipewire::Connection& connection_;
    std::function<void()> changed_;
    std::map<std::uint32_t, Node> nodes_;
    std::map<std::string, std::string, std::less<>> settings_;
    StreamTargets targets_;
    std::vector<std::unique_ptr<Metadata>> metadata_;
    Role source_{"Audio/Source"};
    Role sink_{"Audio/Sink"};
};

} // namespace tessivo::sound
