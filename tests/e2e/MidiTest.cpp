#include "e2e/Stage.h"
#include "support/MidiSender.h"

#include <gtest/gtest.h>

#include <fstream>
#include <utility>

// The looper played hands free.
namespace tessivo::test {

namespace {

using namespace std::chrono_literals;

struct Note {
    std::uint32_t at; // ms
    std::uint8_t number;
};

// A standard MIDI file that plays these notes and ends half a second after the last.
void writeSong(const std::filesystem::path& path, const std::vector<Note>& notes) {
    std::string track;
    const auto event = [&track](std::uint32_t delay, const std::string& bytes) {
        // Seven bits in a byte, of which all but the last have the eighth.
        track += static_cast<char>(0x80U | (delay >> 7U));
        track += static_cast<char>(delay & 0x7FU);
        track += bytes;
    };
    event(0, {'\xFF', 0x51, 3, 0x0F, 0x42, 0x40}); // a beat a second
    std::uint32_t now = 0;
    for (const Note& note : notes) {
        event(note.at - std::exchange(now, note.at),
              {'\x90', static_cast<char>(note.number), 0x64});
    }
    event(500, {'\xFF', 0x2F, 0});
    const auto length = static_cast<std::uint32_t>(track.size());
    std::ofstream file(path, std::ios::binary);
    // One track, and a thousand ticks in a beat.
    file << std::string{'M', 'T', 'h', 'd', 0, 0, 0, 6, 0, 0, 0, 1, 0x03, '\xE8'} << "MTrk"
         << std::string{0, 0, static_cast<char>(length >> 8U), static_cast<char>(length)} << track;
}

double secondsOf(const Channels& samples) {
    return static_cast<double>(samples[0].size()) / kRate;
}

TEST(MidiTest, FilePlayedByAnOrdinaryPlayerMakesALoopAndClearsIt) {
    Stage stage;
    stage.feed();
    const auto song = stage.documents().parent_path() / "song.mid";
    // It begins when it is linked to.
    writeSong(song, {{2000, 80}, {3500, 1}, {4000, 0}, {8000, 1}, {8500, 2}});
    runProgram(
        {"sh", "-c",
         "setsid pw-cat -p --midi --target 0 -P '{ node.name = keys }' \"$0\" "
         "</dev/null >/dev/null 2>&1 & until pw-link -o | grep -q keys:; do sleep 0.05; done",
         song.string()},
        5s);
    stage.start();
    AppProcess& app = *stage.app;
    app.await("✅ Connected to MIDI device: keys");
    stage.listen();
    app.await("🎵 MIDI Note On: 80 (G#5) velocity: 100");
    app.await("🎬 MIDI triggered: Record");
    app.await("🎬 MIDI triggered: Stop");
    ASSERT_EQ(stage.takes(), 1U);
    const Channels take = readFile(stage.newestTake());
    EXPECT_TRUE(isMarked(take));
    // A note counts from the end of its cycle, of which a second and a half has no whole number.
    EXPECT_NEAR(secondsOf(take), 1.5, 0.05);
    EXPECT_EQ(app.count("Playback"), 0U);
    app.await("🎬 MIDI triggered: Play");
    EXPECT_TRUE(stage.hears(take, 2));
    app.await("🎬 MIDI triggered: Stop");
    app.await("🎬 MIDI triggered: Clear");
    EXPECT_EQ(app.count("Loop cleared"), 1U);
    EXPECT_EQ(stage.takes(), 0U);
    const Heard heard(stage.sound(), take);
    EXPECT_EQ(heard.phase, 0U);
    EXPECT_NEAR(static_cast<double>(heard.exact) / kRate, 4.0, 0.05);
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
    keys->play(80);
    app.await("isRecording = true");
    stage.play(0.4);
    keys->play(1);
    app.await("Final recording URL");
    const Channels take = readFile(stage.newestTake());
    EXPECT_TRUE(isMarked(take));

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

TEST(MidiTest, LearningSavingCancellingAndResettingLastAsLongAsTheyShould) {
    Stage stage;
    MidiSender keys;
    const auto settings = [&stage] {
        touch("Tessivo", "MIDI Settings");
        stage.app->awaitWindow("MIDI Settings");
    };
    const auto learn = [&](const std::string& command, std::uint8_t note, const std::string& name) {
        touch("MIDI Settings", "Learn " + command);
        stage.app->await("🎹 Learning mode started for " + command);
        keys.play(note);
        stage.app->await("🎯 Learned: " + command + " → " + name);
        stage.app->await("🎹 Learning mode stopped");
        touch("MIDI Settings", command + ": " + name);
    };
    const auto start = [&stage] {
        if (stage.app) {
            EXPECT_EQ(stage.app->closeWindow(), 0);
        }
        stage.start(kReadable);
        stage.app->await("✅ Connected to MIDI device: keys");
    };
    const auto expect = [&](std::uint8_t note, const std::string& line) {
        keys.play(note);
        stage.app->await(line);
    };

    start();
    settings();
    learn("Record", 60, "C4 (60)");
    touch("MIDI Settings", "Save");
    stage.app->await("💾 MIDI configuration saved");
    stage.app->awaitWindow("Tessivo");

    start();
    expect(80, "🎵 Unmapped MIDI note: 80 (G#5)");
    expect(60, "🎬 MIDI triggered: Record");
    settings();
    learn("Stop", 61, "C#4 (61)");
    stage.app->press("Escape");
    stage.app->awaitWindow("Tessivo");
    expect(61, "🎬 MIDI triggered: Stop"); // until the end of the program

    start();
    expect(61, "🎵 Unmapped MIDI note: 61 (C#4)");
    settings();
    touch("MIDI Settings", "Reset to Defaults");
    touch("MIDI Settings", "Reset");
    touch("MIDI Settings", "Record: G#5 (80)");
    expect(60, "🎬 MIDI triggered: Record"); // nothing is reset before it is saved
    stage.app->press("ctrl+Return");
    stage.app->await("💾 MIDI configuration saved");
    stage.app->awaitWindow("Tessivo");
    expect(1, "🎬 MIDI triggered: Stop");

    start();
    expect(60, "🎵 Unmapped MIDI note: 60 (C4)");
    expect(80, "🎬 MIDI triggered: Record");
}

} // namespace

} // namespace tessivo::test
