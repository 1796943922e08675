#include "e2e/Stage.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

// What happens to a looper in use: sound that goes away, disks that fail, a program that is
// killed. Nothing that was recorded is lost, and the window answers.
namespace tessivo::test {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

TEST(DisturbedTest, KilledServerCostsNeitherTheTakeNorTheLoop) {
    Stage stage;
    stage.start();
    stage.feed();
    stage.beginTake();
    stage.play(0.7);
    stage.leaveServer();
    stage.server().kill();
    EXPECT_TRUE(stage.app->answers());
    stage.server().restart();
    EXPECT_TRUE(stage.app->answers());
    stage.app->press("Return");
    stage.app->await("Playback started with looping");
    // As played, and then without a microphone.
    const Heard disturbed(readFile(stage.newestTake()), allMarks());
    EXPECT_EQ(disturbed.end, disturbed.silentAgain);
    EXPECT_GE(static_cast<double>(disturbed.end), 0.7 * kRate);
    stage.app->press("space");
    stage.app->await("Playback stopped");
    stage.feed();
    stage.recordLoop(0.4);
    const Channels take = readFile(stage.newestTake());
    EXPECT_TRUE(stage.isPlayed(take));
    stage.listen();
    EXPECT_TRUE(stage.hears(take, 1.5));
    EXPECT_TRUE(stage.app->answers());
    stage.leaveServer();
    stage.server().kill();
    EXPECT_TRUE(stage.app->answers());
    stage.server().restart();
    const auto back = Clock::now();
    stage.listen();
    EXPECT_TRUE(stage.hears(take, 0.01));
    EXPECT_LT(Clock::now() - back, 2s);
    EXPECT_TRUE(stage.hears(take, 3));
}

TEST(DisturbedTest, KilledProgramLeavesItsTakeReadable) {
    Stage stage;
    stage.isTold = false; // at the end of a take, which does not come
    stage.feed();
    for (const double seconds : {0.9, 1.3, 1.6}) {
        stage.start();
        stage.app->await("Input monitoring disabled");
        stage.beginTake();
        stage.play(seconds);
        const std::int64_t played = stage.played();
        stage.app->kill();
        const Channels take = readFile(stage.newestTake());
        ASSERT_TRUE(stage.isPlayed(take));
        // Two buffers, and the cycles between the microphone and us.
        EXPECT_LE(played - Mark::frame(take[0].back()), 2 * 2048 + 3 * std::int64_t{kQuantum});
    }
    EXPECT_EQ(stage.takes(), 3U);
    stage.start(kReadable);
    touch("Tessivo", "Use It");
    stage.app->await("Earlier take in use");
    stage.listen();
    stage.app->press("space");
    EXPECT_TRUE(stage.hears(readFile(stage.newestTake()), 1.5));
}

TEST(DisturbedTest, ProgramEndedFromOutsideCompletesItsTake) {
    const std::vector<std::string> withErrors{"sh", "-c",
                                              R"("$0" 2>&1; status=$?; echo ended; exit $status)"};
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, 0}) {
        Stage stage;
        stage.feed();
        stage.start(signal == 0 ? withErrors : std::vector<std::string>{});
        stage.beginTake();
        stage.play(1.3);
        const std::int64_t played = stage.played();
        if (signal == 0) {
            stage.loseDisplay();
        }
        EXPECT_EQ(stage.app->end(signal), signal == 0 ? 1 : 0);
        if (signal == 0) {
            stage.app->await("ended");
            EXPECT_EQ(stage.app->count("TypeError"), 0U) << "a window whose looper has gone";
        }
        const Channels take = readFile(stage.newestTake());
        EXPECT_TRUE(stage.isPlayed(take));
        EXPECT_GE(Mark::frame(take[0].back()), played - 3 * std::int64_t{kQuantum}) << signal;
    }
}

