#include "e2e/Stage.h"
#include "support/MockPortal.h"

#include <gtest/gtest.h>

#include <csignal>

// A desktop with a portal: its colours, its dialogs, and that it does not sleep.
namespace tessivo::test {

namespace {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
using Clock = std::chrono::steady_clock;

// Of the window with the keyboard, from 0 to 1.
double brightness() {
    return std::stod(runProgram({"sh", "-c",
                                 R"-(import -window "$(xdotool getactivewindow)" png:- |
                                    convert - -colorspace Gray -format '%[fx:mean]' info:)-"}));
}

testing::AssertionResult turns(bool dark) {
    double seen = 0;
    const bool does = eventually([&] { return ((seen = brightness()) < 0.5) == dark; });
    return (does ? testing::AssertionSuccess() : testing::AssertionFailure()) << seen;
}

QString documentsOf(const Stage& stage) {
    return QString::fromStdString(stage.documents().string());
}

TEST(DesktopTest, WindowsFollowTheColourSchemeOfThePortal) {
    Stage stage;
    MockPortal portal(documentsOf(stage));
    for (const bool dark : {true, false}) {
        portal.set(u"color-scheme"_s, dark ? 1U : 2U);
        stage.start();
        EXPECT_EQ(brightness() < 0.5, dark) << "at the start";
        portal.set(u"color-scheme"_s, dark ? 2U : 1U);
        EXPECT_TRUE(turns(!dark)) << "while it runs";
        EXPECT_EQ(stage.app->end(SIGTERM), 0);
    }
}

TEST(DesktopTest, MachineSleepsWhenNothingIsRecordedOrLooped) {
    Stage stage;
    MockPortal portal(documentsOf(stage), 20ms);
    stage.start();
    stage.feed();
    const auto promised = [&](const std::vector<std::string>& expected) {
        std::vector<std::string> seen;
        const bool does = eventually([&] { return (seen = portal.promises()) == expected; });
        std::this_thread::sleep_for(300ms);
        return (does && portal.promises() == expected ? testing::AssertionSuccess()
                                                      : testing::AssertionFailure())
               << testing::PrintToString(portal.promises());
    };
    const std::string take = "Recording a take";
    const std::string loop = "Playing a loop";
    std::vector<std::string> all{"+" + take};
    stage.beginTake();
    EXPECT_TRUE(promised(all));
    stage.app->press("Return");
    stage.app->await("Playback started with looping");
    all.insert(all.end(), {"+" + loop, "-" + take});
    EXPECT_TRUE(promised(all)) << "no gap between the take and its loop";
    stage.app->press("space");
    all.push_back("-" + loop);
    EXPECT_TRUE(promised(all));
    stage.beginTake();
    stage.endTake();
    all.insert(all.end(), {"+" + take, "-" + take});
    EXPECT_TRUE(promised(all)) << "although it was granted after it was needed";
}

TEST(DesktopTest, LoopIsExportedByThePortalsDialog) {
    Stage stage;
    MockPortal portal(documentsOf(stage) + u"/Chosen"_s);
    std::filesystem::create_directories(stage.documents() / "Chosen");
    stage.start(kReadable);
    stage.feed();
    stage.recordLoop(0.3);
    stage.app->press("space");
    stage.app->press("ctrl+s");
    stage.app->awaitWindow("Save Loop");
    stage.app->press("x");
    stage.app->press("Return");
    stage.app->await("Successfully saved loop: x");
    stage.app->awaitWindow("Tessivo");
    stage.app->press("ctrl+o");
    stage.app->awaitWindow("Loop Library");
    stage.app->press("Down");
    stage.app->press("shift+F10");
    touch("Loop Library", "Export");
    const auto exported = stage.documents() / "Chosen" / "x.wav";
    EXPECT_TRUE(eventually([&] { return std::filesystem::exists(exported); }));
    EXPECT_TRUE(readFile(exported) == readFile(stage.newestTake()));
}

TEST(DesktopTest, PortalThatAnswersLateHoldsUpNoStart) {
    Stage stage;
    MockPortal portal(documentsOf(stage), 6s);
    portal.set(u"color-scheme"_s, 1U);
    const auto before = Clock::now();
    stage.start();
    EXPECT_LT(Clock::now() - before, 5s);
    EXPECT_TRUE(turns(false));
    EXPECT_TRUE(eventually([] { return brightness() < 0.5; })) << "what it says is still heard";
    EXPECT_TRUE(stage.app->answers());
}

} // namespace

} // namespace tessivo::test
