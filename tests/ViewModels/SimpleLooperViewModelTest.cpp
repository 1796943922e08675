#include "ViewModels/SimpleLooperViewModel.h"

#include "support/QtTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

using namespace tessivo;
using namespace tessivo::test;
using std::chrono::milliseconds;
using T = TransportState;

namespace {

constexpr std::uint32_t kCycle = 480; // 10 ms

struct LooperRig {
    explicit LooperRig(const std::string& startFailure = {},
                       sound::AudioDevice::Formats deviceFormats = formats(2)) {
        auto owned = std::make_unique<sound::OfflineDevice>(deviceFormats);
        device = owned.get();
        device->failToStart(startFailure);
        looper = std::make_unique<SimpleLooperViewModel>(std::move(owned));
        state = looper->loopState();
    }

    void press(void (SimpleLooperViewModel::*command)()) {
        (looper.get()->*command)();
        runPosted();
    }
    void record() { press(&SimpleLooperViewModel::recordButtonPressed); }
    void play() { press(&SimpleLooperViewModel::playButtonPressed); }
    void stop() { press(&SimpleLooperViewModel::stopButtonPressed); }
    void clear() { press(&SimpleLooperViewModel::clearButtonPressed); }

    void feed(const Channels& input) const {
        device->turn(static_cast<std::uint32_t>(input.front().size()), input);
    }

    // A take, ended by stop.
    Channels makeTake(std::size_t frames = 6000) {
        const Channels input{noise(frames, 1), noise(frames, 2)};
        record();
        feed(input);
        stop();
        lines.take();
        return input;
    }

    // What is heard with nothing played in, at three times a real device's pace, from the
    // first sound on.
    Channels hear(std::size_t frames) const {
        runFor(milliseconds(100)); // the reader gets ahead
        Channels heard;
        for (std::size_t at = 0; at < frames; at += kCycle) {
            append(heard, device->turn(kCycle));
            runFor(milliseconds(3));
        }
        return heard;
    }

    // Transport lines only: what the controller and the player say.
    Lines transportLines() {
        Lines all = lines.take();
        std::erase_if(all, [](const std::string& line) {
            return line.find("[RECORDER") != std::string::npos ||
                   line.find("[ENGINE]") != std::string::npos;
        });
        return all;
    }

    TemporaryHome home;
    CapturedLines lines;
    sound::OfflineDevice* device = nullptr;
    std::unique_ptr<SimpleLooperViewModel> looper;
    SimpleLoopState* state = nullptr;
};

Lines loadedAndStarted(const SimpleLoopState& state) {
    return {"Audio file loaded: " + state.fileURL().toString().toStdString(),
            "Playback started with looping", "Playback started"};
}

bool isSilent(const Channels& heard) {
    return std::all_of(heard[0].begin(), heard[0].end(), [](float s) { return s == 0.0F; });
}

} // namespace

TEST(SimpleLooperViewModelTest, StartsTheEngineWithMonitoringOff) {
    LooperRig rig;
    const Lines lines = rig.lines.take();
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines[lines.size() - 2], "🎛️ [ENGINE] Audio engine started successfully");
    EXPECT_EQ(lines.back(), "🎛️ [ENGINE] Input monitoring disabled");
    EXPECT_TRUE(rig.device->capturing());

    LooperRig broken("no server");
    EXPECT_EQ(broken.lines.take().back(), "Failed to start audio engine: no server");
    broken.record();
    EXPECT_EQ(broken.state->transportState(), T::recording) << "usable, though nothing flows";
    broken.stop();
    broken.lines.take();
    broken.play();
    EXPECT_EQ(broken.state->transportState(), T::stopped);
    const Lines failure = broken.lines.take();
    ASSERT_EQ(failure.size(), 1U) << "a take without frames cannot be played";
    EXPECT_EQ(failure[0].rfind("Failed to start playback: ", 0), 0U) << failure[0];
}

TEST(SimpleLooperViewModelTest, WritesOfATakeBecomeVisibleAfterTheCommand) {
    LooperRig rig;
    rig.looper->recordButtonPressed();
    EXPECT_EQ(rig.state->transportState(), T::stopped);
    EXPECT_FALSE(rig.state->isRecording());
    runPosted();
    EXPECT_EQ(rig.state->transportState(), T::recording);
    EXPECT_TRUE(rig.state->isRecording());

    const Channels input{noise(5000, 1), noise(5000, 2)};
    rig.feed(input);
    rig.looper->stopButtonPressed();
    EXPECT_EQ(rig.state->transportState(), T::recording);
    EXPECT_TRUE(rig.state->fileURL().isEmpty());
    runPosted();
    EXPECT_EQ(rig.state->transportState(), T::stopped);
    EXPECT_FALSE(rig.state->isRecording());
    EXPECT_TRUE(rig.state->canPlay() && rig.state->canSave() && rig.state->canClear());
    EXPECT_EQ(readFile(pathOf(rig.state->fileURL())), input);
    EXPECT_EQ(rig.transportLines(), Lines{"Audio session setup for macOS (automatic)"});
    runFor(milliseconds(150));
    EXPECT_EQ(rig.state->transportState(), T::stopped) << "stop does not start playback";
}

