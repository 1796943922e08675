#include "support/OfflineRig.h"

#include <gtest/gtest.h>

#include <atomic>

using namespace tessivo::sound;
using namespace tessivo::test;

namespace {

// Collects what a tap delivers.
struct Take {
    Channels samples;
    std::vector<std::uint32_t> lengths;
    bool contiguous = true;

    TapHandler block() {
        return [this](const AudioPCMBuffer& buffer, const AudioTime& time) {
            contiguous =
                contiguous && (samples.empty() ||
                               time.sampleTime == static_cast<std::int64_t>(samples[0].size()));
            samples.resize(buffer.format().channelCount());
            for (std::uint32_t c = 0; c < samples.size(); ++c) {
                const auto channel = buffer.channel(c);
                samples[c].insert(samples[c].end(), channel.begin(), channel.end());
            }
            lengths.push_back(buffer.frameLength());
        };
    }
};

void feed(OfflineRig& rig, const Channels& input, std::size_t quantum) {
    const std::size_t frames = input.front().size();
    for (std::size_t done = 0; done < frames; done += quantum) {
        const std::size_t count = std::min(quantum, frames - done);
        Channels cycle;
        for (const auto& channel : input) {
            cycle.push_back(slice(channel, done, count));
        }
        rig.device->turn(static_cast<std::uint32_t>(count), cycle);
    }
}

} // namespace

TEST(TapTest, TakeIsEveryFrameBetweenInstallAndRemoveAtAnyQuantum) {
    for (const std::size_t quantum : {16U, 64U, 441U, 8192U}) {
        OfflineRig rig;
        rig.engine->start();
        auto& input = rig.engine->inputNode();
        feed(rig, {noise(1000, 9), noise(1000, 9)}, quantum);
        Take take;
        input.installTap(2048, input.outputFormat(), take.block());
        const Channels played{noise(100'003, 1), noise(100'003, 2)};
        feed(rig, played, quantum);
        input.removeTap();
        input.removeTap();
        feed(rig, {noise(1000, 9), noise(1000, 9)}, quantum);

        ASSERT_EQ(take.samples.size(), 2U) << quantum;
        EXPECT_EQ(firstDifference(take.samples[0], played[0]), -1) << quantum;
        EXPECT_EQ(firstDifference(take.samples[1], played[1]), -1) << quantum;
        EXPECT_TRUE(take.contiguous);
        EXPECT_EQ(take.lengths.size(), 49U);
        EXPECT_EQ(take.lengths.front(), 2048U);
        EXPECT_EQ(take.lengths.back(), 100'003U % 2048U);
    }
}

TEST(TapTest, ChannelsOfTheTapAreThoseOfItsFormat) {
    const Channels stereo{noise(500, 1), noise(500, 2)};
    OfflineRig rig;
    rig.engine->start();
    Take mono;
    rig.engine->inputNode().installTap(64, AudioFormat(48000.0, 1), mono.block());
    feed(rig, stereo, 100);
    rig.engine->inputNode().removeTap();
    ASSERT_EQ(mono.samples.size(), 1U);
    EXPECT_EQ(firstDifference(mono.samples[0], stereo[0]), -1);

    // A mono device takes over during a stereo take, then none is left: the take keeps its
    // format and its time.
    Take take;
    rig.engine->inputNode().installTap(64, AudioFormat(48000.0, 2), take.block());
    feed(rig, {stereo[0]}, 100);
    rig.device->turn(200);
    rig.engine->inputNode().removeTap();
    ASSERT_EQ(take.samples.size(), 2U);
    ASSERT_EQ(take.samples[1].size(), 700U);
    EXPECT_EQ(firstDifference(slice(take.samples[1], 0, 500), stereo[0]), -1);
    EXPECT_EQ(slice(take.samples[0], 500, 200), std::vector<float>(200, 0.0F));
}

TEST(TapTest, TapInstalledWithoutAnInputBeginsWithTheFirstOne) {
    OfflineRig rig(formats(0));
    auto& input = rig.engine->inputNode();
    std::atomic<int> buffers = 0;
    std::atomic<std::uint32_t> channels = 0;
    input.installTap(64, input.outputFormat(), [&](const AudioPCMBuffer& buffer, const AudioTime&) {
        ++buffers;
        channels = buffer.format().channelCount();
    });
    rig.engine->start();
    rig.device->turn(640);
    rig.device->changeFormats(formats(1));
    rig.main.run();
    feed(rig, {noise(640, 1)}, 64);
    input.removeTap();
    EXPECT_EQ(buffers, 10);
    EXPECT_EQ(channels, 1U);
}

// A disk that is blocked costs no frame for forty seconds.
TEST(TapTest, OverflowIsSilenceOfTheSameLengthAndOneLine) {
    OfflineRig rig(formats(1));
    rig.engine->start();
    Take take;
    std::atomic<bool> blocked = true;
    rig.engine->inputNode().installTap(
        2048, AudioFormat(48000.0, 1),
        [&, write = take.block()](const AudioPCMBuffer& buffer, const AudioTime& time) {
            while (blocked) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            write(buffer, time);
        });
    const Channels played{noise(45 * 48000, 1)};
    feed(rig, played, 1024);
    const auto lost = rig.engine->statistics().overrunFrames;
    EXPECT_GT(lost, 4 * 48000);
    EXPECT_LE(lost, 5 * 48000);
    blocked = false;
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const Channels after{noise(5000, 2)};
    feed(rig, after, 64);
    rig.engine->inputNode().removeTap();

    const auto& samples = take.samples[0];
    const auto kept = played[0].size() - static_cast<std::size_t>(lost);
    ASSERT_EQ(samples.size(), played[0].size() + 5000);
    EXPECT_EQ(firstDifference(slice(samples, 0, kept), slice(played[0], 0, kept)), -1);
    EXPECT_EQ(slice(samples, kept, static_cast<std::size_t>(lost)),
              std::vector<float>(static_cast<std::size_t>(lost), 0.0F));
    EXPECT_EQ(firstDifference(slice(samples, played[0].size(), 5000), after[0]), -1);
    ASSERT_EQ(rig.lines.size(), 1U);
    EXPECT_NE(rig.lines[0].find(std::to_string(lost)), std::string::npos);
}

TEST(TapTest, TapAtAnotherRateHasThePitchAndTheLength) {
    OfflineRig rig(formats(1, 44100.0));
    rig.engine->start();
    Take take;
    rig.engine->inputNode().installTap(2048, AudioFormat(44100.0, 1), take.block());
    feed(rig, {sine(96'000, 48000.0)}, 64);
    rig.engine->inputNode().removeTap();
    const auto& samples = take.samples[0];
    EXPECT_NEAR(static_cast<double>(samples.size()), 88200.0, 2.0);
    EXPECT_LT(worstError(samples, 44100.0, 2000, 80'000), 0.001F);

    // A rate that cannot be converted ends the tap, not the program.
    rig.engine->inputNode().installTap(64, AudioFormat(100.0, 1), take.block());
    feed(rig, {noise(1000, 1)}, 64);
    rig.engine->inputNode().removeTap();
    EXPECT_EQ(rig.lines, std::vector<std::string>{"The input's tap ended: The sample rate cannot "
                                                  "be converted"});
}
