#include "e2e/Stage.h"

#include <gtest/gtest.h>

// The main road, as the performer walks it: keys in, sound and files out.
namespace tessivo::test {

namespace {

using namespace std::chrono_literals;

// Takes as many lines from the front as are expected; those that end in a name of a file or a
// format are compared up to there.
void expectLines(const std::vector<std::string>& lines, std::size_t from,
                 const std::vector<std::string>& expected) {
    ASSERT_GE(lines.size(), from + expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const std::string& line = lines[from + i];
        EXPECT_TRUE(line == expected[i] ||
                    (expected[i].ends_with(": ") && line.starts_with(expected[i])))
            << line << "\ninstead of\n"
            << expected[i];
    }
}

TEST(RecordAndLoopTest, KeysAloneYieldAnExactTakeAndALoopWithoutSeam) {
    Stage stage;
    stage.start();
    AppProcess& app = *stage.app;
    app.await("Input monitoring disabled");
    expectLines(app.lines(), 0,
                {
                    "Audio session setup for macOS (automatic)",
                    "🎛️ [ENGINE] Input format: ",
                    "🎛️ [ENGINE] Output format: ",
                    "🎛️ [ENGINE] Channel count OK - direct connection",
                    "🎛️ [ENGINE] Starting with input format: ",
                    "🎛️ [ENGINE] Input format settings: ",
                    "🎛️ [ENGINE] Enabling level monitoring",
                    "🎛️ [ENGINE] Enabling level monitoring",
                    "🎛️ [ENGINE] Installing unified tap with format: ",
                    "🎛️ [ENGINE] Audio engine setup completed",
                    "🎛️ [ENGINE] Starting with input format: ",
                    "🎛️ [ENGINE] Input format settings: ",
                    "🎛️ [ENGINE] Enabling level monitoring",
                    "🎛️ [ENGINE] Installing unified tap with format: ",
                    "🎛️ [ENGINE] Audio engine started successfully",
                    "🎛️ [ENGINE] Input monitoring disabled",
                });
    stage.feed();
    stage.listen();

    app.press("Return");
    const auto begins = app.await("startRecording() called").at;
    const auto begun = app.await("Recording started successfully").at;
    stage.play(1.5);
    app.press("Return");
    const auto ends = app.await("stopRecording() called").at;
    const auto ended = app.await("Closing audio file").at;
    app.await("Playback started with looping");
    ASSERT_EQ(stage.takes(), 1U);
    Channels take = readFile(stage.newestTake());
    EXPECT_TRUE(isMarked(take));
    // The presses are told by the application's first words on them, so that what xdotool
    // takes does not count; what a busy machine makes of creating and closing a file is told
    // by the last ones.
    const std::chrono::duration<double> length(static_cast<double>(take[0].size()) / kRate);
    const std::chrono::duration<double> tolerance(static_cast<double>(kQuantum) / kRate + 0.005);
    EXPECT_GE(length, ends - begun - tolerance);
    EXPECT_LE(length, ended - begins + tolerance);
    const auto deviation =
        std::chrono::duration_cast<std::chrono::microseconds>(length - (ends - begins)).count();
    RecordProperty("take_deviation_us", std::to_string(deviation));

    // Each word is compared from the first sound on, so the loop must start at its beginning.
    for (const auto& [stopKey, passes] : {std::pair{"space", 8.0}, std::pair{"period", 9.0}}) {
        EXPECT_TRUE(stage.hears(take, passes));
        const std::size_t linesBefore = app.lines().size();
        app.press(stopKey);
        app.await("Playback stopped");
        const auto framesAtStop = static_cast<std::size_t>(stage.listened());
        stage.play(0.3);
        expectLines(app.lines(), linesBefore, {"Playback stopped", "Playback stopped"});
        EXPECT_EQ(app.lines().size(), linesBefore + 2);
        const Channels sound = stage.sound();
        const Heard heard(sound, take);
        EXPECT_EQ(heard.phase, 0U);
        EXPECT_LE(heard.silentAgain - heard.first - heard.exact, kRate * 0.003);
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
    expectLines(app.lines(), linesBefore, {"Playback stopped", "Loop cleared"});
    EXPECT_EQ(stage.takes(), 0U);
    // Nothing is there any more to play, stop or clear.
    for (const char* key : {"space", "period", "ctrl+Delete"}) {
        app.press(key);
    }
    EXPECT_TRUE(app.answers());
    EXPECT_EQ(app.lines().size(), linesBefore + 4);
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
    app.press("space");
    app.await("Final recording URL");
    stage.play(0.2);
    EXPECT_TRUE(isMarked(readFile(stage.newestTake())));
    EXPECT_EQ(app.count("Playback"), 0U);
    stage.listen();
    app.hold("space");
    EXPECT_TRUE(stage.hears(readFile(stage.newestTake()), 1));
    app.release("space");
    EXPECT_EQ(app.count("Playback started with looping"), 1U);
    EXPECT_EQ(app.count("Playback stopped"), 0U);
}

// A microphone of many channels gives its first two, unmixed, at its own rate.
TEST(RecordAndLoopTest, EightChannelsAt44100BecomeATakeOfTwo) {
    Stage stage({"--quantum", "1024", "--mic-channels", "8", "--mic-rate", "44100"});
    stage.start();
    std::vector<std::string> ports;
    for (int channel = 0; channel < 8; ++channel) {
        ports.push_back("mic:input_AUX" + std::to_string(channel));
    }
    stage.feed(ports);
    EXPECT_EQ(stage.app->count("SAMPLE RATE MISMATCH"), 1U);
    EXPECT_EQ(stage.app->count("High channel count detected: 8 channels"), 1U);
    stage.recordLoop(0.7);
    const Channels take = readFile(stage.newestTake());
    ASSERT_EQ(take.size(), 2U);
    EXPECT_EQ(sound::AudioFileReader(stage.newestTake()).format().sampleRate(), 44100.0);
    EXPECT_GE(take[0].size(), 44100U * 7 / 10);
    for (std::size_t channel = 0; channel < 2; ++channel) {
        // Away from both ends, where the converters swing.
        for (std::size_t frame = 441; frame + 441 < take[channel].size(); ++frame) {
            ASSERT_GE(take[channel][frame], Mark::sample(channel, 0) - 1e-4F) << frame;
            ASSERT_LE(take[channel][frame], Mark::sample(channel + 1, 0) + 1e-4F) << frame;
        }
    }
    stage.listen();
    EXPECT_TRUE(eventually([&] {
        return Heard(stage.sound(), take).first + 4800 < static_cast<std::size_t>(stage.listened());
    }));
}

// What a screen reader is told, and what it presses.
TEST(RecordAndLoopTest, ScreenReaderFindsTheControlsAndRecords) {
    Stage stage;
    stage.start({"env", "QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1"});
    EXPECT_EQ(runProgram({"/usr/bin/python3", "-c", R"(
import pyatspi, time
def named(name):
    return [a for a in pyatspi.Registry.getDesktop(0) if a and a.name == name]
while not named('Tessivo'):
    time.sleep(0.05)
roles = ('push button', 'check box')
controls = pyatspi.findAllDescendants(named('Tessivo')[0], lambda c: c.getRoleName() in roles)
print(*(f'{c.getRoleName()} {c.name}' for c in controls), sep=', ')
controls[1].queryAction().doAction(0)
)"}),
              "push button Save, push button Record, push button Play, push button Stop, "
              "push button Clear, check box Input Monitor\n");
    stage.app->await("isRecording = true");
    EXPECT_EQ(stage.takes(), 1U);
}

} // namespace

} // namespace tessivo::test
