#include "Audio/MIDIManager.h"

#include "Platform/System/CommandMoment.h"
#include "Platform/System/LogLine.h"
#include "Platform/System/MainQueue.h"
#include "support/QtTestSupport.h"
#include "support/VirtualMidi.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QThread>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <future>
#include <utility>

using namespace tessivo;
using namespace tessivo::test;
using midi::SetupChange;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

using Action = TransportAction;
using Actions = std::vector<std::optional<Action>>;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kRecordNote = 80;
constexpr std::uint8_t kPlayNote = 0;

Bytes noteOn(std::uint8_t note) {
    return {0x90, note, 100};
}

// A manager with the sources of these names, and the main thread's loop in the test's hand.
struct ManagerRig {
    explicit ManagerRig(const std::vector<std::string>& names, bool started = true) {
        // The notices of the sources are over before the manager could hear of them.
        std::atomic<bool> quiet{false};
        auto observer = system->observeSources(
            [&](SetupChange change) { quiet = change == SetupChange::propertyChanged; });
        for (const std::string& name : names) {
            sources.push_back(system->addSource(name));
        }
        system->notify(SetupChange::propertyChanged);
        EXPECT_TRUE(eventually([&] { return quiet.load(); }));
        observer.reset();
        if (started) {
            start();
            lines.take();
        }
    }
    ~ManagerRig() {
        if (manager) {
            manager->onRecord = manager->onPlay = manager->onStop = manager->onClear = {};
        }
    }

    void start(std::size_t mostNotesOfKey = MIDIManager::kMostNotesOfKey) {
        manager = MIDIManager::make(system, mostNotesOfKey);
        const auto noting = [this](Action action) {
            return [this, action] {
                triggered.emplace_back(action);
            };
        };
        manager->onRecord = noting(Action::record);
        manager->onPlay = noting(Action::play);
        manager->onStop = noting(Action::stop);
        runPosted();
    }

    // All lines up to the moment at which the MIDI thread has done all that was sent so far.
    Lines linesOfMidiThread() {
        const std::string last = "🔔 MIDI notification: 4";
        Lines said;
        system->notify(SetupChange::propertyChanged);
        EXPECT_TRUE(eventually([&] {
            const Lines more = lines.take();
            said.insert(said.end(), more.begin(), more.end());
            return !said.empty() && said.back() == last;
        }));
        said.pop_back();
        return said;
    }
    // And what the main thread says to it.
    Lines played(const std::vector<Bytes>& packets, std::size_t source = 0) {
        EXPECT_TRUE(system->send(sources[source], packets));
        return said();
    }
    Lines said() {
        Lines all = linesOfMidiThread();
        runPosted();
        const Lines onMain = lines.take();
        all.insert(all.end(), onMain.begin(), onMain.end());
        return all;
    }
    bool isDisconnected() const {
        return !manager->isConnected() && !manager->deviceName() && system->connected() == 0;
    }
    bool isConnectedTo(std::size_t source, const QString& name) const {
        return manager->isConnected() && manager->deviceName() == name &&
               system->connected() == sources[source];
    }
    std::vector<QString> listed() const {
        std::vector<QString> names;
        for (const MIDISource& device : manager->availableDevices()) {
            names.push_back(device.name);
        }
        return names;
    }

    TemporaryHome home;
    CapturedLines lines;
    std::shared_ptr<midi::VirtualMidi> system = std::make_shared<midi::VirtualMidi>();
    std::vector<midi::SourceRef> sources;
    Actions triggered;
    std::shared_ptr<MIDIManager> manager;
};

} // namespace

