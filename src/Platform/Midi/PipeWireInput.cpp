#include "Platform/Midi/PipeWireInput.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace tessivo::midi {

namespace {

using namespace std::chrono_literals;

// Delay before a port or link that failed or was removed is created again: a session manager that
// removes it for a reason must not be fought in a tight loop.
constexpr auto kRetryTime = 1s;
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
        awaitAnswer([this] { return !port_ || port_->isReady() || port_->failure() != 0; });
        if (!port_) {
            fail(EHOSTDOWN);
        }
        if (!port_->isReady()) {
            fail(port_->failure() != 0 ? port_->failure() : ETIMEDOUT);
        }
    });
}

void PipeWireInput::connect(SourceRef source) {
    parts_.client.locked([this, source] {
        if (parts_.client.connection() == nullptr || !port_ || !port_->isReady()) {
            fail(EHOSTDOWN);
        }
        const SourceList::Entry* const found = parts_.sources.findPresent(source);
        if (found == nullptr) {
            fail(ENOENT);
        }
        const SourceList::Place place = found->place;
        removeLink();
        connected_ = source;
        parts_.sources.setConnected(source);
        link_ = port_->linkFrom(place);
        awaitAnswer([this] { return !link_ || link_->isActive() || link_->failure() != 0; });
        if (!link_ || !link_->isMade() || link_->failure() != 0) {
            const int failure = link_ ? link_->failure() : EHOSTDOWN;
            removeLink();
            fail(failure != 0 ? failure : ETIMEDOUT);
        }
        parts_.thread.setListening(true);
    });
}

void PipeWireInput::disconnect() {
    parts_.client.locked([this] { removeLink(); });
}

void PipeWireInput::removeLink() {
    link_.reset();
    connected_ = 0;
    parts_.sources.setConnected(0);
    parts_.thread.setListening(false);
    parts_.client.wake(); // notices may have been held for the connected source
}

void PipeWireInput::disconnecting() {
    link_.reset();
    port_.reset();
}

void PipeWireInput::openPort() {
    port_ = std::make_unique<PipeWireInputPort>(parts_.client.connection()->core(), clientName_,
                                                portName_, parts_.thread.queue(),
                                                [this] { parts_.client.wake(); });
}

template <typename Condition> void PipeWireInput::awaitAnswer(const Condition& condition) {
    awaited_ = true;
    parts_.client.await(kMidiAnswerTime, condition);
    awaited_ = false;
}

void PipeWireInput::reconcile(SourceList::Clock::time_point now) {
    if (awaited_) {
        return;
    }
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
    if (willRetry() && now < retryAt_) {
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

bool PipeWireInput::willRetry() const {
    return retryAt_ != kNever;
}

} // namespace tessivo::midi
