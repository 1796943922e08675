#pragma once

#include "Models/MIDIConfiguration.h"
#include "Models/TransportAction.h"
#include "Platform/Midi/MidiSystem.h"
#include "Platform/Realtime/Moment.h"
#include "Platform/System/ObservableObject.h"
#include "Utils/MIDIUtils.h"

#include <QString>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace tessivo {

// The one object that talks to the MIDI system: listens to one source, turns each Note On, of any
// channel and velocity, into the transport command of its note, learns notes, and keeps the list of
// sources up to date. Of a packet with several messages only the first is read.
//
// Everything runs on the main thread, callbacks included, except for the two handlers of the MIDI
// system's thread, which only log and post. Notes wait for the main thread in a list, of each key a
// limited number. More of them, because the main thread is blocked or the key is in a storm, are
// dropped; a line says how many.
//
// A command runs after all that had been posted to the main thread by then: it finds the state that
// the command before it left.
class MIDIManager : public ObservableObject, public std::enable_shared_from_this<MIDIManager> {
    Q_OBJECT
    Q_DISABLE_COPY(MIDIManager)
    Q_PROPERTY(bool isConnected READ isConnected NOTIFY isConnectedChanged)
    Q_PROPERTY(bool isLearningMode READ isLearningMode NOTIFY isLearningModeChanged)

public:
    using Callback = std::function<void()>;

    // More than anybody plays while the main thread is blocked, and few enough to be worked off
    // soon after a storm.
    static constexpr std::size_t kMostNotesOfKey = 128;

    // Sets the MIDI system of the shared manager. The program's entry calls this, once, before
    // anybody calls shared().
    static void setSharedSystem(std::shared_ptr<midi::MidiSystem> system);
    // The application's manager, created at the first call: loads the stored mapping and, as soon
    // as the MIDI system is ready, connects to the first source. Exists until the application
    // object is destroyed, and then releases the MIDI system, so that nothing more is posted.
    // Throws std::logic_error when no system was set.
    static MIDIManager& shared();

    // A manager on a system of its own. It is destroyed on the main thread, wherever its last
    // owner releases it. Notes that have been posted, and the delayed changes that follow them,
    // own it until they are done.
    static std::shared_ptr<MIDIManager> make(std::shared_ptr<midi::MidiSystem> system,
                                             std::size_t mostNotesOfKey = kMostNotesOfKey);

    ~MIDIManager() override;

    bool isConnected() const { return isConnected_; }
    // Of the connected source.
    const std::optional<QString>& deviceName() const { return deviceName_; }
    const MIDIConfiguration& configuration() const { return configuration_; }
    void setConfiguration(const MIDIConfiguration& configuration);
    // What was triggered or learned a moment ago.
    std::optional<TransportAction> lastTriggeredAction() const { return lastTriggeredAction_; }
    const std::vector<MIDISource>& availableDevices() const { return availableDevices_; }
    void setAvailableDevices(std::vector<MIDISource> devices);
    // The next note is assigned to the learning action and triggers nothing.
    bool isLearningMode() const { return isLearningMode_; }
    std::optional<TransportAction> learningAction() const { return learningAction_; }

    // What the commands do. Main thread. While one runs, the current CommandMoment is the time at
    // which the note was due.
    Callback onRecord;
    Callback onPlay;
    Callback onStop;
    Callback onClear;

    // Drops any previous connection first, also one to the same source. The new one is there when
    // the server has answered, and a diagnostic line says so; after a failure, which a line reports
    // too, nothing is connected.
    void connectToDevice(midi::SourceRef source, const QString& name);
    void refreshAvailableDevices();
    // Refreshes the list, and connects to its first source if nothing is connected.
    void autoConnectFirstDevice();

    void startLearning(TransportAction action); // switches when another one is being learned
    Q_INVOKABLE void stopLearning();

    Q_INVOKABLE void saveConfiguration();

signals:
    void isConnectedChanged();
    void deviceNameChanged();
    void configurationChanged();
    void lastTriggeredActionChanged();
    void availableDevicesChanged();
    void isLearningModeChanged();
    void learningActionChanged();

private:
    MIDIManager(std::shared_ptr<midi::MidiSystem> system, std::size_t mostNotesOfKey);

    void start(); // the part of the construction that needs weak_from_this()
    void startMIDI();
    void setupMIDI();
    void tearDown();

    struct PlayedNote {
        std::uint8_t number = 0;
        Moment at;
    };

    // MIDI thread.
    void handleMIDINotification(midi::SetupChange change);
    void handleMIDIPacketList(midi::PacketList packets);
    void postNote(PlayedNote note);
    void postProcessing();

    // Main thread.
    void handleSourcesChanged();
    void dropConnection();
    void tellConnected(const QString& name, int error);
    void processNotes();
    std::optional<PlayedNote> nextNote();
    void tellLosses();
    void processMIDINote(PlayedNote played);
    void learn(TransportAction action, std::uint8_t note);
    void triggerTransportAction(TransportAction action);
    void setLastTriggeredAction(std::optional<TransportAction> action);

    const std::shared_ptr<midi::MidiSystem> system_;
    std::unique_ptr<midi::SourceObserver> observer_;
    std::unique_ptr<midi::MidiInput> input_; // null when it could not be opened
    std::uint64_t connectionNumber_ = 0;     // a late answer about an earlier one does not count
    bool isConnected_ = false;
    std::optional<QString> deviceName_;
    MIDIConfiguration configuration_;
    std::optional<TransportAction> lastTriggeredAction_;
    std::vector<MIDISource> availableDevices_;
    bool isLearningMode_ = false;
    std::optional<TransportAction> learningAction_;

    const std::size_t mostNotesOfKey_;
    std::mutex notesMutex_; // of the next four
    std::deque<PlayedNote> notes_;
    std::array<std::size_t, 256> notesOfKey_{}; // how many of them are the key's
    bool isProcessingPosted_ = false;
    std::uint64_t droppedNotes_ = 0;             // since the last line about it
    std::atomic<std::uint64_t> toldLostPackets_; // the system's count at that line
};

} // namespace tessivo
