#include "Platform/PipeWire/Client.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace tessivo::pipewire {

namespace {

using namespace std::chrono_literals;

// While the server is away, or while the owner waits for something that no event announces.
constexpr auto kPollInterval = 100ms;

} // namespace

Client::Client(Settings settings, User& user)
    : settings_(std::move(settings))
    , user_(user)
    , loop_([this] { reconcile(); }) {}

Client::~Client() {
    stop();
}

void Client::stop() {
    loop_.stop([this] { disconnect(); });
}

bool Client::reach(std::chrono::nanoseconds limit) {
    if (connection() == nullptr) {
        disconnect();
        open();
        persists_ = true;
    }
    await(limit, [this] { return connection() == nullptr || connection()->hasAnswered(); });
    hasBeenAnswered_ = hasBeenAnswered_ || answeredConnection() != nullptr;
    return answeredConnection() != nullptr;
}

void Client::disconnect() {
    if (connection_) {
        user_.disconnecting();
        connection_.reset();
    }
}

Connection* Client::connection() {
    return connection_ && !connection_->isLost() ? &*connection_ : nullptr;
}

Connection* Client::answeredConnection() {
    return connection() != nullptr && connection()->hasAnswered() ? connection() : nullptr;
}

void Client::open() {
    if (loop_.context() == nullptr) {
        throw std::system_error(ENOSYS, std::system_category());
    }
    connection_.emplace(loop_.context(), settings_.applicationName, settings_.roundTrips,
                        [this] { wake(); });
    user_.connected(*connection_);
}

void Client::reconcile() {
    hasBeenAnswered_ = hasBeenAnswered_ || answeredConnection() != nullptr;
    const bool returns = hasBeenAnswered_ || persists_;
    if (returns && connection() == nullptr) {
        disconnect();
        try {
            open();
        } catch (const std::system_error&) {
            // Still away.
        }
    }
    const bool userWaits = user_.reconcile();
    const bool serverIsAway = returns && !connection_;
    loop_.setPollInterval(userWaits || serverIsAway ? kPollInterval : 0ms);
}

} // namespace tessivo::pipewire
