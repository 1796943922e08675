#pragma once

#include "Platform/PipeWire/Handles.h"
#include "Platform/Sound/Device/PipeWireDefaults.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tessivo::sound {

// One connection to the server, from the first byte until it is lost. Belongs to its loop;
// made, used and destroyed with the loop locked.
class PipeWireConnection {
public:
    // changed is called on the loop when any answer below may be another one; answered
    // likewise, once, when the server has told all that it has to tell at first.
    // Throws AudioError when there is no server to connect to.
    PipeWireConnection(pw_context* context, const std::string& applicationName,
                       std::function<void()> changed, std::function<void()> answered);
    ~PipeWireConnection();
    PipeWireConnection(const PipeWireConnection&) = delete;
    PipeWireConnection& operator=(const PipeWireConnection&) = delete;

    pw_core* core() const { return core_.get(); }
    const PipeWireDefaults& defaults() const { return *defaults_; }
    // As PipeWireDefaults::askForNames().
    void askForNames() { defaults_->askForNames(); }

    // The server has told all that it has to tell at first.
    bool hasAnswered() const { return roundTrips_ == 0; }
    // The server has gone; nothing here comes back.
    bool isLost() const { return lost_; }

    // The rate of the graph when that capture device is in use, Hz.
    double renderRate(double sourceRate) const;

private:
    static void onInfo(void* data, const pw_core_info* info);
    static void onDone(void* data, std::uint32_t id, int sequence);
    static void onError(void* data, std::uint32_t id, int sequence, int result,
                        const char* message);
    static const pw_core_events kEvents;

    std::function<void()> changed_;
    std::function<void()> answered_;
    pipewire::Owner<pw_core> core_;
    pipewire::Listener listener_;
    std::unique_ptr<PipeWireDefaults> defaults_;
    double coreRate_ = 0.0;
    int roundTrips_ = 0; // still to go
    int roundTrip_ = -1;
    bool lost_ = false;
};

} // namespace tessivo::sound
