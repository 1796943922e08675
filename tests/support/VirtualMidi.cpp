#include "support/VirtualMidi.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace tessivo::midi {

namespace {

void failWith(int error) {
    if (error != 0) {
        throw std::system_error(error, std::system_category());
    }
}

} // namespace

class VirtualMidi::Observer final : public SourceObserver {
public:
    explicit Observer(VirtualMidi& system)
        : system_(system) {}
    ~Observer() override {
        system_.observed_ = false;
        system_.inputWentFirst_ = !system_.open_;
        system_.thread_.setSetupHandler({});
    }

private:
    VirtualMidi& system_;
};

class VirtualMidi::Input final : public MidiInput {
public:
    explicit Input(VirtualMidi& system)
        : system_(system) {}
    ~Input() override {
        disconnect();
        system_.open_ = false;
        system_.thread_.setPacketHandler({});
    }
    void connect(SourceRef source, OutcomeHandler outcome) override {
        const bool isThere =
            std::any_of(system_.sources_.begin(), system_.sources_.end(),
                        [source](const Source& s) { return s.reference == source; });
        failWith(isThere ? 0 : ENOENT);
        const int error = std::exchange(system_.failConnect, 0);
        if (error == 0) {
            system_.connected_ = source;
            ++system_.connections_;
        }
        outcome(error);
    }
    void disconnect() override { system_.connected_ = 0; }

private:
    VirtualMidi& system_;
};

SourceRef VirtualMidi::addSource(std::optional<std::string> name) {
    sources_.push_back({++lastReference_, std::move(name)});
    thread_.notify(SetupChange::objectAdded);
    return sources_.back().reference;
}

void VirtualMidi::removeSource(SourceRef source) {
    if (connected_ == source) {
        connected_ = 0;
    }
    std::erase_if(sources_, [source](const Source& s) { return s.reference == source; });
    thread_.notify(SetupChange::objectRemoved);
}

bool VirtualMidi::send(SourceRef source, std::span<const std::vector<std::uint8_t>> packets,
                       Moment due) {
    if (connected_ != source) {
        return false;
    }
    const auto time = static_cast<std::uint64_t>(due.time_since_epoch().count());
    bool all = true;
    for (const std::vector<std::uint8_t>& packet : packets) {
        all = thread_.queue().push(time, packet) && all;
    }
    thread_.wake();
    return all;
}

bool VirtualMidi::send(SourceRef source, std::vector<std::uint8_t> packet) {
    return send(source, std::span(&packet, 1));
}

std::unique_ptr<SourceObserver> VirtualMidi::observeSources(SetupHandler handler) {
    failWith(std::exchange(failObserve, 0));
    failWith(observed_ ? EBUSY : 0);
    observed_ = true;
    thread_.setSetupHandler(std::move(handler));
    return std::make_unique<Observer>(*this);
}

std::unique_ptr<MidiInput> VirtualMidi::openInput(const std::string& /*clientName*/,
                                                  const std::string& /*portName*/,
                                                  PacketHandler handler) {
    failWith(std::exchange(failOpen, 0));
    failWith(open_ ? EBUSY : 0);
    open_ = true;
    thread_.setPacketHandler(std::move(handler));
    return std::make_unique<Input>(*this);
}

} // namespace tessivo::midi
