#include "Platform/Sound/AudioError.h"
#include "Platform/Sound/Decode/RateConverter.h"
#include "Platform/Sound/PlayerNode.h"
#include "support/OfflineRig.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <tuple>

using namespace tessivo::sound;
using namespace tessivo::test;

namespace {

struct PlayerRig : OfflineRig {
    explicit PlayerRig(AudioDevice::Formats deviceFormats = formats(0))
        : OfflineRig(deviceFormats) {
        engine->attach(player);
        engine->connect(*player, *engine->mainMixerNode());
        engine->start();
    }

    std::shared_ptr<AudioFileReader> file(const Channels& channels, double rate = 48000.0) {
        const auto path = folder / ("loop" + std::to_string(files++) + ".wav");
        writeFile(path, rate, channels);
        return std::make_shared<AudioFileReader>(path);
    }

    // Turns the device, never faster than the reader and the main thread follow.
    Channels hear(std::size_t frames, std::size_t quantum) {
        Channels heard(2);
        while (heard[0].size() < frames) {
            const auto count = std::min(quantum, frames - heard[0].size());
            const auto ahead = static_cast<std::int64_t>(count + 10'000);
            EXPECT_TRUE(main.runUntil([&] { return player->queuedFrames() >= ahead; }));
            append(heard, device->turn(static_cast<std::uint32_t>(count)));
        }
        return heard;
    }

    // Turns the device until the player is heard.
    void hearFirstSound() {
        EXPECT_TRUE(main.runUntil([&] { return device->turn(64)[0][0] != 0.0F; }));
    }

    TemporaryFolder folder;
    int files = 0;
    std::shared_ptr<PlayerNode> player = std::make_shared<PlayerNode>();
};

} // namespace

TEST(PlayerTest, SeamHasNoGapAndEveryPassIsTheFileBitForBit) {
    const Channels samples{noise(12'345, 1), noise(12'345, 2)};
    Channels passes;
    for (int pass = 0; pass < 30; ++pass) {
        append(passes, samples);
    }
    for (const std::size_t quantum : {16U, 64U, 8192U}) {
        PlayerRig rig;
        const auto file = rig.file(samples);
        rig.player->scheduleFile(file, NoticeWhen::read, {}, 10);
        rig.player->scheduleFile(file, NoticeWhen::read, {}, 30);
        rig.player->play();
        EXPECT_FALSE(rig.device->capturing()) << "nobody uses the input";
        const auto heard = rig.hear(passes[0].size(), quantum);
        EXPECT_EQ(firstDifference(heard[0], passes[0]), -1) << quantum;
        EXPECT_EQ(firstDifference(heard[1], passes[1]), -1) << quantum;
        EXPECT_EQ(rig.engine->statistics().underrunFrames, 0);
        rig.engine->connect(rig.engine->inputNode(), *rig.engine->mainMixerNode());
        EXPECT_TRUE(rig.device->capturing());
    }
}

TEST(PlayerTest, StopIsSilentWithinThreeMillisecondsAndTheNextPlayBeginsAtOnce) {
    PlayerRig rig;
    const Channels ones(2, std::vector<float>(96'000, 1.0F));
    std::atomic<int> stopped = 0;
    const auto file = rig.file(ones);
    rig.player->scheduleFile(file, NoticeWhen::heard, [&](const PlaybackNotice& notice) {
        stopped += notice.reason == PlaybackNotice::Reason::stopped ? 1 : 0;
    });
    rig.player->play();
    rig.hearFirstSound();
    rig.player->stop();
    EXPECT_TRUE(rig.main.runUntil([&] { return stopped == 1; }));
    Channels heard;
    for (int i = 0; i < 100; ++i) {
        append(heard, rig.device->turn(64));
    }
    for (std::size_t i = 1; i < 144; ++i) {
        ASSERT_LT(heard[0][i], heard[0][i - 1]);
    }
    EXPECT_EQ(slice(heard[0], 144, 6000), std::vector<float>(6000, 0.0F));

    // Stopped and played again within one cycle: the new file is there with its first frame
    // beside the ramp of the old one.
    rig.player->scheduleFile(file, NoticeWhen::heard, {});
    rig.player->play();
    rig.hearFirstSound();
    rig.player->stop();
    const Channels twos(2, std::vector<float>(96'000, 2.0F));
    rig.player->scheduleFile(rig.file(twos), NoticeWhen::heard, {});
    rig.player->play();
    ASSERT_TRUE(rig.main.runUntil([&] { return rig.player->queuedFrames() > 4800; }));
    const auto both = rig.device->turn(256);
    EXPECT_GT(both[0][0], 2.9F);
    EXPECT_EQ(both[0][200], 2.0F);

    // Nothing stays behind, also of what was stopped before anything was decoded.
    for (int i = 0; i < 20; ++i) {
        rig.player->stop();
        rig.player->scheduleFile(file, NoticeWhen::heard, {});
        rig.player->play();
        rig.player->stop();
        rig.device->turn(144);
        EXPECT_FALSE(rig.player->isFading()) << i;
    }
}

TEST(PlayerTest, HeardNoticeComesWhenTheSoundHasEnded) {
    PlayerRig rig;
    rig.device->setLatencies(0.0, 0.1);
    std::atomic<bool> done = false;
    const auto id = rig.player->scheduleFile(
        rig.file({noise(4800, 5)}, 24000.0), NoticeWhen::heard, [&](const PlaybackNotice& notice) {
            done = notice.reason == PlaybackNotice::Reason::done && notice.passId != 0;
        });
    EXPECT_NE(id, 0U);
    rig.player->play();
    rig.hearFirstSound();
    ASSERT_TRUE(rig.main.runUntil([&] { return rig.player->queuedFrames() > 9000; }));
    rig.device->turn(8192);
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    EXPECT_FALSE(done) << "the last frames have not been taken yet";
    rig.device->turn(8192);
    const auto ended = std::chrono::steady_clock::now();
    ASSERT_TRUE(rig.main.runUntil([&] { return done.load(); }));
    EXPECT_GE(std::chrono::steady_clock::now() - ended, std::chrono::milliseconds(95));
}

TEST(PlayerTest, RateConversionRunsOnAcrossTheSeam) {
    PlayerRig rig;
    // 100 periods: the loop is one endless sine.
    const auto file = rig.file({sine(4410, 44100.0)}, 44100.0);
    rig.player->scheduleFile(file, NoticeWhen::read, {}, 10);
    rig.player->scheduleFile(file, NoticeWhen::read, {}, 20);
    rig.player->play();
    EXPECT_LT(worstError(rig.hear(96'000, 64)[0], 48000.0, 1000, 96'000), 0.001F);
}

TEST(PlayerTest, FileThatGotShorterKeepsTheLoopsLength) {
    PlayerRig rig;
    const Channels samples{noise(200'000, 8)};
    const auto file = rig.file(samples);
    std::filesystem::resize_file(rig.folder / "loop0.wav", 100'000 * sizeof(float));
    rig.player->scheduleFile(file, NoticeWhen::read, {}, 3);
    rig.player->play();
    const auto heard = rig.hear(300'000, 64)[0];
    EXPECT_EQ(firstDifference(slice(heard, 0, 90'000), slice(samples[0], 0, 90'000)), -1);
    EXPECT_EQ(slice(heard, 110'000, 90'000), std::vector<float>(90'000, 0.0F));
    EXPECT_EQ(firstDifference(slice(heard, 200'000, 90'000), slice(samples[0], 0, 90'000)), -1);
}

TEST(PlayerTest, DiskThatIsTooSlowCostsFramesThatOneLineCounts) {
    PlayerRig rig;
    // The reader is held up behind each of the first two files until it may go on.
    std::atomic<int> reached = 0;
    std::atomic<int> allowed = 0;
    const auto hold = [&](const PlaybackNotice&) {
        EXPECT_TRUE(eventually([&, file = ++reached] { return allowed >= file; }));
    };
    const auto file = rig.file({noise(12'000, 3)});
    rig.player->play();
    rig.player->scheduleFile(file, NoticeWhen::read, hold);
    rig.player->scheduleFile(file, NoticeWhen::read, hold);
    rig.player->scheduleFile(file, NoticeWhen::read, {});
    allowed = 1;
    ASSERT_TRUE(eventually([&] { return reached == 2; }));
    rig.device->turn(30'000);
    EXPECT_EQ(rig.engine->statistics().underrunFrames, 6000);
    allowed = 2;
    EXPECT_TRUE(rig.main.runUntil([&] { return rig.player->queuedFrames() == 12'000; }));
    rig.engine.reset();
    EXPECT_EQ(rig.lines, std::vector<std::string>{"Playback was short of 6000 frames: the disk "
                                                  "did not deliver in time"});
}

TEST(PlayerTest, WhatNoLoopShouldHoldIsSilentOrLimitedAndToldOnce) {
    PlayerRig rig;
    constexpr float kNoNumber = std::numeric_limits<float>::quiet_NaN();
    constexpr float kInfinite = std::numeric_limits<float>::infinity();
    std::vector<float> samples = noise(48'000, 4);
    std::vector<float> expected = samples;
    const std::vector<std::pair<float, float>> cases{
        {kNoNumber, 0.0F}, {kInfinite, 0.0F}, {-kInfinite, 0.0F}, {3e38F, 4.0F},
        {-5.0F, -4.0F},    {3.999F, 3.999F},  {-4.0F, -4.0F}};
    for (std::size_t i = 0; i < cases.size(); ++i) {
        std::tie(samples[2000 + i], expected[2000 + i]) = cases[i];
    }
    rig.player->scheduleFile(rig.file({samples}), NoticeWhen::read, {}, 2);
    rig.player->play();
    EXPECT_EQ(firstDifference(rig.hear(48'000, 256)[0], expected), -1);

    // A converter's filter forgets them, and so does what they are mixed with.
    rig.player->stop();
    rig.device->turn(256);
    auto tone = sine(44'100, 44100.0);
    tone[22'050] = kNoNumber; // in place of silence
    rig.player->scheduleFile(rig.file({tone}, 44100.0), NoticeWhen::read, {}, 2);
    rig.player->play();
    EXPECT_LT(worstError(rig.hear(36'000, 256)[0], 48000.0, 1000, 36'000), 0.001F);
    rig.engine.reset();
    ASSERT_EQ(rig.lines.size(), 1U);
    EXPECT_NE(rig.lines[0].find("limited to 12 dB"), std::string::npos);
}

TEST(PlayerTest, EveryNoticeFiresOnceWhateverEndsIt) {
    std::atomic<int> fired = 0;
    const auto count = [&](const PlaybackNotice&) {
        ++fired;
    };
    {
        PlayerRig rig;
        const auto file = rig.file({noise(480'000, 9)});
        rig.player->scheduleFile(file, NoticeWhen::read, count);
        rig.player->scheduleFile(file, NoticeWhen::heard, count);
        rig.player->stop(); // never played
        rig.player->scheduleFile(file, NoticeWhen::heard, count);
        rig.engine.reset(); // while it waits
        EXPECT_FALSE(rig.player->isAttached());
        EXPECT_THROW(rig.player->scheduleFile(file, NoticeWhen::read, count), AudioError);
    }
    EXPECT_EQ(fired, 3);
}

TEST(PlayerTest, RateThatCannotBeConvertedEndsThePlayerWithOneLine) {
    PlayerRig rig;
    std::atomic<int> stopped = 0;
    const auto count = [&](const PlaybackNotice& notice) {
        stopped += notice.reason == PlaybackNotice::Reason::stopped ? 1 : 0;
    };
    const auto tooSlow = rig.file({noise(100, 1)}, 100.0);
    const auto good = rig.file({noise(4800, 2)});
    rig.player->scheduleFile(tooSlow, NoticeWhen::heard, count);
    rig.player->scheduleFile(good, NoticeWhen::read, count);
    rig.player->play();
    EXPECT_TRUE(rig.main.runUntil([&] { return stopped == 2; }));
    rig.player->scheduleFile(good, NoticeWhen::read, count);
    EXPECT_TRUE(rig.main.runUntil([&] { return stopped == 3; })) << "it has ended";
    rig.player->stop();
    rig.player->scheduleFile(good, NoticeWhen::heard, {});
    rig.player->play();
    rig.hearFirstSound();
    EXPECT_EQ(rig.lines, std::vector<std::string>{"Playback ended: The sample rate cannot be "
                                                  "converted"});

    // The same for an error in the middle of the conversion: what it returned last may not be
    // its next input, because it writes there.
    RateConverter converter(48000.0, 44100.0, 1);
    EXPECT_THROW(converter.process(converter.process(noise(4096, 1))), AudioError);
}
