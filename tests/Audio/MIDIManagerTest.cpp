#include "Audio/MIDIManagerRig.h"

#include "Platform/System/LogLine.h"

#include <QCoreApplication>
#include <QThread>

#include <cerrno>
#include <future>

using namespace tessivo;
using namespace tessivo::test;
using midi::SetupChange;
using Action = TransportAction;

static constexpr std::uint8_t kRecordNote = 80;

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
    EXPECT_TRUE(rig.system->inputWentFirst());

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