TEST(SimpleLooperViewModelTest, RecordEndsATakeAndLoopsItBitForBit) {
    LooperRig rig;
    const Channels input{noise(7001, 1), noise(7001, 2)};
    rig.record();
    rig.feed(input);
    rig.transportLines();
    const auto pressed = std::chrono::steady_clock::now();
    rig.record();
    EXPECT_EQ(rig.state->transportState(), T::stopped);
    EXPECT_EQ(rig.transportLines(), Lines());
    ASSERT_TRUE(runUntil([&] { return rig.state->transportState() == T::playing; }));
    const auto delay = std::chrono::steady_clock::now() - pressed;
    EXPECT_GE(delay, milliseconds(100));
    EXPECT_LT(delay, milliseconds(1000));
    EXPECT_EQ(rig.transportLines(), loadedAndStarted(*rig.state));

    const Channels heard = rig.hear(60000);
    for (std::size_t c = 0; c < 2; ++c) {
        std::vector<float> expected(heard[c].size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            expected[i] = input[c][i % 7001];
        }
        EXPECT_EQ(firstDifference(heard[c], expected), -1);
    }
    rig.stop();
    EXPECT_EQ(rig.transportLines(), (Lines{"Playback stopped", "Playback stopped"}));
    rig.device->turn(kCycle);
    EXPECT_TRUE(isSilent(rig.hear(48000)));
}

// What the performer does in the tenth of a second before the playback decides.
TEST(SimpleLooperViewModelTest, LaterCommandReplacesTheDeferredPlayback) {
    using Command = void (LooperRig::*)();
    struct Case {
        const char* name;
        Command command;
        T state;
        std::ptrdiff_t starts;
    };
    for (const Case& c :
         {Case{"none", nullptr, T::playing, 1}, Case{"play", &LooperRig::play, T::playing, 1},
          Case{"stop", &LooperRig::stop, T::stopped, 0},
          Case{"clear", &LooperRig::clear, T::stopped, 0},
          Case{"record", &LooperRig::record, T::recording, 0}}) {
        LooperRig rig;
        rig.record();
        rig.feed(Channels(2, noise(2000, 1)));
        rig.record();
        if (c.command != nullptr) {
            (rig.*c.command)();
        }
        runFor(milliseconds(200));
        EXPECT_EQ(rig.state->transportState(), c.state) << c.name;
        const Lines lines = rig.transportLines();
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "Playback started"), c.starts) << c.name;
        // Two takes in a row: the second one's own playback is not lost.
        if (c.state == T::recording) {
            rig.feed(Channels(2, noise(3000, 2)));
            rig.record();
            EXPECT_TRUE(runUntil([&] { return rig.state->transportState() == T::playing; }));
        }
    }
}

TEST(SimpleLooperViewModelTest, CommandsWithoutMeaningDoNothing) {
    LooperRig rig;
    rig.lines.take();
    rig.play();
    rig.stop();
    rig.clear();
    EXPECT_EQ(rig.lines.take(), Lines());
    rig.record();
    rig.lines.take();
    rig.play();
    rig.clear();
    EXPECT_EQ(rig.lines.take(), Lines());
    EXPECT_EQ(rig.state->transportState(), T::recording);
    rig.feed(Channels(2, noise(2000, 1)));
    rig.stop();
    rig.play();
    EXPECT_EQ(rig.state->transportState(), T::playing);
    rig.lines.take();
    rig.record();
    rig.clear();
    EXPECT_EQ(rig.lines.take(), Lines());
    EXPECT_EQ(rig.state->transportState(), T::playing);
    rig.play();
    EXPECT_EQ(rig.state->transportState(), T::stopped) << "play pauses";
    EXPECT_TRUE(rig.state->hasAudio());
}