TEST(MIDIManagerTest, ConnectsTheFirstSourceAtItsStartAndSaysWhatFails) {
    using V = midi::VirtualMidi;
    const std::string loaded = "📁 MIDI configuration loaded";
    const std::string ready = "✅ MIDI system initialized successfully";
    const std::string failed = "❌ Failed to connect to MIDI device: Keys, status: ";
    struct Case {
        int V::*failing;
        Lines lines;
    };
    for (const Case& c : std::vector<Case>{
             {nullptr, {loaded, ready, "✅ Connected to MIDI device: Keys"}},
             {&V::failObserve, {loaded, "❌ Failed to create MIDI client: -7", failed + "-22"}},
             {&V::failOpen, {loaded, "❌ Failed to create MIDI input port: -7", failed + "-22"}},
             {&V::failConnect, {loaded, ready, failed + "-7"}}}) {
        ManagerRig rig({"Keys", "Pads"}, false);
        if (c.failing != nullptr) {
            (*rig.system).*c.failing = 7;
        }
        rig.start();
        EXPECT_EQ(rig.lines.take(), c.lines);
        EXPECT_EQ(rig.listed(), (std::vector<QString>{"Keys", "Pads"}));
        EXPECT_EQ(rig.isConnectedTo(0, "Keys"), c.failing == nullptr);
        EXPECT_EQ(rig.isDisconnected(), c.failing != nullptr);
    }
    ManagerRig rig({}, false);
    MIDIConfiguration{9, 8, 7, 6}.save();
    rig.start();
    EXPECT_EQ(rig.lines.take(), (Lines{loaded, ready}));
    EXPECT_TRUE(rig.isDisconnected());
    EXPECT_EQ(rig.manager->configuration(), (MIDIConfiguration{9, 8, 7, 6}));
}

TEST(MIDIManagerTest, ObeysTheNoteOnThatBeginsAPacketAndIgnoresEverythingElse) {
    ManagerRig rig({"Keys"});
    EXPECT_EQ(rig.played({{0x93, 0x3C, 0x64}}),
              (Lines{"🎵 MIDI Note On: 60 (C4) velocity: 100", "🎵 Unmapped MIDI note: 60 (C4)"}));
    EXPECT_EQ(rig.played({{0x90, 0x50, 0x00}}),
              (Lines{"🎵 MIDI Note On: 80 (G#5) velocity: 0", "🎬 MIDI triggered: Record"}));
    // Note off, too short, data bytes first, other messages, a callback that nobody has set.
    EXPECT_EQ(rig.played({{0x80, 0x50, 0x40},
                          {0x90, 0x50},
                          {},
                          {0x3C, 0x50, 0x64},
                          {0xB0, 0x50, 0x64},
                          {0xF0, 0x90, 0x50, 0x64},
                          {0xF8}}),
              Lines());
    EXPECT_EQ(rig.played({noteOn(2)}),
              (Lines{"🎵 MIDI Note On: 2 (D-1) velocity: 100", "🎬 MIDI triggered: Clear"}));
    EXPECT_EQ(rig.triggered, Actions{Action::record});

    rig.triggered.clear();
    EXPECT_EQ(rig.played({{0x90, 1, 9, 0x90, 80, 9}, {0x95, 80, 1}, {0xF8, 80, 1}, {0x9F, 0, 3}}),
              (Lines{"🎵 MIDI Note On: 1 (C#-1) velocity: 9", "🎵 MIDI Note On: 80 (G#5) velocity: 1",
                     "🎵 MIDI Note On: 0 (C-1) velocity: 3", "🎬 MIDI triggered: Stop",
                     "🎬 MIDI triggered: Record", "🎬 MIDI triggered: Play"}));
    EXPECT_EQ(rig.triggered, (Actions{Action::stop, Action::record, Action::play}));
    std::vector<Bytes> channels;
    for (std::uint8_t status = 0x90; status < 0xA0; ++status) {
        channels.push_back({status, kPlayNote, 1});
    }
    rig.triggered.clear();
    rig.played(channels);
    EXPECT_EQ(rig.triggered, Actions(16, Action::play));
}

TEST(MIDIManagerTest, ACommandIsGivenWhenItsNoteIsDue) {
    ManagerRig rig({"Keys"});
    std::vector<Moment> given;
    std::size_t written = 0;
    rig.manager->onPlay = [&] {
        EXPECT_EQ(written, given.size()) << "before what the previous command has posted";
        given.push_back(CommandMoment::current());
        MainQueue::post([&written] { ++written; });
    };
    const Moment now = momentNow();
    const std::vector<Bytes> note{noteOn(kPlayNote)};
    for (const Moment due : {now - milliseconds(150), now - milliseconds(50000), Moment{}}) {
        ASSERT_TRUE(rig.system->send(rig.sources[0], note, due));
    }
    rig.said();
    ASSERT_EQ(given.size(), 3U);
    EXPECT_EQ(given[0], now - milliseconds(150));
    EXPECT_GE(given[1], now) << "a note that is too old";
    EXPECT_GE(given[2], given[1]);
    EXPECT_GE(CommandMoment::current(), given[2]);
}

