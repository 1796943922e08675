#include "e2e/Stage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>

// The library as its owner has it: filled, looked through, changed, and found again as it was left.
namespace tessivo::test {

namespace {

using namespace std::chrono_literals;
using Names = std::vector<std::string>;

constexpr const char* kLibrary = "Loop Library";
const std::string kPad = "pad no. 1/2"; // with keys that are the transport's elsewhere

void type(AppProcess& app, const std::string& word) {
    // What xdotool calls keys that are no letters.
    static const std::map<char, std::string> names{{' ', "space"}, {'.', "period"}, {'/', "slash"}};
    for (const char letter : word) {
        const auto name = names.find(letter);
        app.press(name != names.end() ? name->second : std::string(1, letter));
    }
}

void openLibrary(AppProcess& app) {
    app.press("ctrl+o");
    app.awaitWindow(kLibrary);
}

// Rows fade and move for a moment.
testing::AssertionResult lists(const Names& expected) {
    Names last;
    const bool does = eventually([&] { return (last = listed(kLibrary)) == expected; });
    return (does ? testing::AssertionSuccess() : testing::AssertionFailure())
           << testing::PrintToString(last);
}

// What a loop sounds like at a preview's volume.
Channels quieter(Channels loop) {
    for (auto& channel : loop) {
        for (float& sample : channel) {
            sample *= 0.7F;
        }
    }
    return loop;
}

TEST(LibraryTest, WholeRoadIsFoundAsItWasLeft) {
    Stage stage;
    stage.start(kReadable);
    stage.feed();
    AppProcess* app = &*stage.app;
    std::map<std::string, Channels> takes;
    for (const auto& [name, seconds] :
         std::map<std::string, double>{{"beat", 0.9}, {kPad, 0.3}, {"vibe", 0.6}}) {
        if (name == "vibe") { // the next program finds the others and adds to them
            EXPECT_EQ(app->closeWindow(), 0);
            stage.start(kReadable);
            app = &*stage.app;
        }
        touch("Tessivo", "Record");
        app->await("isRecording = true");
        stage.play(seconds);
        touch("Tessivo", "Stop");
        app->await("Final recording URL");
        takes[name] = readFile(stage.newestTake());
        app->press("ctrl+s");
        app->awaitWindow("Save Loop");
        type(*app, name);
        app->press("Return");
        app->await("Successfully saved loop: " + name);
        app->awaitWindow("Tessivo");
        app->press("ctrl+BackSpace");
        app->await("Loop cleared");
    }

    openLibrary(*app);
    EXPECT_TRUE(lists({"vibe", kPad, "beat"}));
    Names byLength{"beat", kPad, "vibe"}; // a busy machine is late with the presses
    std::sort(byLength.begin(), byLength.end(), [&](const auto& a, const auto& b) {
        return takes[a][0].size() < takes[b][0].size();
    });
    for (const auto& [order, names] : std::vector<std::pair<std::string, Names>>{
             {"Oldest First", {"beat", kPad, "vibe"}},
             {"Name A-Z", {"beat", kPad, "vibe"}},
             {"Name Z-A", {"vibe", kPad, "beat"}},
             {"Shortest First", byLength},
             {"Longest First", {byLength.rbegin(), byLength.rend()}},
             {"Newest First", {"vibe", kPad, "beat"}},
         }) {
        touch(kLibrary, "Sort");
        touch(kLibrary, order);
        EXPECT_TRUE(lists(names)) << order;
    }
    type(*app, "be");
    EXPECT_TRUE(lists({"vibe", "beat"}));

    // Down leaves the search for the first row.
    app->press("Down");
    app->press("Down");
    stage.listen();
    app->press("space");
    app->await("🎵 [PREVIEW] Started previewing: beat");
    app->await("🎵 [PREVIEW] Preview completed");
    stage.play(0.1);
    const Channels beat = quieter(takes["beat"]);
    const Heard heard(stage.sound(), beat);
    EXPECT_EQ(heard.phase, 0U);
    EXPECT_EQ(heard.exact + heard.skipped, beat[0].size());
    EXPECT_EQ(heard.skipped % kQuantum, 0U) << "cycles that the server lost";
    EXPECT_LE(heard.silentAgain, heard.end + kRampFrames);

    app->press("F2");
    touch(kLibrary, "Rename Loop");
    type(*app, "groove");
    app->press("Return");
    touch(kLibrary, "Clear search");
    EXPECT_TRUE(lists({"vibe", kPad, "groove"}));

    app->press("ctrl+f");
    app->press("Down");
    app->press("End");
    app->press("shift+F10");
    touch(kLibrary, "Export");
    app->awaitWindow("Export Loop");
    type(*app, "out");
    app->press("Return");
    const auto exported = stage.documents() / "out.wav";
    EXPECT_TRUE(eventually([&] { return std::filesystem::exists(exported); }));
    EXPECT_TRUE(readFile(exported) == takes["beat"]);
    app->awaitWindow(kLibrary);

    stage.play(0.8); // a Return at once would still be the panel's
    app->press("Return");
    app->awaitWindow("Tessivo");
    stage.leaveServer();
    stage.listen();
    app->press("space");
    app->await("Playback started");
    EXPECT_TRUE(stage.hears(takes["beat"], 2));
    app->press("space");
    app->await("Playback stopped");

    openLibrary(*app);
    app->press("Down");
    app->press("Delete");
    touch(kLibrary, "Are you sure you want to delete 'vibe'? This action cannot be undone.");
    touch(kLibrary, "Delete");
    EXPECT_TRUE(lists({kPad, "groove"}));
    app->press("Escape");
    app->awaitWindow("Tessivo");
    EXPECT_EQ(app->closeWindow(), 0);

    stage.start(kReadable);
    app = &*stage.app;
    openLibrary(*app);
    EXPECT_TRUE(lists({kPad, "groove"}));
    const auto folder = stage.documents() / "SavedLoops";
    EXPECT_TRUE(readFile(folder / "beat.wav") == takes["beat"]) << "a rename keeps the file";
    EXPECT_FALSE(std::filesystem::exists(folder / "vibe.wav"));
    EXPECT_NE(bytesOf(folder / "library.json").find(R"("name":"groove")"), std::string::npos);

    // What goes wrong is said, and the window goes on.
    std::ofstream(folder / "pad no. 1_2.wav") << "no sound at all";
    app->press("Down");
    app->press("space");
    touch(kLibrary, "OK");
    EXPECT_TRUE(lists({kPad, "groove"}));
    std::ofstream(folder / "library.json") << "no list at all";
    touch(kLibrary, "Refresh");
    touch(kLibrary, "OK");
    EXPECT_TRUE(lists({"beat"})) << "rebuilt from the files that can be played";
    app->press("Escape");
    app->awaitWindow("Tessivo");
    EXPECT_EQ(app->closeWindow(), 0);
}

// Nothing waits for the copy of a long take, neither its sheet nor the window; only the program
// does before it ends.
TEST(LibraryTest, SaveThatIsRunningWhenTheWindowClosesIsCompleted) {
    Stage stage;
    stage.start();
    stage.feed();
    stage.beginTake();
    stage.play(0.2);
    stage.endTake();
    const std::filesystem::path take = stage.newestTake();
    runProgram({"sox", "-n", "-r", "48000", "-c", "2", "-e", "float", "-b", "32", take.string(),
                "synth", "400", "sine", "440"});

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
