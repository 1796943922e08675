#include "Platform/Sound/Device/PipeWireConnection.h"

#include "Platform/PipeWire/Calls.h"
#include "Platform/Sound/AudioError.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace tessivo::sound {

namespace {

// The list of objects; then the names of the defaults; then what these devices are.
constexpr int kFirstRoundTrips = 3;

constexpr double kUnknownRate = 48000.0;

} // namespace

const pw_core_events PipeWireConnection::kEvents = [] {
    pw_core_events events{};
    events.version = PW_VERSION_CORE_EVENTS;
    events.info = onInfo;
    events.done = onDone;
    events.error = onError;
    return events;
}();

PipeWireConnection::PipeWireConnection(pw_context* context, const std::string& applicationName,
                                       std::function<void()> changed,
                                       std::function<void()> answered)
    : changed_(std::move(changed))
    , answered_(std::move(answered)) {
    pw_properties* properties =
        pw_properties_new(PW_KEY_APP_NAME, applicationName.c_str(), nullptr);
    errno = 0;
    core_.reset(pw_context_connect(context, properties, 0));
    if (core_ == nullptr) {
        throw AudioError("The sound server could not be reached: " +
                         std::system_category().message(errno) + ".");
    }
    pipewire::listenTo(core_.get(), listener_.fresh(), kEvents, this);
    defaults_ = std::make_unique<PipeWireDefaults>(core_.get(), changed_);
    roundTrips_ = kFirstRoundTrips;
    roundTrip_ = pipewire::askForAnswer(core_.get());
}

PipeWireConnection::~PipeWireConnection() = default;

double PipeWireConnection::renderRate(double sourceRate) const {
    if (const double rate = defaults_->graphRate(sourceRate); rate > 0.0) {
        return rate;
    }
    return coreRate_ > 0.0 ? coreRate_ : kUnknownRate;
}

void PipeWireConnection::onInfo(void* data, const pw_core_info* info) {
    const std::string rate = pipewire::dictValue(info->props, "default.clock.rate");
    static_cast<PipeWireConnection*>(data)->coreRate_ = std::strtod(rate.c_str(), nullptr);
}

void PipeWireConnection::onDone(void* data, std::uint32_t id, int sequence) {
    auto& self = *static_cast<PipeWireConnection*>(data);
    if (id != PW_ID_CORE) {
        return;
    }
    if (sequence == self.roundTrip_ && self.roundTrips_ > 0) {
        if (--self.roundTrips_ > 0) {
            self.roundTrip_ = pipewire::askForAnswer(self.core_.get());
        } else {
            self.answered_();
        }
    }
}

void PipeWireConnection::onError(void* data, std::uint32_t id, int /*sequence*/, int result,
                                 const char* /*message*/) {
    auto& self = *static_cast<PipeWireConnection*>(data);
    // Errors of other objects are theirs: a stream hears of its own.
    if (id == PW_ID_CORE && result == -EPIPE) {
        self.lost_ = true;
        self.changed_();
    }
}

} // namespace tessivo::sound