TEST(SimpleLooperViewModelTest, ClearDeletesTheTakeAndEmptiesTheState) {
    LooperRig rig;
    rig.makeTake();
    rig.play();
    rig.stop();
    rig.state->setCurrentSavedLoop(SavedLoop("n", "n.wav", SecondsSince2001(0), 1.0, 1));
    const auto file = pathOf(rig.state->fileURL());
    rig.lines.take();
    rig.looper->clearButtonPressed();
    EXPECT_TRUE(rig.state->hasAudio());
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(rig.lines.take(), (Lines{"Playback stopped", "Loop cleared"}));
    runPosted();
    EXPECT_FALSE(rig.state->hasAudio());
    EXPECT_TRUE(rig.state->fileURL().isEmpty());
    EXPECT_FALSE(rig.state->currentSavedLoop().has_value());
    EXPECT_EQ(rig.state->transportState(), T::stopped);
}

TEST(SimpleLooperViewModelTest, FileThatIsGoneOrBrokenLeavesTheStateAlone) {
    LooperRig rig;
    rig.makeTake();
    const auto file = pathOf(rig.state->fileURL());
    const auto tryToPlay = [&] {
        rig.play();
        EXPECT_EQ(rig.state->transportState(), T::stopped);
        EXPECT_TRUE(rig.state->canPlay());
        const Lines lines = rig.lines.take();
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_EQ(lines[0].rfind("Failed to start playback: ", 0), 0U) << lines[0];
    };
    std::filesystem::remove(file);
    tryToPlay();
    std::ofstream(file) << "not a wave";
    tryToPlay();
}

TEST(SimpleLooperViewModelTest, TakeThatCannotStartLeavesTheStateAlone) {
    LooperRig rig;
    rig.makeTake();
    const QUrl before = rig.state->fileURL();
    std::filesystem::rename(rig.home.recordings(), rig.home.path() / "moved");
    std::ofstream(rig.home.recordings()) << "in the way";
    rig.record();
    EXPECT_EQ(rig.state->transportState(), T::stopped);
    EXPECT_EQ(rig.state->fileURL(), before);
    const Lines lines = rig.lines.take();
    ASSERT_GE(lines.size(), 3U);
    const std::string reason = lines.back().substr(std::string("❌ [ERROR] Error details: ").size());
    EXPECT_FALSE(reason.empty());
    EXPECT_EQ(lines.back(), "❌ [ERROR] Error details: " + reason);
    EXPECT_EQ(lines[lines.size() - 2], "❌ [ERROR] Failed to start recording: " + reason);

    LooperRig deaf({}, formats(0));
    deaf.record();
    EXPECT_EQ(deaf.state->transportState(), T::stopped);
    EXPECT_EQ(deaf.lines.take().back().rfind("❌ [ERROR] Error details: ", 0), 0U);
}

TEST(SimpleLooperViewModelTest, MonitoringSwitchesAtOnceAndShowsAfterwards) {
    LooperRig rig;
    rig.lines.take();
    const Channels input(2, std::vector(480, 0.5F));
    rig.looper->toggleInputMonitoring();
    EXPECT_FALSE(rig.state->inputMonitoringEnabled());
    EXPECT_EQ(rig.lines.take(), Lines{"🎛️ [ENGINE] Input monitoring enabled"});
    rig.feed(input);
    EXPECT_EQ(rig.device->turn(480, input), input);
    runPosted();
    EXPECT_TRUE(rig.state->inputMonitoringEnabled());
    rig.press(&SimpleLooperViewModel::toggleInputMonitoring);
    EXPECT_FALSE(rig.state->inputMonitoringEnabled());
    EXPECT_EQ(rig.lines.take(), Lines{"🎛️ [ENGINE] Input monitoring disabled"});
}

TEST(SimpleLooperViewModelTest, PassesOnLevelsAndEveryChangeOfTheState) {
    LooperRig rig;
    runPosted();
    int announced = 0;
    QObject::connect(rig.looper.get(), &ObservableObject::objectWillChange, [&] { ++announced; });
    rig.record();
    EXPECT_EQ(announced, 2);
    rig.stop();
    EXPECT_EQ(announced, 6);
    runFor(milliseconds(40));
    rig.feed(Channels(2, std::vector(2048, -0.25F)));
    EXPECT_TRUE(runUntil([&] { return rig.state->inputLevel() == 0.25F; }));
    runPosted();
    EXPECT_EQ(announced, 7);
}

TEST(SimpleLooperViewModelTest, NothingHappensAfterTheControllerHasGone) {
    LooperRig rig;
    rig.record();
    const Channels input{noise(5000, 1), noise(5000, 2)};
    rig.feed(input);
    rig.looper->recordButtonPressed();
    rig.looper.reset();
    rig.lines.take();
    runFor(milliseconds(150));
    EXPECT_EQ(rig.lines.take(), Lines());
    const auto file = std::filesystem::directory_iterator(rig.home.recordings())->path();
    EXPECT_EQ(readFile(file), input);
}
