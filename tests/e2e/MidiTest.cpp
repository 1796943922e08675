#include "e2e/Stage.h"
#include "support/MidiSender.h"

#include <gtest/gtest.h>

#include <cmath>

// The looper played hands free.
namespace tessivo::test {

namespace {

using namespace std::chrono_literals;

// Plays a note that nothing belongs to until it is heard: the first cycles after a link are lost.
void tryOut(MidiSender& keys, const AppProcess& app) {
    const auto heard = [&] {
        return app.count("Unmapped MIDI note: 90");
    };
    const bool isHeard = eventually([&, before = heard()] {
        keys.play(90);
        return eventually([&] { return heard() > before; }, 500ms);
    });
    EXPECT_TRUE(isHeard);
}

TEST(MidiTest, FilePlayedByAnOrdinaryPlayerMakesALoopAndClearsIt) {
    Stage stage;
    stage.feed();
    const auto song = stage.documents().parent_path() / "song.mid";
    runProgram({TESSIVO_MIDI_SONG_SCRIPT, song.string(), "2000:80", "1500:1", "500:0", "4000:1",
                "500:2", "500"});
    // It begins when it is linked to.
    runProgram(
        {"sh", "-c",
         "setsid pw-cat -p --midi --target 0 -P '{ node.name = keys }' \"$0\" "
         "</dev/null >/dev/null 2>&1 & until pw-link -o | grep -q keys:; do sleep 0.05; done",
         song.string()});
    stage.start();
    AppProcess& app = *stage.app;
    app.await("✅ Connected to MIDI device: keys");
    stage.listen();
    app.await("🎵 MIDI Note On: 80 (G#5) velocity: 100");
    app.await("🎬 MIDI triggered: Record");
    app.await("🎬 MIDI triggered: Stop");
    ASSERT_EQ(stage.takes(), 1U);
    const Channels take = readFile(stage.newestTake());
    EXPECT_TRUE(stage.isPlayed(take));
    // A cycle that the player misses, which is not in time on a busy machine, makes its song
    // longer.
    const double late = static_cast<double>(take[0].size()) - 1.5 * kRate;
    EXPECT_GE(late, -48);
    EXPECT_NEAR(std::remainder(late, kQuantum), 0, 48);
    EXPECT_EQ(app.count("Playback"), 0U);
    app.await("🎬 MIDI triggered: Play");
    EXPECT_TRUE(stage.hears(take, 2));
    app.await("🎬 MIDI triggered: Stop");
    app.await("Loop cleared");
    EXPECT_EQ(stage.takes(), 0U);
    const Heard heard(stage.sound(), take);
    EXPECT_EQ(heard.phase, 0U);
    EXPECT_GE(heard.end - heard.first, 3.95 * kRate);
    // The player ends with its file.
    app.await("🔔 MIDI notification: 3");
    EXPECT_TRUE(app.answers());
}

TEST(MidiTest, NotesWorkUnderASheetAndAgainAfterTheServerWasKilled) {
    Stage stage;
    std::optional<MidiSender> keys(std::in_place);
    stage.feed();
    stage.start();
    AppProcess& app = *stage.app;
    app.await("✅ Connected to MIDI device: keys");
    tryOut(*keys, app);
    keys->play(80);
    app.await("isRecording = true");
    stage.play(0.4);
    keys->play(1);
    app.await("Final recording URL");
    const Channels take = readFile(stage.newestTake());
    EXPECT_TRUE(stage.isPlayed(take));

    app.press("ctrl+s");
    app.awaitWindow("Save Loop");
    stage.listen();
    keys->play(0);
    EXPECT_TRUE(stage.hears(take, 2));
    keys->play(1);
    app.await("Playback stopped");
    app.press("Escape");
    app.awaitWindow("Tessivo");

    stage.leaveServer();
    stage.server().kill();
    keys.reset(); // after it, or it would have been unplugged
    EXPECT_TRUE(app.answers());
    stage.server().restart();
    keys.emplace();
    tryOut(*keys, app);
    keys->play(0);
    app.await("🎬 MIDI triggered: Play");
    stage.listen();
    EXPECT_TRUE(stage.hears(take, 2));
    // Longer than a source is waited for: nothing has gone, nothing was connected.
    std::this_thread::sleep_for(6s);
    EXPECT_EQ(app.count("Connected to MIDI device"), 1U);
    EXPECT_EQ(app.count("🔔 MIDI notification: 3"), 0U);
    EXPECT_EQ(app.count("❌"), 0U);
    keys->play(1);
    app.await("🎬 MIDI triggered: Stop");

    keys.reset();
    app.await("🔔 MIDI notification: 3");
    EXPECT_TRUE(app.answers());
}

TEST(MidiTest, SavedMappingIsTheNextProgramsAndAnUnsavedOneIsNot) {
    Stage stage;
    MidiSender keys;
    const auto start = [&] {
        stage.start(kReadable);
        stage.app->await("✅ Connected to MIDI device: keys");
        tryOut(keys, *stage.app);
    };
    const auto learn = [&](const std::string& command, std::uint8_t note, const std::string& name) {
        touch("Tessivo", "MIDI Settings");
        stage.app->awaitWindow("MIDI Settings");
        touch("MIDI Settings", "Learn " + command);
        stage.app->await("🎹 Learning mode started for " + command);
        keys.play(note);
        stage.app->await("🎯 Learned: " + command + " → " + name);
        stage.app->await("🎹 Learning mode stopped");
        touch("MIDI Settings", command + ": " + name);
    };
    const auto expect = [&](std::uint8_t note, const std::string& line) {
        keys.play(note);
        stage.app->await(line);
    };

    start();
    learn("Record", 60, "C4 (60)");
    touch("MIDI Settings", "Save");
    stage.app->await("💾 MIDI configuration saved");
    stage.app->awaitWindow("Tessivo");
    learn("Stop", 61, "C#4 (61)");
    stage.app->press("Escape");
    stage.app->awaitWindow("Tessivo");
    EXPECT_EQ(stage.app->closeWindow(), 0);

    start();
    expect(80, "🎵 Unmapped MIDI note: 80 (G#5)");
    expect(61, "🎵 Unmapped MIDI note: 61 (C#4)");
    expect(60, "🎬 MIDI triggered: Record");
    expect(1, "🎬 MIDI triggered: Stop");
}

} // namespace

} // namespace tessivo::test