TEST(MIDIManagerTest, ShowsATriggeredActionUntilTheEarliestClearWhichALaterOneDoesNotCancel) {
    ManagerRig rig({"Keys"});
    Actions shown;
    std::vector<steady_clock::time_point> times;
    QObject::connect(rig.manager.get(), &MIDIManager::lastTriggeredActionChanged, [&] {
        shown.push_back(rig.manager->lastTriggeredAction());
        times.push_back(steady_clock::now());
    });
    rig.manager->onPlay = [&] {
        EXPECT_EQ(shown.size(), 2U); // before it is done
    };
    rig.played({noteOn(kRecordNote)});
    runFor(milliseconds(150));
    rig.played({noteOn(kPlayNote)});
    EXPECT_TRUE(runUntil([&] { return shown.size() >= 4; }));
    ASSERT_EQ(shown, (Actions{Action::record, Action::play, {}, {}}));
    EXPECT_GE(times[2] - times[0], milliseconds(300));
    EXPECT_LT(times[2] - times[1], milliseconds(300));
    EXPECT_GE(times[3] - times[1], milliseconds(300));
}

TEST(MIDIManagerTest, LearnsNotesForATenthOfASecondAfterTheFirst) {
    ManagerRig rig({"Keys"});
    MIDIManager& manager = *rig.manager;
    manager.startLearning(Action::clear);
    manager.startLearning(Action::play);
    EXPECT_EQ(rig.lines.take(), (Lines{"🎹 Learning mode started for Clear. Press a MIDI key...",
                                       "🎹 Learning mode started for Play. Press a MIDI key..."}));
    const auto start = steady_clock::now();
    std::vector<steady_clock::time_point> stops;
    QObject::connect(&manager, &MIDIManager::isLearningModeChanged,
                     [&] { stops.push_back(steady_clock::now()); });
    EXPECT_EQ(rig.played({noteOn(60)}),
              (Lines{"🎵 MIDI Note On: 60 (C4) velocity: 100", "🎯 Learned: Play → C4 (60)"}));
    EXPECT_EQ(rig.played({noteOn(kRecordNote)}).back(), "🎯 Learned: Play → G#5 (80)");
    EXPECT_TRUE(manager.isLearningMode());
    EXPECT_EQ(manager.learningAction(), Action::play);
    EXPECT_EQ(manager.lastTriggeredAction(), Action::play);
    EXPECT_TRUE(runUntil([&] { return stops.size() == 2; }));
    EXPECT_GE(stops[0] - start, milliseconds(100));
    EXPECT_LT(stops[0] - start, milliseconds(300));
    EXPECT_EQ(rig.lines.take(), Lines(2, "🎹 Learning mode stopped"));
    EXPECT_FALSE(manager.isLearningMode() || manager.learningAction());
    EXPECT_EQ(manager.lastTriggeredAction(), std::nullopt);

    // The first command of a note that two share; nothing is stored before it is asked for.
    const MIDIConfiguration learned{kRecordNote, kRecordNote, 1, 2};
    EXPECT_EQ(manager.configuration(), learned);
    EXPECT_TRUE(rig.triggered.empty());
    rig.played({noteOn(kRecordNote)});
    EXPECT_EQ(rig.triggered, Actions{Action::record});
    EXPECT_EQ(MIDIConfiguration::load(), MIDIConfiguration());
    manager.saveConfiguration();
    EXPECT_EQ(rig.lines.take(), Lines{"💾 MIDI configuration saved"});
    EXPECT_EQ(MIDIConfiguration::load(), learned);

    manager.startLearning(Action::stop);
    manager.stopLearning();
    manager.stopLearning();
    EXPECT_EQ(rig.lines.take(), (Lines{"🎹 Learning mode started for Stop. Press a MIDI key...",
                                       "🎹 Learning mode stopped", "🎹 Learning mode stopped"}));
    EXPECT_EQ(rig.played({noteOn(1)}).back(), "🎬 MIDI triggered: Stop");
}

