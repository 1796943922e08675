#pragma once

#include "Platform/Midi/MidiSystem.h"
#include "Platform/Midi/MidiThread.h"
#include "Platform/Midi/PipeWireInputPort.h"
#include "Platform/Midi/PipeWireLink.h"
#include "Platform/Midi/SourceList.h"
#include "Platform/PipeWire/Client.h"

#include <memory>
#include <string>

namespace tessivo::midi {

class PipeWireInput;

// What a MIDI system and its input have in common.
struct PipeWireMidiParts {
    MidiThread thread{};            // outlives the audio callback, which writes to its queue
    SourceList sources{};           // used with the loop locked, like the next
    PipeWireInput* input = nullptr; // the one that is open
    pipewire::Client client;
};

// The input of a PipeWire server's MIDI system. Its port and its link are made anew on every
// connection, and when somebody removes them.
class PipeWireInput final : public MidiInput {
public:
    PipeWireInput(PipeWireMidiParts& parts, const std::string& clientName,
                  const std::string& portName, PacketHandler handler);
    ~PipeWireInput() override;
    PipeWireInput(const PipeWireInput&) = delete;
    PipeWireInput& operator=(const PipeWireInput&) = delete;

    // To be called once. After a failure, which is thrown, the object must be destroyed.
    void open();
    void connect(SourceRef source, OutcomeHandler outcome) override;
    void disconnect() override;

    // The others with the loop locked.

    void disconnecting(); // as Client::User
    // While the server answers: makes or removes what has to be made or removed.
    void reconcile(SourceList::Clock::time_point now);
    bool willRetry() const; // reconcile() is to be called again in a while

private:
    void openPort();
    void removeLink();
    void tellOutcome(SourceList::Clock::time_point now);
    void finish(int error);

    PipeWireMidiParts& parts_;
    std::string clientName_;
    std::string portName_;

    SourceRef connected_ = 0;
    OutcomeHandler outcome_; // of the last connect(), until it is told
    SourceList::Clock::time_point activeBy_;
    SourceList::Clock::time_point retryAt_;
    std::unique_ptr<PipeWireInputPort> port_;
    std::unique_ptr<PipeWireLink> link_;
};

} // namespace tessivo::midi
