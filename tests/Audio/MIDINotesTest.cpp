#include "Audio/MIDIManagerRig.h"

#include "Platform/System/CommandMoment.h"
#include "Platform/System/MainQueue.h"

#include <algorithm>
#include <ctime>
#include <utility>

using namespace tessivo;
using namespace tessivo::test;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using Action = TransportAction;

namespace {

constexpr std::uint8_t kRecordNote = 80;
constexpr std::uint8_t kPlayNote = 0;

} // namespace

TEST(MIDINotesTest, ObeysTheNoteOnThatBeginsAPacketAndIgnoresEverythingElse) {
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

TEST(MIDINotesTest, ACommandIsGivenWhenItsNoteIsDue) {
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

TEST(MIDINotesTest, ShowsATriggeredActionUntilTheEarliestClearWhichALaterOneDoesNotCancel) {
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
    rig.played({noteOn(kPlayNote)});
    EXPECT_TRUE(holdsAfter(milliseconds(340), [&] { return shown.size() == 4; }));
    ASSERT_EQ(shown, (Actions{Action::record, Action::play, {}, {}}));
    EXPECT_GE(times[2] - times[0], milliseconds(300));
    EXPECT_GE(times[3] - times[1], milliseconds(300));
}

TEST(MIDINotesTest, LearnsNotesForATenthOfASecondAfterTheFirst) {
    ManagerRig rig({"Keys"});
    MIDIManager& manager = *rig.manager;
    manager.startLearning(Action::clear);
    manager.startLearning(Action::play);
    EXPECT_EQ(rig.lines.take(), (Lines{"🎹 Learning mode started for Clear. Press a MIDI key...",
                                       "🎹 Learning mode started for Play. Press a MIDI key..."}));
    const auto start = steady_clock::now();
    std::vector<steady_clock::time_point> stops;
    for (const auto ended :
         {&MIDIManager::isLearningModeChanged, &MIDIManager::learningActionChanged}) {
        QObject::connect(&manager, ended, [&] { stops.push_back(steady_clock::now()); });
    }
    EXPECT_EQ(rig.played({noteOn(60)}),
              (Lines{"🎵 MIDI Note On: 60 (C4) velocity: 100", "🎯 Learned: Play → C4 (60)"}));
    EXPECT_EQ(rig.played({noteOn(kRecordNote)}).back(), "🎯 Learned: Play → G#5 (80)");
    EXPECT_TRUE(manager.isLearningMode());
    EXPECT_EQ(manager.learningAction(), Action::play);
    EXPECT_EQ(manager.lastTriggeredAction(), Action::play);
    EXPECT_TRUE(holdsAfter(milliseconds(140), [&] { return stops.size() == 4; }));
    EXPECT_GE(stops.at(0) - start, milliseconds(100));
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

TEST(MIDINotesTest, GetsAllMappedNotesOutOfAFloodInShortTurns) {
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

TEST(MIDINotesTest, SaysHowMuchWasLost) {
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
