#include "Audio/SimplePlayer.h"

#include "Platform/Sound/AudioError.h"
#include "Platform/System/MainQueue.h"
#include "support/QtTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <numbers>
#include <thread>

using namespace tessivo;
using namespace tessivo::test;
using std::chrono::milliseconds;

namespace {

constexpr std::uint32_t kCycle = 480; // 10 ms

struct PlayerRig {
    PlayerRig() {
        auto owned = std::make_unique<sound::OfflineDevice>(formats(0));
        device = owned.get();
        engine = std::make_unique<sound::AudioEngine>(
            std::move(owned), [](auto task) { MainQueue::post(std::move(task)); });
        player = std::make_unique<SimplePlayer>(*engine);
        engine->start();
    }

    QUrl write(const std::string& name, const Channels& channels, double rate = 48000.0) const {
        writeFile(folder / name, rate, channels);
        return urlOf(folder / name);
    }

    // Hears that many frames, at three times the pace of a real device.
    Channels hear(std::size_t frames) const {
        Channels heard;
        for (std::size_t at = 0; at < frames; at += kCycle) {
            append(heard, device->turn(static_cast<std::uint32_t>(
                              std::min<std::size_t>(kCycle, frames - at))));
            runFor(milliseconds(3));
        }
        return heard;
    }

    // Lets the reader get ahead, so that the next cycle is the first that sounds.
    static void getReady() { runFor(milliseconds(100)); }

    TemporaryFolder folder;
    CapturedLines lines;
    sound::OfflineDevice* device = nullptr;
    std::unique_ptr<sound::AudioEngine> engine;
    std::unique_ptr<SimplePlayer> player;
};

std::vector<float> repeated(const std::vector<float>& pass, std::size_t frames) {
    std::vector<float> result(frames);
    for (std::size_t i = 0; i < frames; ++i) {
        result[i] = pass[i % pass.size()];
    }
    return result;
}

} // namespace

TEST(SimplePlayerTest, LoopsFilesOfAnyLengthBitForBit) {
    for (const std::size_t frames : {1U, 3U, 1000U, 33333U}) {
        for (const std::size_t channels : {1U, 2U}) {
            PlayerRig rig;
            Channels file{noise(frames, 1)};
            if (channels == 2) {
                file.push_back(noise(frames, 2));
            }
            rig.player->loadAudioFile(rig.write("loop.wav", file));
            rig.player->startPlaying();
            PlayerRig::getReady();
            const Channels heard = rig.hear(70000);
            EXPECT_EQ(firstDifference(heard[0], repeated(file.front(), 70000)), -1) << frames;
            EXPECT_EQ(firstDifference(heard[1], repeated(file.back(), 70000)), -1) << frames;
        }
    }
}

TEST(SimplePlayerTest, LoopOfAnotherRateKeepsItsLengthAndHasNoSeam) {
    PlayerRig rig;
    std::vector<float> sine(4410); // ten whole periods of 100 Hz
    for (std::size_t i = 0; i < sine.size(); ++i) {
        sine[i] = static_cast<float>(
            0.5 * std::sin(2.0 * std::numbers::pi * static_cast<double>(i) / 441.0));
    }
    rig.player->loadAudioFile(rig.write("loop.wav", {sine}, 44100.0));
    rig.player->startPlaying();
    PlayerRig::getReady();
    const auto heard = rig.hear(96000)[0];
    float largest = 0.0F;
    for (std::size_t i = 4800; i + 480 < heard.size(); ++i) {
        largest = std::max(largest, std::abs(heard[i + 480] - heard[i]));
    }
    EXPECT_LT(largest, 1e-4F);
    EXPECT_GT(*std::max_element(heard.begin(), heard.end()), 0.49F);
}

TEST(SimplePlayerTest, SeamHoldsWhileTheMainThreadIsBusy) {
    for (const std::size_t frames : {3U, 14400U, 50000U}) {
        PlayerRig rig;
        const Channels file(2, noise(frames, 1));
        rig.player->loadAudioFile(rig.write("loop.wav", file));
        rig.player->startPlaying();
        PlayerRig::getReady();
        Channels heard;
        for (int block = 0; block < 4; ++block) {
            for (int cycle = 0; cycle < 40; ++cycle) {
                append(heard, rig.device->turn(kCycle));
                std::this_thread::sleep_for(milliseconds(10));
            }
            runPosted();
        }
        EXPECT_EQ(firstDifference(heard[0], repeated(file[0], heard[0].size())), -1) << frames;
    }
}

