#include "support/TakeRig.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <stdexcept>
#include <thread>

using namespace tessivo::sound;
using namespace tessivo::test;

namespace {

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

// A take from that frame on, after the microphone has heard 20,000.
struct RunningTake : TakeRig {
    explicit RunningTake(std::size_t begin)
        : TakeRig(256) {
        play(20'000);
        input.installTap(2048, input.outputFormat(), take.block(), momentOf(begin));
    }

    InputNode& input = engine->inputNode();
    Take take;
};

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
    for (const std::uint32_t channels : {1U, 8U}) {
        OfflineRig rig(formats(0));
        Take take;
        auto& input = rig.engine->inputNode();
        input.installTap(64, input.outputFormat(), take.block());
        rig.engine->start();
        rig.device->turn(640);
        rig.device->changeFormats(formats(channels));
        rig.main.run();
        const Channels heard(std::min(channels, 2U), noise(640, 1));
        feed(rig, heard, 64);
        input.removeTap();
        EXPECT_EQ(take.samples, heard);
    }
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
    const Channels played{noise(45 * 48000 + 60'000, 1)};
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

// Presses between cycles, with both latencies, by a main thread that is in time, or late, or
// waits for a disk before it can install the tap.
TEST(TapTest, TakeBeginsAndEndsAtThePressHoweverLateItIsHandled) {
    struct Case {
        std::size_t handledAfter; // frames
        std::size_t createdAfter;
    };
    for (const std::size_t quantum : {64U, 256U, 1024U}) {
        for (const auto& [handledAfter, createdAfter] :
             {Case{0, 0}, Case{9600, 0}, Case{9600, 480'000}}) {
            SCOPED_TRACE(quantum + handledAfter + createdAfter);
            TakeRig rig(quantum);
            const auto& in = rig.captured;
            rig.play(50'037 + handledAfter);
            auto& input = rig.engine->inputNode();
            input.hold(rig.momentOf(50'037));
            rig.play(createdAfter);
            input.hold(rig.momentOf(50'030)); // the same moment, by clocks that drift
            Take take;
            input.installTap(2048, input.outputFormat(), take.block(), rig.momentOf(50'037));
            const std::size_t end = 50'037 + createdAfter + 23'456;
            rig.play(end + handledAfter - in[0].size());
            std::optional<std::int64_t> length;
            {
                // What is on its way from the microphone is still to come.
                std::jthread later([&] { rig.play(handledAfter == 0 ? 4096 : 0); });
                length = input.removeTap(rig.momentOf(end));
            }
            const std::size_t frames = end - 50'037;
            ASSERT_EQ(length, static_cast<std::int64_t>(frames));
            ASSERT_GE(take.samples[0].size(), frames);
            for (const std::size_t c : {0U, 1U}) {
                EXPECT_EQ(firstDifference(slice(take.samples[c], 0, frames),
                                          slice(in[c], 50'037 + TakeRig::kInput, frames)),
                          -1);
            }
        }
    }
}

TEST(TapTest, HoleIsSilenceOfTheSameLengthAndToldAsOne) {
    RunningTake rig(10'000);
    for (const std::uint32_t lost : {256U, 5000U}) {
        rig.lose(lost);
        rig.device->loseOutput(240);
        rig.play(3000);
    }
    rig.input.removeTap();
    const std::size_t begin = 10'000 + TakeRig::kInput;
    const auto& in = rig.captured[0];
    EXPECT_EQ(firstDifference(rig.take.samples[0], slice(in, begin, in.size() - begin)), -1);
    EXPECT_EQ(rig.engine->statistics().missedFrames, (Timeline::Losses{5256, 480}));
    EXPECT_EQ(
        rig.lines,
        (std::vector<std::string>{
            "⚠️ Sound was interrupted: 5256 frames (110 ms) of the input "
            "were lost, 480 frames (10 ms) came too late for the speaker",
            "The take has gaps: 5256 frames of the input were lost and replaced by silence"}));
    rig.device->loseOutput(48);
    rig.play(256);
    rig.input.setMeter(0, {});
    EXPECT_EQ(rig.lines.back(),
              "⚠️ Sound was interrupted: 48 frames (1 ms) came too late for the speaker");
}

TEST(TapTest, SilentServerAndUnusedHoldCostNothing) {
    RunningTake rig(20'000);
    rig.play(2048);
    const auto pressed = std::chrono::steady_clock::now();
    EXPECT_EQ(rig.input.removeTap(rig.momentOf(30'000)),
              static_cast<std::int64_t>(rig.captured[0].size()) - 20'000 - TakeRig::kInput);
    EXPECT_LT(std::chrono::steady_clock::now() - pressed, std::chrono::milliseconds(1500));

    for (const bool released : {true, false}) {
        rig.input.hold(rig.momentOf(22'000));
        if (released) {
            rig.input.release();
        }
        for (int second = 0; second < 45; ++second) {
            rig.play(48'000);
            std::this_thread::sleep_for(std::chrono::milliseconds(released ? 20 : 0));
        }
        EXPECT_EQ(rig.engine->statistics().overrunFrames == 0, released);
    }
}

// Whose backlog never ends while the input goes on.
TEST(TapTest, EndOfATakeIsSeenByADiskThatCannotKeepUp) {
    TakeRig rig(1024);
    rig.play(2048);
    auto& input = rig.engine->inputNode();
    std::int64_t written = 0;
    input.installTap(2048, input.outputFormat(), [&](const AudioPCMBuffer& buffer, const auto&) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        written += buffer.frameLength();
    });
    std::atomic<int> cycles = 0;
    std::jthread musician([&](const std::stop_token& stop) {
        for (; cycles < 4000 && !stop.stop_requested(); ++cycles) {
            rig.play(1024);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    EXPECT_TRUE(eventually([&] { return cycles >= 100; }));
    input.removeTap();
    EXPECT_LT(cycles, 3000);
    musician.request_stop();
    EXPECT_GT(written, 48'000);
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

// Otherwise a level would be shown of what no file has.
TEST(TapTest, MeterFollowsTheTakeAndIsBehindItsBlock) {
    const auto begin = std::chrono::steady_clock::now();
    OfflineRig rig;
    rig.engine->start();
    auto& input = rig.engine->inputNode();
    float delivered = -1.0F; // both by the tap thread
    std::atomic<int> levels = 0;
    input.setMeter(64, [&](const AudioPCMBuffer& buffer, bool) {
        EXPECT_LE(buffer.channel(0)[63], delivered);
        ++levels;
    });
    input.installTap(64, AudioFormat(48000.0, 1), [&](const AudioPCMBuffer& buffer, const auto&) {
        delivered = buffer.channel(0)[63];
    });
    std::vector<float> cycle(640);
    float frame = 0.0F;
    EXPECT_TRUE(eventually([&] {
        std::generate(cycle.begin(), cycle.end(), [&] { return ++frame; });
        feed(rig, {cycle, cycle}, 640);
        return levels >= 5;
    }));
    EXPECT_GT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(4 * 33));
    input.removeTap();
}

TEST(TapTest, MeterThatFailsEndsAlone) {
    OfflineRig rig;
    rig.engine->start();
    auto& input = rig.engine->inputNode();
    input.setMeter(64, [](const auto&, bool) { throw std::runtime_error("no memory"); });
    EXPECT_TRUE(eventually([&] {
        feed(rig, {noise(64, 1)}, 64);
        const std::lock_guard lock(rig.linesMutex);
        return !rig.lines.empty();
    }));
    Take take;
    input.installTap(64, AudioFormat(48000.0, 1), take.block());
    feed(rig, {noise(64, 2)}, 64);
    input.removeTap();
    EXPECT_EQ(take.samples, Channels{noise(64, 2)});
    EXPECT_EQ(rig.lines, std::vector<std::string>{"The input's meter ended: no memory"});
}
