#include "Platform/Midi/PipeWireInput.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace tessivo::midi {

namespace {

using namespace std::chrono_literals;

// Delay before a port or link that failed or was removed is created again: a session manager that
// removes it for a reason must not be fought in a tight loop.
constexpr auto kRetryTime = 1s;
// A source that is suspended takes long to become active, or for ever: then its link counts.
constexpr auto kActiveTime = 500ms;
constexpr auto kNever = SourceList::Clock::time_point::max();

[[noreturn]] void fail(int error) {
    throw std::system_error(error, std::system_category());
}

} // namespace

PipeWireInput::PipeWireInput(PipeWireMidiParts& parts, const std::string& clientName,
                             const std::string& portName, PacketHandler handler)
    : parts_(parts)
    , clientName_(clientName)
    , portName_(portName)
    , activeBy_(kNever)
    , retryAt_(kNever) {
    parts_.thread.setPacketHandler(std::move(handler));
    parts_.client.locked([this] { parts_.input = this; });
}

PipeWireInput::~PipeWireInput() {
    parts_.client.locked([this] {
        removeLink();
        port_.reset();
        parts_.input = nullptr;
    });
    parts_.thread.setPacketHandler({});
}

void PipeWireInput::open() {
    parts_.client.locked([this] {
        if (parts_.client.connection() == nullptr) {
            fail(EHOSTDOWN);
        }
        openPort();
        if (port_->failure() != 0) {
            fail(port_->failure());
        }
    });
}

void PipeWireInput::connect(SourceRef source, OutcomeHandler outcome) {
    parts_.client.locked([&] {
        if (parts_.client.connection() == nullptr) {
            fail(EHOSTDOWN);
        }
        if (parts_.sources.findPresent(source) == nullptr) {
            fail(ENOENT);
        }
        removeLink();
        connected_ = source;
        parts_.sources.setConnected(source);
        outcome_ = std::move(outcome);
        activeBy_ = kNever;
    });
}

void PipeWireInput::disconnect() {
    parts_.client.locked([this] { removeLink(); });
}

void PipeWireInput::removeLink() {
    outcome_ = nullptr;
    link_.reset();
    connected_ = 0;
    parts_.sources.setConnected(0);
    parts_.client.wake(); // notices may have been held for the connected source
}

void PipeWireInput::disconnecting() {
    finish(EHOSTDOWN);
    link_.reset();
    port_.reset();
}

// Does nothing when nobody waits for the outcome.
void PipeWireInput::finish(int error) {
    const OutcomeHandler outcome = std::exchange(outcome_, nullptr);
    if (!outcome) {
        return;
    }
    if (error != 0) {
        removeLink();
    }
    outcome(error);
}

void PipeWireInput::openPort() {
    port_ = std::make_unique<PipeWireInputPort>(parts_.client.connection()->core(), clientName_,
                                                portName_, parts_.thread,
                                                [this] { parts_.client.wake(); });
}

void PipeWireInput::reconcile(SourceList::Clock::time_point now) {
    tellOutcome(now);
    if (port_ && port_->failure() != 0) {
        link_.reset();
        port_.reset();
        retryAt_ = now + kRetryTime;
    }
    const SourceList::Entry* const source = parts_.sources.findPresent(connected_);
    if (link_ && (source == nullptr || link_->source() != source->place)) {
        link_.reset();
    } else if (link_ && link_->failure() != 0) {
        link_.reset();
        retryAt_ = now + kRetryTime;
    }
    if (retryAt_ != kNever && now < retryAt_) {
        return;
    }
    retryAt_ = kNever;
    if (!port_) {
        openPort();
    }
    if (source != nullptr && port_->isReady() && !link_) {
        link_ = port_->linkFrom(source->place);
    }
}

// What is no success within the first attempt is a failure, and is not tried again.
void PipeWireInput::tellOutcome(SourceList::Clock::time_point now) {
    if (port_ && port_->failure() != 0) {
        finish(port_->failure());
    } else if (link_ && link_->failure() != 0) {
        finish(link_->failure());
    } else if (parts_.sources.findPresent(connected_) == nullptr) {
        finish(ENOENT);
    } else if (link_ && link_->isMade()) {
        activeBy_ = std::min(activeBy_, now + kActiveTime);
        if (link_->isActive() || now >= activeBy_) {
            finish(0);
        }
    }
}

bool PipeWireInput::willRetry() const {
    return retryAt_ != kNever || (outcome_ && activeBy_ != kNever);
}

} // namespace tessivo::midi
