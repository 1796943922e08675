#include "Audio/MIDIManager.h"

#include "Platform/System/CommandMoment.h"
#include "Platform/System/LogLine.h"
#include "Platform/System/MainQueue.h"

#include <QCoreApplication>
#include <QThread>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

namespace tessivo {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kLearnedShown{100};
constexpr milliseconds kTriggeredShown{300};

// How long notes may occupy the main thread at a time, and the pause after it, in which the
// window is served. The pause needs a timer, because posted events go before painting.
constexpr milliseconds kLongestBatch{4};
constexpr milliseconds kPause{1};

// The upper half of the status byte of a Note On; the lower half is the channel, and all channels
// count. Velocity 0 counts too, although MIDI defines that as a Note Off.
constexpr std::uint8_t kNoteOn = 9;

std::string noteName(std::uint8_t note) {
    return MIDIUtils::midiNoteToName(note).toStdString();
}

std::string numberAndName(std::uint8_t note) {
    return std::to_string(note) + " (" + noteName(note) + ")";
}

// The errno value as the diagnostic lines show it: negated.
std::string statusOf(int error) {
    return std::to_string(-error);
}

std::string spoken(TransportAction action) {
    return displayName(action).toStdString();
}

void runLater(milliseconds delay, MainQueue::Task task) {
    MainQueue::postAfter(delay, QCoreApplication::instance(), std::move(task));
}

// The system of the next shared manager.
std::shared_ptr<midi::MidiSystem>& sharedSystem() {
    static std::shared_ptr<midi::MidiSystem> system;
    return system;
}

// The last owner may be a handler on the MIDI thread. Closing the input waits for the end of that
// handler, so it must not be done there.
void destroyOnMainThread(MIDIManager* manager) {
    if (QThread::currentThread() == manager->thread()) {
        delete manager;
    } else {
        MainQueue::post([manager] { delete manager; });
    }
}

} // namespace

void MIDIManager::setSharedSystem(std::shared_ptr<midi::MidiSystem> system) {
    sharedSystem() = std::move(system);
}

MIDIManager& MIDIManager::shared() {
    static auto& instance = *new std::shared_ptr<MIDIManager>;
    if (!instance) {
        if (!sharedSystem()) {
            throw std::logic_error("The shared MIDI manager has no MIDI system");
        }
        instance = make(std::move(sharedSystem()));
        // Posted work and delayed changes may own the manager for longer, but nothing may be
        // posted once the application object is destroyed.
        qAddPostRoutine([] {
            instance->tearDown();
            instance.reset();
        });
    }
    return *instance;
}

std::shared_ptr<MIDIManager> MIDIManager::make(std::shared_ptr<midi::MidiSystem> system,
                                               std::size_t mostNotesOfKey) {
    std::shared_ptr<MIDIManager> manager(new MIDIManager(std::move(system), mostNotesOfKey),
                                         destroyOnMainThread);
    manager->start();
    return manager;
}

MIDIManager::MIDIManager(std::shared_ptr<midi::MidiSystem> system, std::size_t mostNotesOfKey)
    : system_(std::move(system))
    , mostNotesOfKey_(mostNotesOfKey)
    , toldLostPackets_(system_->lostPackets()) {}

MIDIManager::~MIDIManager() {
    tearDown();
}

void MIDIManager::start() {
    setConfiguration(MIDIConfiguration::load());
    logLine("📁 MIDI configuration loaded");
    system_->whenReady([weak = weak_from_this()] {
        MainQueue::post([weak] {
            if (const auto self = weak.lock()) {
                self->startMIDI();
            }
        });
    });
}

void MIDIManager::startMIDI() {
    setupMIDI();
    refreshAvailableDevices();
    autoConnectFirstDevice();
}

void MIDIManager::setupMIDI() {
    const char* made = "client";
    try {
        observer_ = system_->observeSources([weak = weak_from_this()](midi::SetupChange change) {
            if (const auto self = weak.lock()) {
                self->handleMIDINotification(change);
            }
        });
        made = "input port";
        input_ = system_->openInput("Tessivo", "TessivoInput",
                                    [weak = weak_from_this()](midi::PacketList packets) {
                                        if (const auto self = weak.lock()) {
                                            self->handleMIDIPacketList(packets);
                                        }
                                    });
        logLine("✅ MIDI system initialized successfully");
    } catch (const std::system_error& error) {
        logLine("❌ Failed to create MIDI " + std::string(made) + ": " +
                statusOf(error.code().value()));
    }
}

