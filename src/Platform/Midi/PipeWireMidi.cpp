#include "Platform/Midi/PipeWireMidi.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace tessivo::midi {

namespace {

// The list of objects is all that is needed.
constexpr int kRoundTrips = 1;

} // namespace

class PipeWireMidi::Observer final : public SourceObserver {
public:
    Observer(PipeWireMidi& system, SetupHandler handler)
        : system_(system) {
        system_.parts_.thread.setSetupHandler(std::move(handler));
    }
    ~Observer() override {
        system_.parts_.client.locked([this] { system_.isObserved_ = false; });
        system_.parts_.thread.setSetupHandler({});
    }
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;

private:
    PipeWireMidi& system_;
};

PipeWireMidi::PipeWireMidi(const std::string& applicationName)
    : parts_{.client{{applicationName, kRoundTrips}, *this}} {}

PipeWireMidi::~PipeWireMidi() {
    parts_.client.stop();
}

void PipeWireMidi::whenReady(std::function<void()> handler) {
    const bool isDecided = parts_.client.locked([&] {
        try {
            if (!parts_.client.reach({})) {
                ready_ = handler;
                return false;
            }
        } catch (const std::system_error&) {
            // There is no server: the other operations say so.
        }
        return true;
    });
    if (isDecided) {
        handler();
    }
}

std::unique_ptr<SourceObserver> PipeWireMidi::observeSources(SetupHandler handler) {
    if (isObserved_) {
        throw std::system_error(EBUSY, std::system_category());
    }
    auto observer = std::make_unique<Observer>(*this, std::move(handler));
    parts_.client.locked([this] {
        requireServer();
        parts_.sources.takeNotices(SourceList::Clock::now()); // older than the observer
        isObserved_ = true;
    });
    return observer;
}

std::unique_ptr<MidiInput> PipeWireMidi::openInput(const std::string& clientName,
                                                   const std::string& portName,
                                                   PacketHandler handler) {
    if (parts_.input != nullptr) {
        throw std::system_error(EBUSY, std::system_category());
    }
    parts_.client.locked([this] { requireServer(); });
    auto input = std::make_unique<PipeWireInput>(parts_, clientName, portName, std::move(handler));
    input->open();
    return input;
}

std::vector<Source> PipeWireMidi::sources() {
    return parts_.client.locked([this] {
        std::vector<Source> all;
        for (const SourceList::Entry* const entry : parts_.sources.listed()) {
            all.push_back({entry->reference,
                           entry->name.empty() ? std::nullopt : std::optional(entry->name)});
        }
        return all;
    });
}

// Loop locked.
void PipeWireMidi::requireServer() {
    pipewire::Client& client = parts_.client;
    if (!client.hasBeenAnswered() || client.connection() == nullptr) {
        throw std::system_error(EHOSTDOWN, std::system_category());
    }
    if (!parts_.sources.hasServer() && client.answeredConnection() != nullptr) {
        parts_.sources.serverBack(SourceList::Clock::now());
    }
}

void PipeWireMidi::connected(pipewire::Connection& connection) {
    ports_.emplace(connection, parts_.sources, [this] { parts_.client.wake(); });
}

void PipeWireMidi::disconnecting() {
    if (parts_.input != nullptr) {
        parts_.input->disconnecting();
    }
    ports_.reset();
    parts_.sources.serverLost();
}

bool PipeWireMidi::reconcile() {
    const auto now = SourceList::Clock::now();
    if (parts_.client.answeredConnection() != nullptr) {
        if (!parts_.sources.hasServer()) {
            parts_.sources.serverBack(now);
        }
        if (parts_.input != nullptr) {
            parts_.input->reconcile(now);
        }
    }
    for (const SetupChange change : parts_.sources.takeNotices(now)) {
        if (isObserved_) {
            parts_.thread.notify(change);
        }
    }
    if (ready_ && parts_.client.hasBeenAnswered()) {
        std::exchange(ready_, nullptr)();
    }
    return parts_.sources.somethingIsMissing() ||
           (parts_.input != nullptr && parts_.input->willRetry());
}

} // namespace tessivo::midi