TEST(DisturbedTest, AnotherProgramShowsTheWindowOfTheFirstAndGivesItItsFiles) {
    Stage stage;
    std::vector<std::string> withFile = kReadable;
    withFile.insert(withFile.end(), {"sh", "-c", R"(exec "$0" own.wav)"});
    stage.start(withFile);
    stage.app->await("Input monitoring disabled");
    touch("Tessivo", "Import own.wav into the library?");
    EXPECT_EQ(stage.startAnother("unix:path=/nowhere"),
              "Tessivo is running already, and cannot be reached by the session bus\n1\n");
    runProgram({"xdotool", "getactivewindow", "windowminimize", "--sync"});
    EXPECT_EQ(stage.startAnother(std::getenv("DBUS_SESSION_BUS_ADDRESS"), "another.wav"), "0\n");
    stage.app->awaitWindow("Tessivo");
    touch("Tessivo", "Import 2 files into the library?");
    std::this_thread::sleep_for(500ms); // it comes up behind its focus
    EXPECT_TRUE(stage.app->answers());
}

TEST(DisturbedTest, SessionBusThatHangsHoldsUpNoStart) {
    Stage stage;
    stage.server().freeze("dbus");
    const auto before = Clock::now();
    stage.start(kReadable);
    stage.app->await("The session bus does not answer");
    const std::string lines = stage.startAnother(std::getenv("DBUS_SESSION_BUS_ADDRESS"));
    EXPECT_NE(lines.find("cannot be reached by the session bus\n1\n"), std::string::npos) << lines;
    EXPECT_LT(Clock::now() - before, 20s); // the toolkit would wait for 25 s, each time
    EXPECT_TRUE(stage.app->answers());
}

TEST(DisturbedTest, FullDiskIsSaidForEveryBufferAndLeavesTheTakeUpToThere) {
    Stage stage;
    std::filesystem::create_directories(stage.documents());
    // The disk is the program's own and gone with it.
    stage.start({"env", "QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1", "unshare", "--mount",
                 "--map-root-user", "sh", "-c",
                 R"(mount -t tmpfs -o size=512k disk "$0" && exec "$@")",
                 stage.documents().string()});
    stage.feed();
    AppProcess& app = *stage.app;
    stage.beginTake();
    const std::string failure = "❌ [RECORDER TAP ERROR] Error writing audio buffer #";
    const std::string first = app.await(failure).text;
    const int number = std::stoi(first.substr(failure.size()));
    for (int buffer = number + 1; buffer < number + 4; ++buffer) {
        app.await(failure + std::to_string(buffer) + ": ");
    }
    EXPECT_TRUE(app.answers());
    touch("Tessivo", "The disk is full. Nothing more is recorded.");
    app.press("Return");
    app.await("Playback started with looping");
    const std::string seen = "/proc/" + std::to_string(app.id()) + "/root";
    const auto folder = std::filesystem::path(seen + stage.documents().string()) / "LooperFiles";
    const Channels take = readFile(std::filesystem::directory_iterator(folder)->path());
    stage.isTold = false; // of the whole take, of which this is the beginning
    EXPECT_TRUE(stage.isPlayed(take));
    EXPECT_GT(take[0].size() * 2 * sizeof(float), 500U * 1024);
    stage.listen();
    EXPECT_TRUE(stage.hears(take, 1.5));
}

TEST(DisturbedTest, LinesThatNobodyReadsStopNothing) {
    for (const auto silence : {&AppProcess::stopReading, &AppProcess::closeOutput}) {
        Stage stage;
        stage.start();
        stage.feed();
        stage.listen();
        AppProcess& app = *stage.app;
        app.await("Input monitoring disabled");
        (app.*silence)();
        stage.isTold = false;
        // Enough words to fill a pipe: a take now and then, each of which plays at once.
        for (const std::size_t takes : {1U, 2U, 3U}) {
            app.press("Return");
            stage.play(0.4);
            app.press("Return");
            stage.play(0.3);
            ASSERT_EQ(stage.takes(), takes);
            const Channels take = readFile(stage.newestTake());
            EXPECT_TRUE(stage.isPlayed(take));
            stage.listen();
            EXPECT_TRUE(stage.hears(take, 1.5));
            app.press("space");
        }
        EXPECT_TRUE(app.runs());
    }
}

} // namespace

} // namespace tessivo::test
