#include "e2e/Stage.h"

#include <gtest/gtest.h>

// A loop is kept, by keys alone, and is still there after the program has ended.
namespace tessivo::test {

namespace {

using namespace std::chrono_literals;

TEST(SaveLoopTest, KeysAloneKeepALoopBeyondTheProgramsEnd) {
    Stage stage;
    stage.start();
    stage.feed();
    stage.beginTake();
    stage.play(1.2);
    stage.endTake();
    const std::filesystem::path take = stage.newestTake();
    const std::filesystem::path folder = stage.documents() / "SavedLoops";

    // Keys of the transport are letters of the name here.
    stage.app->press("ctrl+s");
    stage.app->awaitWindow("Save Loop");
    for (const char* key : {"space", "p", "i", "a", "n", "o", "period", "slash", "space"}) {
        stage.app->press(key);
    }
    stage.app->press("Return");
    stage.app->await("Successfully saved loop: piano./");
    EXPECT_EQ(stage.app->closeWindow(), 0);
    EXPECT_EQ(stage.app->count("Playback"), 0U);
    EXPECT_EQ(stage.app->count("startRecording() called"), 1U);

    EXPECT_EQ(bytesOf(folder / "piano._.wav"), bytesOf(take));
    EXPECT_TRUE(isMarked(readFile(take)));
    const std::string list = bytesOf(folder / "library.json");
    EXPECT_NE(list.find(R"("filename":"piano._.wav",)"), std::string::npos) << list;
    EXPECT_NE(list.find(R"("name":"piano.\/")"), std::string::npos) << list;

    // The next program finds the list as it is, and adds to it.
    stage.start();
    stage.recordLoop(0.4);
    stage.app->press("space");
    stage.app->await("Playback stopped");
    stage.app->press("ctrl+s");
    stage.app->awaitWindow("Save Loop");
    stage.app->press("ctrl+Return");
    stage.app->await("Successfully saved loop: Loop ");
    EXPECT_EQ(stage.app->closeWindow(), 0);
    const std::string longer = bytesOf(folder / "library.json");
    EXPECT_TRUE(longer.ends_with("," + list.substr(1))) << longer;
    EXPECT_EQ(bytesOf(folder / "piano._.wav"), bytesOf(take));
}

// Nothing waits for the copy of a long take, neither its sheet nor the window; only the program
// does before it ends.
TEST(SaveLoopTest, SaveThatIsRunningWhenTheWindowClosesIsCompleted) {
    Stage stage;
    stage.start();
    stage.feed();
    stage.beginTake();
    stage.play(0.2);
    stage.endTake();
    const std::filesystem::path take = stage.newestTake();
    runProgram({"sox", "-n", "-r", "48000", "-c", "2", "-e", "float", "-b", "32", take.string(),
                "synth", "400", "sine", "440"},
               30s);

    stage.app->press("ctrl+s");
    stage.app->awaitWindow("Save Loop");
    stage.app->press("l");
    stage.app->press("Return");
    stage.app->press("Escape");
    stage.app->awaitWindow("Tessivo");
    EXPECT_EQ(stage.app->closeWindow(), 0);
    EXPECT_EQ(stage.app->count("Successfully saved loop: l"), 1U);

    const std::filesystem::path folder = stage.documents() / "SavedLoops";
    EXPECT_TRUE(bytesOf(folder / "l.wav") == bytesOf(take));
    EXPECT_NE(bytesOf(folder / "library.json").find(R"("duration":400,)"), std::string::npos);
    const std::filesystem::directory_iterator files(folder);
    EXPECT_EQ(std::distance(begin(files), end(files)), 2);
}

} // namespace

} // namespace tessivo::test