TEST(MIDIManagerTest, ConnectsWhatRemainsWhenItsDeviceGoesAndOnlyListsWhatComes) {
    ManagerRig rig({"Keys", "Pads"});
    MIDIManager& manager = *rig.manager;
    // While it learns, and with a note on its way, which still counts.
    manager.startLearning(Action::stop);
    rig.system->send(rig.sources[0], noteOn(33));
    EXPECT_EQ(rig.linesOfMidiThread().back(), "🎵 MIDI Note On: 33 (A1) velocity: 100");
    rig.system->removeSource(rig.sources[0]);
    EXPECT_EQ(rig.said(), (Lines{"🔔 MIDI notification: 3", "🎯 Learned: Stop → A1 (33)",
                                 "✅ Connected to MIDI device: Pads"}));
    EXPECT_TRUE(rig.isConnectedTo(1, "Pads"));
    EXPECT_EQ(rig.listed(), std::vector<QString>{"Pads"});
    EXPECT_TRUE(manager.isLearningMode());
    EXPECT_EQ(rig.played({noteOn(34)}, 1).back(), "🎯 Learned: Stop → A#1 (34)");

    // A device is known by its name: while another one has it, nothing changes.
    rig.sources.push_back(rig.system->addSource("Pads"));
    rig.system->removeSource(rig.sources[1]);
    EXPECT_EQ(rig.said(), (Lines{"🔔 MIDI notification: 2", "🔔 MIDI notification: 3"}));
    EXPECT_TRUE(manager.isConnected());
    EXPECT_EQ(rig.system->connections(), 2U);

    rig.system->removeSource(rig.sources[2]);
    rig.said();
    EXPECT_TRUE(rig.isDisconnected());
    EXPECT_TRUE(rig.listed().empty());
    rig.sources.push_back(rig.system->addSource("Pads"));
    EXPECT_EQ(rig.said(), Lines{"🔔 MIDI notification: 2"});
    EXPECT_TRUE(rig.isDisconnected());
    EXPECT_EQ(rig.listed(), std::vector<QString>{"Pads"});

    int lists = 0;
    QObject::connect(&manager, &MIDIManager::availableDevicesChanged, [&lists] { ++lists; });
    EXPECT_EQ(rig.said(), Lines()); // but for the line of kind 4, which ends it
    for (const std::int32_t kind : {6, 1}) {
        EXPECT_EQ(lists, 0);
        rig.system->notify(static_cast<SetupChange>(kind));
        EXPECT_EQ(rig.said(), Lines{"🔔 MIDI notification: " + std::to_string(kind)});
    }
    EXPECT_EQ(lists, 1);
}

TEST(MIDIManagerTest, DropsTheConnectionBeforeItMakesTheNext) {
    ManagerRig rig({"Keys", "Pads"});
    MIDIManager& manager = *rig.manager;
    manager.connectToDevice(rig.sources[1], "Pads");
    EXPECT_FALSE(manager.isConnected()) << "the answer has not come";
    runPosted();
    EXPECT_TRUE(rig.isConnectedTo(1, "Pads"));
    manager.autoConnectFirstDevice(); // connected, though not to the first
    runPosted();
    EXPECT_TRUE(rig.isConnectedTo(1, "Pads"));
    manager.connectToDevice(rig.sources[0], "Keys"); // an answer that comes too late
    manager.connectToDevice(rig.sources[1], "Pads");
    runPosted();
    EXPECT_EQ(rig.system->connections(), 4U);
    EXPECT_TRUE(rig.isConnectedTo(1, "Pads"));
    rig.system->failConnect = EIO;
    manager.connectToDevice(rig.sources[0], "Keys");
    runPosted();
    EXPECT_TRUE(rig.isDisconnected());
    EXPECT_EQ(rig.lines.take(),
              (Lines{"✅ Connected to MIDI device: Pads", "✅ Connected to MIDI device: Pads",
                     "❌ Failed to connect to MIDI device: Keys, status: -5"}));
}

