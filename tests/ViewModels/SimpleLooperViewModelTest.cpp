#include "ViewModels/LooperRig.h"

#include "Audio/MIDIManager.h"
#include "Platform/System/CommandMoment.h"
#include "support/VirtualMidi.h"

#include <fstream>
#include <functional>
#include <tuple>

using namespace tessivo;
using namespace tessivo::test;
using std::chrono::milliseconds;
using T = TransportState;

TEST(SimpleLooperViewModelTest, StaysUsableWithoutAnEngine) {
    LooperRig rig("no server");
    EXPECT_EQ(rig.lines.take().back(), "Failed to start audio engine: no server");
    rig.record();
    EXPECT_EQ(rig.state->transportState(), T::recording);
    rig.stop();
    rig.lines.take();
    rig.expectPlayFails(); // the take has no frames
}

TEST(SimpleLooperViewModelTest, TakeComesAndGoesInTheStateAfterTheCommands) {
    LooperRig rig;
    rig.transportLines();
    rig.looper->recordButtonPressed();
    EXPECT_EQ(rig.state->transportState(), T::stopped);
    runPosted();
    EXPECT_EQ(rig.state->transportState(), T::recording);
    EXPECT_TRUE(rig.state->isRecording());

    const Channels input{noise(5000, 1), noise(5000, 2)};
    rig.feed(input);
    rig.looper->stopButtonPressed();
    EXPECT_EQ(rig.state->transportState(), T::recording);
    EXPECT_TRUE(rig.state->fileURL().isEmpty());
    runFor(milliseconds(150)); // stop does not start playback
    EXPECT_EQ(rig.state->transportState(), T::stopped);
    EXPECT_FALSE(rig.state->isRecording());
    EXPECT_TRUE(rig.state->canPlay() && rig.state->canSave() && rig.state->canClear());
    EXPECT_EQ(readFile(pathOf(rig.state->fileURL())), input);
    EXPECT_EQ(rig.transportLines(), Lines());
    rig.looper->clearButtonPressed();
    EXPECT_TRUE(rig.state->hasAudio());
    settle();
    EXPECT_FALSE(rig.state->hasAudio());
    EXPECT_TRUE(rig.state->fileURL().isEmpty());
}

TEST(SimpleLooperViewModelTest, TakeEndedByRecordPlaysATenthOfASecondLater) {
    LooperRig rig;
    EXPECT_EQ(rig.lines.take().back(), "🎛️ [ENGINE] Input monitoring disabled");
    rig.state->setPlaybackVolume(0.5F);
    rig.record();
    rig.feed(Channels(2, std::vector(7001, 0.5F)));
    rig.transportLines();
    const auto pressed = std::chrono::steady_clock::now();
    rig.record();
    EXPECT_EQ(rig.device->turn(480)[0].back(), 0.25F) << "it sounds already";
    EXPECT_EQ(rig.state->transportState(), T::stopped);
    ASSERT_TRUE(rig.becomes(T::playing));
    EXPECT_GE(std::chrono::steady_clock::now() - pressed, milliseconds(100));
    const std::string url = rig.state->fileURL().toString().toStdString();
    EXPECT_EQ(rig.transportLines(), (Lines{"Audio file loaded: " + url,
                                           "Playback started with looping", "Playback started"}));
    rig.play();
    rig.state->setPlaybackVolume(0.25F);
    rig.play();
    EXPECT_EQ(hearStart(*rig.device, 960)[0].back(), 0.125F) << "each start has its volume";
}