void MIDIManager::tearDown() {
    input_.reset();
    observer_.reset();
}

void MIDIManager::setConfiguration(const MIDIConfiguration& configuration) {
    publish(configuration_, configuration, &MIDIManager::configurationChanged);
}

void MIDIManager::setAvailableDevices(std::vector<MIDISource> devices) {
    publish(availableDevices_, std::move(devices), &MIDIManager::availableDevicesChanged);
}

void MIDIManager::setLastTriggeredAction(std::optional<TransportAction> action) {
    publish(lastTriggeredAction_, action, &MIDIManager::lastTriggeredActionChanged);
}

void MIDIManager::connectToDevice(midi::SourceRef source, const QString& name) {
    dropConnection();
    const auto outcome = [weak = weak_from_this(), number = connectionNumber_, name](int error) {
        MainQueue::post([weak, number, name, error] {
            const auto self = weak.lock();
            if (self && self->connectionNumber_ == number) {
                self->tellConnected(name, error);
            }
        });
    };
    try {
        if (!input_) {
            throw std::system_error(EINVAL, std::system_category());
        }
        input_->connect(source, outcome);
    } catch (const std::system_error& error) {
        tellConnected(name, error.code().value());
    }
}

void MIDIManager::tellConnected(const QString& name, int error) {
    if (error != 0) {
        logLine("❌ Failed to connect to MIDI device: " + name.toStdString() +
                ", status: " + statusOf(error));
        return;
    }
    publish(deviceName_, std::optional(name), &MIDIManager::deviceNameChanged);
    publish(isConnected_, true, &MIDIManager::isConnectedChanged);
    logLine("✅ Connected to MIDI device: " + name.toStdString());
}

void MIDIManager::dropConnection() {
    ++connectionNumber_;
    if (input_) {
        input_->disconnect();
    }
    publish(isConnected_, false, &MIDIManager::isConnectedChanged);
    publish(deviceName_, std::nullopt, &MIDIManager::deviceNameChanged);
}

void MIDIManager::refreshAvailableDevices() {
    setAvailableDevices(MIDIUtils::getAvailableMIDISources(*system_));
}

void MIDIManager::autoConnectFirstDevice() {
    refreshAvailableDevices();
    if (!availableDevices_.empty() && !isConnected_) {
        const MIDISource first = availableDevices_.front();
        connectToDevice(first.source, first.name);
    }
}

void MIDIManager::handleMIDINotification(midi::SetupChange change) {
    logLine("🔔 MIDI notification: " + std::to_string(static_cast<std::int32_t>(change)));
    if (change == midi::SetupChange::setupChanged || change == midi::SetupChange::objectAdded ||
        change == midi::SetupChange::objectRemoved) {
        MainQueue::post([self = shared_from_this()] { self->handleSourcesChanged(); });
    }
}

void MIDIManager::handleSourcesChanged() {
    refreshAvailableDevices();
    if (!isConnected_ || !deviceName_) {
        return;
    }
    // By name: a device that was plugged in again has another reference.
    const bool isThere =
        std::any_of(availableDevices_.begin(), availableDevices_.end(),
                    [this](const MIDISource& device) { return device.name == deviceName_; });
    if (!isThere) {
        dropConnection();
        autoConnectFirstDevice();
    }
}

void MIDIManager::handleMIDIPacketList(midi::PacketList packets) {
    for (const midi::Packet& packet : packets) {
        if (packet.bytes.size() < 3 || packet.bytes[0] >> 4 != kNoteOn) {
            continue;
        }
        const std::uint8_t note = packet.bytes[1];
        logLine("🎵 MIDI Note On: " + numberAndName(note) +
                " velocity: " + std::to_string(packet.bytes[2]));
        postNote({note, Moment(std::chrono::nanoseconds(packet.time))});
    }
    if (system_->lostPackets() != toldLostPackets_.load()) {
        postProcessing();
    }
}