TEST(MIDIManagerTest, EndsOnTheMainThreadWhenTheLastToUseItHasDone) {
    ManagerRig rig({"Keys"});
    const std::weak_ptr<MIDIManager> weak = rig.manager;
    rig.played({noteOn(kRecordNote)});
    rig.manager.reset(); // the delayed clear has it still
    EXPECT_FALSE(weak.expired());
    EXPECT_TRUE(runUntil([&] { return weak.expired(); }));
    EXPECT_FALSE(rig.system->isOpen() || rig.system->isObserved());

    // The last to use it is a handler on the MIDI thread; notes that come after it are too late.
    rig.start();
    std::promise<void> reached;
    std::promise<void> release;
    std::atomic<int> others{0};
    setLogSink([&](std::string_view line) {
        if (line == "🔔 MIDI notification: 6") {
            reached.set_value();
            release.get_future().wait();
        } else {
            ++others;
        }
    });
    rig.system->notify(static_cast<SetupChange>(6));
    reached.get_future().wait();
    rig.system->send(rig.sources[0], noteOn(kRecordNote));
    std::atomic<QThread*> endedOn{nullptr};
    QObject::connect(rig.manager.get(), &QObject::destroyed,
                     [&] { endedOn = QThread::currentThread(); });
    rig.manager.reset();
    release.set_value();
    EXPECT_TRUE(runUntil([&] { return endedOn != nullptr; }));
    EXPECT_EQ(endedOn, QThread::currentThread());
    EXPECT_FALSE(rig.system->isOpen() || rig.system->isObserved());
    EXPECT_EQ(rig.triggered, Actions{Action::record}); // the one at the beginning
    EXPECT_EQ(others, 0);
    setLogSink({});
}

TEST(MIDIManagerTest, GetsAllMappedNotesOutOfAFloodInShortTurns) {
    constexpr std::uint32_t kNotes = 50'000;
    ManagerRig rig({"Keys"}, false);
    rig.start(kNotes);
    rig.lines.take();
    std::vector<Bytes> flood;
    for (std::uint32_t n = 0; n < kNotes; ++n) {
        flood.push_back(noteOn(n % 10 == 0 ? kPlayNote : static_cast<std::uint8_t>(3 + n % 70)));
    }
    EXPECT_TRUE(rig.system->send(rig.sources[0], flood));
    EXPECT_EQ(rig.linesOfMidiThread().size(), kNotes);
    std::clock_t longest = 0; // processor time: the machine is not always ours
    const std::clock_t start = std::clock();
    EXPECT_TRUE(runUntil([&, turn = start]() mutable {
        const std::clock_t end = std::clock();
        longest = std::max(longest, end - std::exchange(turn, end));
        return rig.triggered.size() == kNotes / 10;
    }));
    EXPECT_EQ(rig.triggered, Actions(kNotes / 10, Action::play));
    EXPECT_LT(longest, (std::clock() - start) / 2); // most of it would be one turn's
}

TEST(MIDIManagerTest, SaysHowMuchWasLost) {
    ManagerRig rig({"Keys"}, false);
    rig.start(1);
    rig.lines.take();
    const Lines said = rig.played({noteOn(0), noteOn(1), noteOn(80), noteOn(80), noteOn(1)});
    EXPECT_EQ(rig.triggered, (Actions{Action::play, Action::stop, Action::record}));
    EXPECT_EQ(said.back(), "⚠️ MIDI notes dropped, too many were waiting: 2");
    EXPECT_FALSE(rig.system->send(rig.sources[0], Bytes(midi::kPacketQueueBytes)));
    EXPECT_EQ(rig.played({{0xF8}}), Lines{"⚠️ MIDI packets lost, too many came at once: 1"});
    EXPECT_EQ(rig.played({noteOn(1)}).back(), "🎬 MIDI triggered: Stop");
}

TEST(MIDIManagerTest, TheSharedOneLetsGoOfTheSystemWhenTheApplicationEnds) {
    static const auto system = std::make_shared<midi::VirtualMidi>();
    // Called after the manager's own: a failure can only be shown by the end of the process.
    qAddPostRoutine([] {
        if (system->isOpen() || system->isObserved()) {
            std::abort();
        }
    });
    const TemporaryHome home;
    const CapturedLines lines;
    EXPECT_THROW(MIDIManager::shared(), std::logic_error) << "it has no MIDI system yet";
    MIDIManager::setSharedSystem(system);
    const midi::SourceRef keys = system->addSource("Keys");
    MIDIManager& manager = MIDIManager::shared();
    EXPECT_EQ(&manager, &MIDIManager::shared());
    runPosted();
    ASSERT_EQ(system->connected(), keys);
    ASSERT_TRUE(system->send(keys, noteOn(kRecordNote)));
    EXPECT_TRUE(runUntil([&] { return manager.lastTriggeredAction() == Action::record; }));
}