// The loop is heard at once, and the playback takes it over in its phase. What the performer does
// in between decides.
TEST(SimpleLooperViewModelTest, LaterCommandReplacesTheDeferredPlayback) {
    const auto outcome = [](const std::function<void(LooperRig&)>& command) {
        LooperRig rig;
        const auto take = noise(2000, 1);
        rig.record();
        rig.feed(Channels(2, take));
        rig.record();
        EXPECT_EQ(firstDifference(rig.device->turn(2500)[0], repeated(take, 2500)), -1);
        command(rig);
        rig.device->turn(480);                     // the ramp
        const auto at = rig.device->turn(1020)[0]; // from frame 980 to the end
        const bool sounds = firstDifference(at, slice(take, 980, 1020)) == -1;
        EXPECT_TRUE(sounds || at == std::vector<float>(1020));
        runFor(milliseconds(200));
        settle();
        const T transport = rig.state->transportState();
        if (transport == T::playing) {
            EXPECT_EQ(firstDifference(hear(*rig.device, 5000)[0], repeated(take, 5000)), -1);
        }
        if (transport == T::recording) { // the second take's own playback is not lost
            rig.feed(Channels(2, noise(2000, 1)));
            rig.record();
            EXPECT_TRUE(rig.becomes(T::playing));
        }
        const Lines lines = rig.transportLines();
        return std::tuple(transport, sounds,
                          std::count(lines.begin(), lines.end(), "Playback started"));
    };
    EXPECT_EQ(outcome([](LooperRig&) {}), std::tuple(T::playing, true, 1L));
    EXPECT_EQ(outcome(&LooperRig::play), std::tuple(T::playing, true, 1L));
    EXPECT_EQ(outcome(&LooperRig::stop), std::tuple(T::stopped, false, 0L));
    EXPECT_EQ(outcome(&LooperRig::clear), std::tuple(T::stopped, false, 0L));
    EXPECT_EQ(outcome(&LooperRig::record), std::tuple(T::recording, false, 1L));
    const auto recordInVain = [](LooperRig& rig) {
        rig.device->changeFormats(formats(0));
        runPosted();
        rig.record();
    };
    EXPECT_EQ(outcome(recordInVain), std::tuple(T::playing, true, 1L));
    const auto loadInVain = [](LooperRig& rig) {
        rig.looper->loadLoop({});
        settle();
    };
    EXPECT_EQ(outcome(loadInVain), std::tuple(T::playing, true, 1L));
    const auto fail = [](LooperRig& rig) {
        std::filesystem::remove(pathOf(rig.state->fileURL()));
        runFor(milliseconds(150));
        settle();
    };
    EXPECT_EQ(outcome(fail), std::tuple(T::stopped, false, 0L));
    const auto stopOnASlowDisk = [](LooperRig& rig) {
        const StalledDisk disk;
        runFor(milliseconds(150));
        EXPECT_TRUE(rig.looper->isWaitingForDisk());
        rig.looper->stopButtonPressed();
        EXPECT_EQ(rig.device->turn(480)[0].back(), 0.0F) << "silent at once";
    };
    EXPECT_EQ(outcome(stopOnASlowDisk), std::tuple(T::stopped, false, 1L));
}

TEST(SimpleLooperViewModelTest, OnASlowDiskCommandsTakeEffectInOrder) {
    using Commands = std::vector<void (SimpleLooperViewModel::*)()>;
    constexpr auto play = &SimpleLooperViewModel::playButtonPressed;
    constexpr auto stop = &SimpleLooperViewModel::stopButtonPressed;
    constexpr auto record = &SimpleLooperViewModel::recordButtonPressed;
    constexpr auto clear = &SimpleLooperViewModel::clearButtonPressed;
    const auto outcome = [](const Commands& commands) {
        LooperRig rig;
        rig.makeTake();
        {
            const StalledDisk disk;
            for (const auto command : commands) {
                (rig.looper.get()->*command)();
                runPosted();
            }
            EXPECT_TRUE(rig.looper->isWaitingForDisk());
            EXPECT_EQ(rig.state->transportState(), T::stopped);
            EXPECT_TRUE(rig.state->hasAudio());
        }
        EXPECT_FALSE(rig.looper->isWaitingForDisk());
        const auto takes =
            std::count_if(std::filesystem::directory_iterator(TemporaryHome::recordings()), {},
                          [](const auto& entry) { return entry.path().extension() == ".wav"; });
        return std::tuple(rig.state->transportState(), rig.state->hasAudio(), takes,
                          rig.transportLines().size());
    };
    EXPECT_EQ(outcome({play}), std::tuple(T::playing, true, 1, 3U));
    EXPECT_EQ(outcome({play, record, clear}), std::tuple(T::playing, true, 1, 3U));
    EXPECT_EQ(outcome({play, stop}), std::tuple(T::stopped, true, 1, 5U));
    EXPECT_EQ(outcome({play, play, play}), std::tuple(T::playing, true, 1, 8U));
    EXPECT_EQ(outcome({play, stop, record}), std::tuple(T::recording, true, 2, 5U));
    EXPECT_EQ(outcome({clear, play, stop}), std::tuple(T::stopped, false, 0, 2U));
    EXPECT_EQ(outcome({clear, record}), std::tuple(T::recording, false, 1, 2U));
}

