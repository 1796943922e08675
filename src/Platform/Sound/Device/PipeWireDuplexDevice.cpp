#include "Platform/Sound/Device/PipeWireDuplexDevice.h"

#include "Platform/Sound/AudioError.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

namespace tessivo::sound {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

// How long a session manager may take to name the default devices before we request the names.
constexpr auto kNamesTime = 300ms;
// What short cycles have at first and at most, frames.
constexpr std::uint32_t kShortestCycle = 64;
constexpr std::uint32_t kLongestShortCycle = 512;
// What the change of their length costs is over by then.
constexpr auto kChangeTime = 300ms;
// The list of objects; then the names of the default devices; then their formats.
constexpr int kRoundTrips = 3;

AudioError worded(const std::system_error& error) {
    switch (error.code().value()) {
    case ENOSYS:
        return AudioError("The sound system's client library could not be set up.");
    default:
        return AudioError("The sound server could not be reached: " + error.code().message() + ".");
    }
}

} // namespace

PipeWireDuplexDevice::PipeWireDuplexDevice(const std::string& nodeName, DiagnosticSink diagnostics,
                                           std::chrono::milliseconds answerTime,
                                           const std::string& playbackName)
    : diagnostics_(std::move(diagnostics))
    , answerDue_(Clock::now() + answerTime)
    , client_({nodeName, kRoundTrips}, *this)
    , streams_(nodeName, playbackName, cycles_, [this] { client_.wake(); }) {
    client_.locked([this] {
        try {
            client_.reach({});
        } catch (const std::system_error&) {
            // start() tries again, and reports it.
        }
    });
}

PipeWireDuplexDevice::~PipeWireDuplexDevice() {
    setChangeHandler({});
    stop();
    client_.stop();
}

bool PipeWireDuplexDevice::reachServer() {
    return client_.reach(std::max(Clock::duration::zero(), answerDue_ - Clock::now()));
}

AudioDevice::Formats PipeWireDuplexDevice::formats() {
    client_.locked([this] {
        if (areFormatsRead_) {
            return;
        }
        try {
            if (reachServer()) {
                publish();
            }
        } catch (const std::system_error&) {
            // start() tries again, and reports it.
        }
        areFormatsRead_ = true;
    });
    return formats_.get();
}

void PipeWireDuplexDevice::start(AudioRenderer& renderer, const Request& request) {
    stop();
    formats(); // the first ones are no change
    client_.locked([&] {
        bool answers = false;
        try {
            answers = reachServer();
        } catch (const std::system_error& error) {
            throw worded(error);
        }
        if (answers) {
            publish();
        }
        renderRate_ = formats_.get().renderRate;
        streams_.start(*renderRate_, request);
        cycles_.start(renderer, *renderRate_);
        if (answers) {
            streams_.follow(client_.context(), *defaults_);
        }
        requestCycles();
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

void PipeWireDuplexDevice::setShortCycles(bool wanted) {
    client_.locked([&] {
        if (wanted != (shortCycles_ > 0)) {
            shortCycles_ = wanted ? kShortestCycle : 0;
            requestCycles();
            client_.wake(); // for the poll interval
        }
    });
}

void PipeWireDuplexDevice::requestCycles() {
    if (renderRate_ && defaults_) {
        streams_.requestCycles(shortCycles_, defaults_->clock());
    }
    cyclesRequestedAt_ = Clock::now();
}

void PipeWireDuplexDevice::lengthenCycles() {
    const std::int64_t before = std::exchange(knownLosses_, losses());
    if (shortCycles_ == 0 || shortCycles_ >= kLongestShortCycle || before == knownLosses_ ||
        Clock::now() < cyclesRequestedAt_ + kChangeTime || !streams_.decideCycles() ||
        defaults_->clock().isForced) {
        return;
    }
    shortCycles_ *= 2;
    requestCycles();
    if (diagnostics_) {
        diagnostics_("⚠️ Sound was lost in short cycles, asking for " +
                     std::to_string(shortCycles_) + " frames");
    }
}

std::int64_t PipeWireDuplexDevice::losses() const {
    return cycles_.missedFrames() + cycles_.missedOutputFrames();
}

void PipeWireDuplexDevice::setChangeHandler(std::function<void()> handler) {
    {
        const std::scoped_lock lock(handlerMutex_);
        handler_ = std::move(handler);
    }
    client_.wake();
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
    if (client_.answeredConnection() == nullptr) {
        return false;
    }
    requestNames();
    publish();
    if (renderRate_) {
        streams_.follow(client_.context(), *defaults_);
        // The server may be another one, or have got another length of its own.
        streams_.requestCycles(shortCycles_, defaults_->clock());
        lengthenCycles();
    }
    tellChange();
    const bool mayLengthen = renderRate_ && shortCycles_ > 0 && shortCycles_ < kLongestShortCycle;
    return mayLengthen || formats_.awaitsReturn() || requestNamesAt_.has_value() ||
           streams_.isPollNeeded();
}

void PipeWireDuplexDevice::requestNames() {
    if (!defaults_->lacksNames()) {
        requestNamesAt_.reset();
    } else if (!requestNamesAt_) {
        requestNamesAt_ = Clock::now() + kNamesTime;
    } else if (Clock::now() >= *requestNamesAt_) {
        defaults_->requestEntries();
        requestNamesAt_ = Clock::now() + kNamesTime;
    }
}

void PipeWireDuplexDevice::publish() {
    const bool isChange = formats_.update(*defaults_, renderRate_);
    // As long as nobody has read other formats, nothing has changed.
    isChangeUntold_ = areFormatsRead_ && (isChangeUntold_ || isChange);
}

void PipeWireDuplexDevice::tellChange() {
    const std::scoped_lock lock(handlerMutex_);
    // Without a handler the change is kept for the next one.
    if (handler_ && std::exchange(isChangeUntold_, false)) {
        handler_();
    }
}

} // namespace tessivo::sound