TEST(SimplePlayerTest, StopSilencesAtOnceAndTheNextStartBeginsAfresh) {
    PlayerRig rig;
    const Channels file(2, noise(1000, 1));
    const QUrl url = rig.write("loop.wav", file);
    rig.player->stopPlaying();
    rig.player->startPlaying();
    EXPECT_EQ(rig.lines.take(), Lines()) << "nothing is loaded";
    rig.player->loadAudioFile(url);
    rig.player->startPlaying();
    rig.player->startPlaying();
    EXPECT_EQ(rig.lines.take(), (Lines{"Audio file loaded: " + url.toString().toStdString(),
                                       "Playback started with looping"}));
    PlayerRig::getReady();
    rig.hear(1300);
    rig.player->stopPlaying();
    rig.player->stopPlaying();
    EXPECT_EQ(rig.lines.take(), Lines{"Playback stopped"});
    rig.hear(144); // the ramp
    EXPECT_EQ(rig.hear(60000)[0], std::vector<float>(60000));

    rig.player->startPlaying();
    PlayerRig::getReady();
    EXPECT_EQ(firstDifference(rig.hear(2500)[0], repeated(file[0], 2500)), -1);

    rig.player->clearAudioFile();
    rig.player->clearAudioFile();
    EXPECT_TRUE(rig.player->currentURL().isEmpty());
    EXPECT_FALSE(rig.player->isPlaying());
    rig.player->startPlaying();
    EXPECT_EQ(rig.lines.take(), (Lines{"Playback started with looping", "Playback stopped"}));
    rig.hear(144);
    EXPECT_EQ(rig.hear(60000)[0], std::vector<float>(60000));
    EXPECT_TRUE(std::filesystem::exists(pathOf(url)));
}

TEST(SimplePlayerTest, FileLoadedWhileLoopingFollowsThePassInProgress) {
    PlayerRig rig;
    const auto first = noise(30000, 1);
    const auto second = noise(20000, 2);
    rig.player->loadAudioFile(rig.write("first.wav", {first}));
    rig.player->startPlaying();
    PlayerRig::getReady();
    EXPECT_EQ(firstDifference(rig.hear(10000)[0], slice(first, 0, 10000)), -1);
    rig.player->loadAudioFile(rig.write("second.wav", {second}));
    PlayerRig::getReady();
    EXPECT_EQ(firstDifference(rig.hear(20000)[0], slice(first, 10000, 20000)), -1);
    EXPECT_EQ(firstDifference(rig.hear(90000)[0], repeated(second, 90000)), -1);
}

TEST(SimplePlayerTest, FileThatCannotBeLoadedChangesNothing) {
    PlayerRig rig;
    const auto pass = noise(3000, 1);
    const QUrl url = rig.write("loop.wav", {pass});
    std::ofstream(rig.folder / "garbage.wav") << "not a wave";
    const auto emptyTake = rig.folder / "empty.wav";
    sound::AudioFileWriter(emptyTake, sound::AudioFormat(48000.0, 2).settings());
    rig.player->loadAudioFile(url);
    rig.player->startPlaying();
    rig.lines.take();
    for (const char* name : {"missing.wav", "garbage.wav", "empty.wav"}) {
        EXPECT_THROW(rig.player->loadAudioFile(urlOf(rig.folder / name)), sound::AudioError)
            << name;
    }
    EXPECT_EQ(rig.player->currentURL(), url);
    EXPECT_EQ(rig.lines.take(), Lines());
    PlayerRig::getReady();
    EXPECT_EQ(firstDifference(rig.hear(60000)[0], repeated(pass, 60000)), -1);
}

TEST(SimplePlayerTest, VolumeIsAPlainFactor) {
    PlayerRig rig;
    const std::vector<float> pass(4800, 0.5F);
    rig.player->loadAudioFile(rig.write("loop.wav", {pass}));
    rig.player->startPlaying();
    PlayerRig::getReady();
    EXPECT_EQ(rig.hear(480)[0], std::vector(480, 0.5F));
    rig.player->setVolume(0.5F);
    rig.hear(480);
    EXPECT_EQ(rig.hear(480)[0], std::vector(480, 0.25F));
    rig.player->setVolume(1.5F);
    rig.hear(480);
    EXPECT_EQ(rig.hear(480)[0], std::vector(480, 0.75F));
}