TEST(SimpleLooperViewModelTest, ATakeThatWaitsForASlowDiskHasAllSinceItsPress) {
    LooperRig rig;
    rig.makeTake();
    rig.device->startClock();
    const auto input = noise(3 * 48'000, 1);
    {
        const StalledDisk disk;
        rig.looper->playButtonPressed();
        rig.looper->recordButtonPressed(); // does nothing while the loop plays
        rig.looper->stopButtonPressed();
        const CommandMoment pressed(rig.device->time());
        rig.looper->recordButtonPressed();
        for (std::size_t at = 0; at < input.size(); at += 4800) {
            rig.feed(Channels(2, slice(input, at, 4800)));
        }
        EXPECT_EQ(rig.state->transportState(), T::stopped);
    }
    EXPECT_TRUE(rig.becomes(T::recording));
    const CommandMoment pressed(rig.device->time());
    rig.stop();
    EXPECT_EQ(readFile(pathOf(rig.state->fileURL())), Channels(2, input));
}

TEST(SimpleLooperViewModelTest, QueuedCommandsCountFromTheirPressAndAFloodOfThemIsCut) {
    CommandQueue queue;
    const auto answer = queue.wait([](bool) {});
    const Moment given = momentNow() - milliseconds(500);
    Moment seen;
    int carriedOut = 0;
    for (int i = 0; i < 1000; ++i) {
        const CommandMoment scope(given);
        queue.give([&] {
            seen = CommandMoment::current();
            ++carriedOut;
        });
    }
    answer(true);
    EXPECT_TRUE(runUntil([&] { return carriedOut == 100; }));
    runPosted();
    EXPECT_EQ(carriedOut, 100);
    EXPECT_EQ(seen, given);

    // Also behind a command whose work was done at once.
    int written = 0;
    int found = -1;
    const auto second = queue.wait([](bool) {});
    queue.give([&] { queue.wait([] {})(); });
    queue.give([&] { MainQueue::post(&queue, [&] { written = 1; }); });
    queue.give([&] { found = written; });
    second(true);
    EXPECT_TRUE(runUntil([&] { return found >= 0; }));
    EXPECT_EQ(found, 1) << "what the one before it posted has run";
}

TEST(SimpleLooperViewModelTest, NotesThatComeAtOnceActAsTwoPresses) {
    const auto outcome = [](std::uint8_t first, std::uint8_t second) {
        LooperRig rig;
        rig.makeTake();
        const auto midi = std::make_shared<midi::VirtualMidi>();
        const midi::SourceRef keys = midi->addSource("Keys");
        const auto manager = MIDIManager::make(midi);
        rig.looper->setupMIDICallbacks(manager.get());
        runPosted();
        midi->send(keys,
                   std::vector<std::vector<std::uint8_t>>{{0x90, first, 1}, {0x90, second, 1}});
        std::ptrdiff_t given = 0;
        EXPECT_TRUE(runUntil([&] {
            const Lines said = rig.lines.take();
            given += std::count_if(said.begin(), said.end(), [](const std::string& line) {
                return line.rfind("🎬 MIDI triggered: ", 0) == 0;
            });
            return given == 2;
        }));
        settle();
        const auto files = [](const std::filesystem::path& folder) {
            return exists(folder) ? std::distance(std::filesystem::directory_iterator(folder), {})
                                  : 0;
        };
        return std::tuple(rig.state->transportState(), rig.state->hasAudio(),
                          files(rig.home.recordings()), files(rig.home.trash()));
    };
    constexpr std::uint8_t record = 80;
    constexpr std::uint8_t play = 0;
    constexpr std::uint8_t stop = 1;
    constexpr std::uint8_t clear = 2;
    EXPECT_EQ(outcome(record, stop), std::tuple(T::stopped, true, 2L, 0L));
    EXPECT_EQ(outcome(play, record), std::tuple(T::playing, true, 1L, 0L));
    EXPECT_EQ(outcome(clear, play), std::tuple(T::stopped, false, 0L, 1L));
}

TEST(SimpleLooperViewModelTest, CommandsWithoutMeaningDoNothing) {
    LooperRig rig;
    const auto expectNothingOf = [&](const std::vector<void (LooperRig::*)()>& commands) {
        rig.lines.take();
        const T before = rig.state->transportState();
        for (const auto command : commands) {
            (rig.*command)();
        }
        EXPECT_EQ(rig.lines.take(), Lines());
        EXPECT_EQ(rig.state->transportState(), before);
    };
    expectNothingOf({&LooperRig::play, &LooperRig::stop, &LooperRig::clear});
    rig.makeTake();
    expectNothingOf({&LooperRig::stop});
    rig.record();
    expectNothingOf({&LooperRig::play, &LooperRig::clear});
    rig.feed(Channels(2, noise(2000, 1)));
    rig.stop();
    rig.play();
    expectNothingOf({&LooperRig::record, &LooperRig::clear});
    rig.play();
    EXPECT_TRUE(rig.state->canPlay()) << "play pauses";
}

TEST(SimpleLooperViewModelTest, FailuresLeaveTheStateAlone) {
    LooperRig rig;
    rig.makeTake();
    const QUrl url = rig.state->fileURL();
    std::ofstream(pathOf(url)) << "not a wave";
    rig.expectPlayFails();

    rig.looper->notices()->set(Notices::Kind::playFailed, false);
    std::filesystem::remove_all(rig.home.recordings());
    std::ofstream(rig.home.recordings()) << "in the way";
    rig.record();
    EXPECT_EQ(rig.state->transportState(), T::stopped);
    EXPECT_EQ(rig.state->fileURL(), url);
    const std::string reason = rig.looper->notices()->detail().toStdString();
    EXPECT_EQ(reason.rfind("The recording could not be created: \"loop_", 0), 0U) << reason;
    EXPECT_EQ(rig.transportLines(),
              (Lines{"Failed to create LooperFiles directory: Not a directory",
                     "❌ [ERROR] Failed to start recording: " + reason,
                     "❌ [ERROR] Error details: " + reason}));
}

TEST(SimpleLooperViewModelTest, MonitoringSwitchesAtOnceAndShowsAfterwards) {
    LooperRig rig;
    rig.lines.take();
    const Channels input(2, std::vector(480, 0.5F));
    rig.looper->toggleInputMonitoring();
    EXPECT_FALSE(rig.state->inputMonitoringEnabled());
    rig.feed(input); // the ramp
    EXPECT_EQ(rig.device->turn(480, input), input);
    runPosted();
    EXPECT_TRUE(rig.state->inputMonitoringEnabled());
    EXPECT_TRUE(rig.device->wantsShortCycles());
    rig.press(&SimpleLooperViewModel::toggleInputMonitoring);
    EXPECT_FALSE(rig.device->wantsShortCycles());
    rig.feed(input);
    EXPECT_EQ(rig.device->turn(480, input), Channels(2, std::vector<float>(480)));
    EXPECT_FALSE(rig.state->inputMonitoringEnabled());
    EXPECT_EQ(rig.lines.take(), (Lines{"🎛️ [ENGINE] Input monitoring enabled",
                                       "🎛️ [ENGINE] Input monitoring disabled"}));
}

TEST(SimpleLooperViewModelTest, PassesOnLevelsAndEveryChangeOfTheState) {
    LooperRig rig;
    int announced = 0;
    bool seen = false;
    QObject::connect(rig.looper.get(), &ObservableObject::objectWillChange, [&] {
        ++announced;
        seen = rig.state->isRecording();
    });
    rig.record();
    EXPECT_EQ(announced, 2);
    EXPECT_TRUE(seen) << "told after the change";
    rig.stop();
    EXPECT_EQ(announced, 7);
    runFor(milliseconds(40));
    rig.feed(Channels(2, std::vector(2048, -0.25F)));
    EXPECT_TRUE(runUntil([&] { return rig.state->inputLevel() == 0.25F; }));
    runPosted();
    EXPECT_EQ(announced, 8);
}

TEST(SimpleLooperViewModelTest, NothingHappensAfterTheControllerHasGone) {
    LooperRig rig;
    rig.record();
    const Channels input(2, noise(5000, 1));
    rig.feed(input);
    rig.looper->recordButtonPressed();
    rig.looper.reset();
    rig.lines.take();
    runFor(milliseconds(150));
    EXPECT_EQ(rig.lines.take(), Lines());
    const auto file = std::filesystem::directory_iterator(rig.home.recordings())->path();
    EXPECT_EQ(readFile(file), input);
}
