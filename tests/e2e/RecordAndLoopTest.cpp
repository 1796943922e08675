#include "e2e/Stage.h"

#include <gtest/gtest.h>

#include <csignal>
#include <utility>

// The main road, as the performer walks it: keys in, sound and files out.
namespace tessivo::test {

namespace {

using namespace std::chrono_literals;
using Lines = std::vector<std::string>;

Lines linesFrom(const AppProcess& app, std::size_t first) {
    const Lines all = app.lines();
    return {all.begin() + static_cast<std::ptrdiff_t>(first), all.end()};
}

// As long as the presses were apart, which are told in milliseconds.
testing::AssertionResult lasts(const Channels& take, const AppProcess::Press& begin,
                               const AppProcess::Press& end) {
    const std::chrono::duration<double> length(static_cast<double>(take[0].size()) / kRate);
    constexpr auto kTolerance = 2ms;
    return (length > end.before - begin.after - kTolerance &&
                    length < end.after - begin.before + kTolerance
                ? testing::AssertionSuccess()
                : testing::AssertionFailure())
           << length.count() << " s";
}

TEST(RecordAndLoopTest, KeysAloneYieldAnExactTakeAndALoopWithoutSeam) {
    Stage stage;
    stage.start();
    AppProcess& app = *stage.app;
    app.await("Input monitoring disabled");
    stage.feed();
    stage.listen();

    const auto begin = app.press("Return");
    app.await("Recording started successfully");
    stage.play(1.5);
    const auto end = app.press("Return");
    app.await("Playback started with looping");
    ASSERT_EQ(stage.takes(), 1U);
    Channels take = readFile(stage.newestTake());
    EXPECT_TRUE(stage.isPlayed(take));
    EXPECT_TRUE(lasts(take, begin, end));

    // At first the loop is in the middle of what began with the press, then at its beginning.
    bool isPlayed = false;
    for (const auto& [stopKey, passes] : {std::pair{"space", 8.0}, std::pair{"period", 9.0}}) {
        EXPECT_TRUE(stage.hears(take, passes));
        const std::size_t linesBefore = app.lines().size();
        app.press(stopKey);
        app.await("Playback stopped");
        const auto framesAtStop = static_cast<std::size_t>(stage.listened());
        stage.play(0.3);
        EXPECT_EQ(linesFrom(app, linesBefore), (Lines{"Playback stopped", "Playback stopped"}));
        const Channels sound = stage.sound();
        const Heard heard(sound, take);
        EXPECT_EQ(heard.phase == 0, std::exchange(isPlayed, true));
        EXPECT_LE(heard.silentAgain - heard.end, kRampFrames);
        EXPECT_LE(heard.silentAgain, framesAtStop + 3 * kQuantum);
        EXPECT_GT(sound[0].size(), heard.silentAgain + 2 * kQuantum);

        if (stopKey == std::string("space")) {
            // A take is whole cycles long. Here the seam comes in the middle of one.
            take = {slice(take[0], 1000, 12345), slice(take[1], 1000, 12345)};
            const auto path = stage.newestTake();
            std::filesystem::remove(path);
            writeFile(path, kRate, take);
            stage.listen();
            app.press("space");
            app.await("Playback started with looping");
        }
    }

    const std::size_t linesBefore = app.lines().size();
    app.press("ctrl+Delete");
    app.await("Loop cleared");
    EXPECT_EQ(stage.takes(), 0U);
    // Nothing is there any more to play, stop or clear.
    for (const char* key : {"space", "period", "ctrl+Delete"}) {
        app.press(key);
    }
    EXPECT_TRUE(app.answers());
    EXPECT_EQ(linesFrom(app, linesBefore), (Lines{"Playback stopped", "Loop cleared",
                                                  "🎛️ [ENGINE] Input monitoring enabled",
                                                  "🎛️ [ENGINE] Input monitoring disabled"}));
    EXPECT_EQ(app.closeWindow(), 0);
}

TEST(RecordAndLoopTest, HeldKeyTriggersOnceAndSpaceEndsATakeWithoutPlayingIt) {
    Stage stage;
    stage.start();
    stage.feed();
    AppProcess& app = *stage.app;
    app.hold("Return");
    app.await("isRecording = true");
    stage.play(1.0); // the keyboard repeats after two thirds of a second
    app.release("Return");
    EXPECT_EQ(app.count("startRecording() called"), 1U);
    EXPECT_EQ(app.count("stopRecording() called"), 0U);
    app.press("p");
    app.press("ctrl+Delete");
    stage.endTake();
    stage.play(0.2);
    EXPECT_TRUE(stage.isPlayed(readFile(stage.newestTake())));
    EXPECT_EQ(app.count("Playback"), 0U);
    stage.listen();
    app.hold("space");
    EXPECT_TRUE(stage.hears(readFile(stage.newestTake()), 1));
    app.release("space");
    EXPECT_EQ(app.count("Playback started with looping"), 1U);
    EXPECT_EQ(app.count("Playback stopped"), 0U);
}

// The program stands still meanwhile, and gets both in one go.
TEST(RecordAndLoopTest, ATakeIsAsLongAsTheKeysWereApartThatComeAtOnce) {
    Stage stage;
    stage.start();
    AppProcess& app = *stage.app;
    app.await("Input monitoring disabled");
    kill(app.id(), SIGSTOP);
    const auto begin = app.press("Return");
    std::this_thread::sleep_for(400ms);
    const auto end = app.press("space");
    kill(app.id(), SIGCONT);
    app.await("Final recording URL");
    EXPECT_TRUE(lasts(readFile(stage.newestTake()), begin, end));
}

} // namespace

} // namespace tessivo::test
