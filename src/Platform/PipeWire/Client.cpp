#include "Platform/PipeWire/Client.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace tessivo::pipewire {

namespace {

using namespace std::chrono_literals;

// For a server that is away, and for what the user awaits.
constexpr auto kPollInterval = 100ms;

} // namespace

Client::Client(Settings settings, User& user)
    : settings_(std::move(settings))
    , user_(user)
    , loop_(settings_.threadName, [this] { reconcile(); }) {}

Client::~Client() {
    stop();
}

void Client::stop() {
    locked([this] { disconnect(); });
    loop_.stop();
}

void Client::connect(std::chrono::nanoseconds limit) {
    if (connection() == nullptr) {
        disconnect();
        open();
    }
    await(limit, [this] { return connection() == nullptr || connection()->hasAnswered(); });
    if (answeredConnection() == nullptr) {
        throw std::system_error(ETIMEDOUT, std::system_category());
    }
    hasBeenAnswered_ = true;
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
    if (hasBeenAnswered_ && connection() == nullptr) {
        disconnect();
        try {
            open();
        } catch (const std::system_error&) {
            // Still away.
        }
    }
    const bool userWaits = user_.reconcile();
    const bool serverIsAway = hasBeenAnswered_ && !connection_;
    loop_.setPollInterval(userWaits || serverIsAway ? kPollInterval : 0ms);
}

} // namespace tessivo::pipewire