void MIDIManager::postNote(PlayedNote note) {
    {
        const std::scoped_lock lock(notesMutex_);
        if (notesOfKey_[note.number] >= mostNotesOfKey_) {
            ++droppedNotes_;
            return;
        }
        ++notesOfKey_[note.number];
        notes_.push_back(note);
    }
    postProcessing();
}

void MIDIManager::postProcessing() {
    {
        const std::scoped_lock lock(notesMutex_);
        if (std::exchange(isProcessingPosted_, true)) {
            return;
        }
    }
    MainQueue::post([self = shared_from_this()] { self->processNotes(); });
}

void MIDIManager::processNotes() {
    const auto end = steady_clock::now() + kLongestBatch;
    while (const auto note = nextNote()) {
        processMIDINote(*note);
        if (steady_clock::now() >= end) {
            runLater(kPause, [self = shared_from_this()] { self->processNotes(); });
            return;
        }
    }
    tellLosses();
}

std::optional<MIDIManager::PlayedNote> MIDIManager::nextNote() {
    const std::scoped_lock lock(notesMutex_);
    if (notes_.empty()) {
        isProcessingPosted_ = false;
        return {};
    }
    const PlayedNote note = notes_.front();
    notes_.pop_front();
    --notesOfKey_[note.number];
    return note;
}

void MIDIManager::tellLosses() {
    std::uint64_t dropped = 0;
    {
        const std::scoped_lock lock(notesMutex_);
        dropped = std::exchange(droppedNotes_, 0);
    }
    if (dropped != 0) {
        logLine("⚠️ MIDI notes dropped, too many were waiting: " + std::to_string(dropped));
    }
    const std::uint64_t lost = system_->lostPackets();
    const std::uint64_t told = toldLostPackets_.exchange(lost);
    if (lost != told) {
        logLine("⚠️ MIDI packets lost, too many came at once: " + std::to_string(lost - told));
    }
}

void MIDIManager::processMIDINote(PlayedNote played) {
    const std::uint8_t note = played.number;
    if (isLearningMode_ && learningAction_) {
        learn(*learningAction_, note);
        return;
    }
    if (const auto action = configuration_.actionForNote(note)) {
        setLastTriggeredAction(action);
        MainQueue::runPosted();
        {
            const CommandMoment scope(believable(played.at));
            triggerTransportAction(*action);
        }
        runLater(kTriggeredShown,
                 [self = shared_from_this()] { self->setLastTriggeredAction({}); });
        logLine("🎬 MIDI triggered: " + spoken(*action));
        return;
    }
    logLine("🎵 Unmapped MIDI note: " + numberAndName(note));
}

void MIDIManager::learn(TransportAction action, std::uint8_t note) {
    MIDIConfiguration learned = configuration_;
    learned.setNoteForAction(action, note);
    setConfiguration(learned);
    setLastTriggeredAction(action);
    runLater(kLearnedShown, [self = shared_from_this()] {
        self->stopLearning();
        self->setLastTriggeredAction({});
    });
    logLine("🎯 Learned: " + spoken(action) + " → " + noteName(note) + " (" + std::to_string(note) +
            ")");
}

void MIDIManager::triggerTransportAction(TransportAction action) {
    // A copy, because the callback may set another one.
    const Callback callback = [this, action] {
        switch (action) {
        case TransportAction::record:
            return onRecord;
        case TransportAction::play:
            return onPlay;
        case TransportAction::stop:
            return onStop;
        case TransportAction::clear:
            break;
        }
        return onClear;
    }();
    if (callback) {
        callback();
    }
}

void MIDIManager::startLearning(TransportAction action) {
    publish(isLearningMode_, true, &MIDIManager::isLearningModeChanged);
    publish(learningAction_, action, &MIDIManager::learningActionChanged);
    logLine("🎹 Learning mode started for " + spoken(action) + ". Press a MIDI key...");
}

void MIDIManager::stopLearning() {
    publish(isLearningMode_, false, &MIDIManager::isLearningModeChanged);
    publish(learningAction_, std::nullopt, &MIDIManager::learningActionChanged);
    logLine("🎹 Learning mode stopped");
}

void MIDIManager::saveConfiguration() {
    configuration_.save();
    logLine("💾 MIDI configuration saved");
}

} // namespace tessivo
