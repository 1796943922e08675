#include "Audio/SimplePlayer.h"

#include "Audio/EngineRig.h"

#include <gtest/gtest.h>

#include <thread>

using namespace tessivo;
using namespace tessivo::test;
using std::chrono::milliseconds;

namespace {

struct PlayerRig : EngineRig {
    PlayerRig()
        : EngineRig(formats(0))
        , player(engine->createPlayer()) {
        engine->start();
        lines.take();
    }

    // A mono file of that pass.
    void load(const std::vector<float>& pass, const std::string& name = "loop.wav") {
        writeFile(folder / name, 48000.0, {pass});
        player.loadAudioFile(urlOf(folder / name), sound::openForPlaying(folder / name));
    }

    void start(const std::vector<float>& pass) {
        load(pass);
        player.startPlaying();
    }

    // The left side of the next frames, or of those from the first sound on.
    std::vector<float> hear(std::size_t frames) const { return test::hear(*device, frames)[0]; }
    std::vector<float> hearStart(std::size_t frames) const {
        return test::hearStart(*device, frames)[0];
    }

    TemporaryFolder folder;
    SimplePlayer& player;
};

} // namespace

TEST(SimplePlayerTest, SeamHoldsWhileTheMainThreadIsBusy) {
    for (const std::size_t frames : {1U, 3U, 14400U, 50000U}) {
        PlayerRig rig;
        const auto pass = noise(frames, 1);
        rig.start(pass);
        std::vector<float> heard = rig.hearStart(480);
        for (int cycle = 0; cycle < 160; ++cycle) {
            const auto output = rig.device->turn(480);
            heard.insert(heard.end(), output[0].begin(), output[0].end());
            std::this_thread::sleep_for(milliseconds(10));
            if (cycle % 40 == 39) { // only every 400 ms is there time for the event loop
                runPosted();
            }
        }
        EXPECT_EQ(firstDifference(heard, repeated(pass, heard.size())), -1) << frames;
    }
}

TEST(SimplePlayerTest, SaysWhatItDoesAndDoesNothingTwice) {
    PlayerRig rig;
    const auto pass = noise(1000, 1);
    rig.player.stopPlaying();
    rig.player.startPlaying();
    EXPECT_EQ(rig.lines.take(), Lines()) << "nothing is loaded";
    rig.start(pass);
    rig.player.startPlaying();
    const QUrl url = rig.player.currentURL();
    EXPECT_EQ(rig.lines.take(), (Lines{"Audio file loaded: " + url.toString().toStdString(),
                                       "Playback started with looping"}));
    rig.hearStart(1300);
    rig.player.setVolume(0.5F);
    rig.hear(144); // the ramp
    EXPECT_EQ(rig.hear(1)[0], pass[1444 % 1000] * 0.5F);
    rig.player.stopPlaying();
    rig.player.stopPlaying();
    EXPECT_EQ(rig.lines.take(), Lines{"Playback stopped"});
    rig.hear(144);

    rig.player.startPlaying();
    for (const bool sounds : {true, false}) { // until all is over that was scheduled
        EXPECT_TRUE(eventually([&] { return (rig.device->turn(480)[0][0] != 0.0F) == sounds; }));
    }
    rig.player.clearAudioFile(); // and that news has not arrived
    rig.player.clearAudioFile();
    EXPECT_TRUE(rig.player.currentURL().isEmpty());
    rig.player.startPlaying();
    EXPECT_FALSE(rig.player.isPlaying());
    EXPECT_EQ(rig.lines.take(), (Lines{"Playback started with looping", "Playback stopped"}));
    rig.hear(144); // the ramp
    EXPECT_EQ(rig.hear(60000), std::vector<float>(60000));
}

TEST(SimplePlayerTest, FileLoadedWhileLoopingFollowsThePassInProgress) {
    PlayerRig rig;
    const auto first = noise(60000, 1);
    const auto second = noise(20000, 2);
    rig.start(first);
    EXPECT_EQ(firstDifference(rig.hearStart(10000), slice(first, 0, 10000)), -1);
    rig.load(second, "second.wav");
    runFor(milliseconds(100));
    EXPECT_EQ(firstDifference(rig.hear(50000), slice(first, 10000, 50000)), -1);
    EXPECT_EQ(firstDifference(rig.hear(90000), repeated(second, 90000)), -1);
}
