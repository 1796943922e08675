#include "Platform/Sound/Device/PipeWireDuplexDevice.h"

#include "Platform/Sound/AudioError.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace tessivo::sound {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto kAnswerTime = 1s;
// How long a session manager may take to name the default devices before we request the names.
constexpr auto kNamesTime = 300ms;
// The list of objects; then the names of the default devices; then their formats.
constexpr int kRoundTrips = 3;

AudioError worded(const std::system_error& error) {
    switch (error.code().value()) {
    case ENOSYS:
        return AudioError("The sound system's client library could not be set up.");
    case ETIMEDOUT:
        return AudioError("The sound server does not answer: " + error.code().message() + ".");
    default:
        return AudioError("The sound server could not be reached: " + error.code().message() + ".");
    }
}

} // namespace

PipeWireDuplexDevice::PipeWireDuplexDevice(const std::string& applicationName, Connect when)
    : client_({"tessivo-sound", applicationName, kRoundTrips}, *this)
    , streams_(applicationName, cycles_, [this] { client_.wake(); }) {
    if (when == Connect::atStart) {
        return;
    }
    client_.locked([this] {
        try {
            client_.connect(kAnswerTime);
        } catch (const std::system_error&) {
            return; // start() tries again, and reports it
        }
        publish();
        isChangeUntold_ = false; // nobody can have read other formats
    });
}

PipeWireDuplexDevice::~PipeWireDuplexDevice() {
    setChangeHandler({});
    stop();
    client_.stop();
}

void PipeWireDuplexDevice::start(AudioRenderer& renderer, const Request& request) {
    stop();
    client_.locked([&] {
        try {
            client_.connect(kAnswerTime);
        } catch (const std::system_error& error) {
            throw worded(error);
        }
        publish();
        renderRate_ = formats_.get().renderRate;
        streams_.start(*renderRate_, request);
        cycles_.start(renderer, *renderRate_);
        streams_.follow(client_.connection()->core(), *defaults_);
        client_.wake(); // for the poll interval and the change notice
    });
}

void PipeWireDuplexDevice::stop() {
    client_.locked([this] {
        renderRate_.reset();
        cycles_.stop();
        streams_.close();
    });
}

void PipeWireDuplexDevice::setChangeHandler(std::function<void()> handler) {
    const std::scoped_lock lock(handlerMutex_);
    handler_ = std::move(handler);
}

void PipeWireDuplexDevice::connected(pipewire::Connection& connection) {
    defaults_.emplace(connection, [this] { client_.wake(); });
    formats_.connected();
    if (client_.hasBeenAnswered()) {
        formats_.awaitReturn();
    }
}

void PipeWireDuplexDevice::disconnecting() {
    streams_.close();
    defaults_.reset();
    requestNamesAt_.reset();
}

bool PipeWireDuplexDevice::reconcile() {
    pipewire::Connection* const connection = client_.answeredConnection();
    if (connection == nullptr) {
        return false;
    }
    requestNames();
    publish();
    if (renderRate_) {
        streams_.follow(connection->core(), *defaults_);
    }
    tellChange();
    return formats_.awaitsReturn() || requestNamesAt_.has_value() || streams_.isPollNeeded();
}

void PipeWireDuplexDevice::requestNames() {
    if (!defaults_->lacksNames()) {
        requestNamesAt_.reset();
    } else if (!requestNamesAt_) {
        requestNamesAt_ = Clock::now() + kNamesTime;
    } else if (Clock::now() >= *requestNamesAt_) {
        defaults_->requestNames();
        requestNamesAt_ = Clock::now() + kNamesTime;
    }
}

void PipeWireDuplexDevice::publish() {
    const bool isChange = formats_.update(*defaults_, renderRate_);
    isChangeUntold_ = isChangeUntold_ || isChange;
}

void PipeWireDuplexDevice::tellChange() {
    if (std::exchange(isChangeUntold_, false)) {
        const std::scoped_lock lock(handlerMutex_);
        if (handler_) {
            handler_();
        }
    }
}

} // namespace tessivo::sound
