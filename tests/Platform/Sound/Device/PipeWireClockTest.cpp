#include "Platform/Sound/Device/PipeWireDuplexDevice.h"
#include "Platform/Sound/Device/RecordingRenderer.h"
#include "support/GraphProbe.h"
#include "support/PrivatePipeWire.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <string>

// What a device says of its cycles: when they are, what was lost, how long they are.
namespace tessivo::test {

namespace {

using namespace std::chrono_literals;
using sound::PipeWireDuplexDevice;

// In the first cycles after a link was made the other node, too, may come so late that it finds the
// clock of a later one, which then comes twice.
constexpr int kSettlingCycles = 8;

struct Clocked {
    explicit Clocked(const std::vector<std::string>& options)
        : server(options) {
        server.link("feeder:out_0", "mic:input_FL");
        device.start(renderer, {});
    }
    // Another node of the graph has seen every frame in a cycle of its own: all of them have
    // that cycle's time, and the device has said how many frames are missing. A node that comes
    // late finds the clock of a later cycle, and may go on coming late: so the two of them agree
    // but for one cycle, and for the loss that the one has just found. Returns the sum.
    std::int64_t checkedLosses() {
        device.stop();
        const std::vector<float> input = renderer.input(0);
        std::int64_t losses = 0;
        std::int64_t checked = 0;
        std::int64_t elsewhere = 0;
        std::int64_t position = -1; // of the end of the previous cycle
        std::int64_t untold = 0;
        std::int64_t longest = 0; // cycle
        std::uint32_t driver = 0;
        int settling = kSettlingCycles;
        for (const RecordingRenderer::Cycle& cycle : renderer.log()) {
            const auto first = input.begin() + cycle.first;
            if (!Mark::isExact(*first) || !Mark::isExact(*(first + cycle.frames - 1))) {
                settling = kSettlingCycles; // silence while links are made
            }
            if (settling > 0) {
                --settling;
                position = -1;
                continue;
            }
            const GraphProbe::Clock clock = feeder.clockOf(Mark::frame(*first));
            const bool goesOn = position >= 0 && clock.driver == driver;
            const std::int64_t hole = goesOn ? clock.position - position : 0;
            untold = goesOn ? untold + hole - cycle.missed : 0;
            longest = std::max<std::int64_t>(longest, cycle.frames);
            EXPECT_GE(untold, -longest - cycle.missed) << "in frame " << cycle.first;
            EXPECT_LE(untold, longest + hole) << "in frame " << cycle.first;
            if (untold == 0 && hole == 0 && cycle.missed == 0 &&
                cycle.time.time_since_epoch().count() != clock.nanoseconds) {
                ++elsewhere;
            }
            driver = clock.driver;
            position = clock.position + cycle.frames;
            losses += cycle.missed;
            if (cycle.missed > 0) {
                lostAt.push_back(Mark::frame(*first));
            }
            ++checked;
        }
        EXPECT_GT(checked, 50);
        EXPECT_LE(elsewhere, checked / 10);
        return losses;
    }
    bool renders(std::int64_t frames) {
        const std::int64_t goal = renderer.frames() + frames;
        return eventually([&] { return renderer.frames() >= goal; });
    }
    std::uint32_t cycleLength() const { return renderer.log().back().frames; }

    PrivatePipeWire server;
    GraphProbe feeder{"feeder", 1, 0};
    RecordingRenderer renderer;
    std::vector<std::int64_t> lostAt; // behind each checked loss, in frames of the feeder
    std::atomic<int> lines{0};
    PipeWireDuplexDevice device{"Tessivo", [this](const std::string&) {
                                    ++lines;
                                }};
};

TEST(PipeWireClockTest, EveryFrameHasTheTimeOfTheGraphAndNoLossIsUntold) {
    Clocked rig({"--quantum", "512"});
    ASSERT_TRUE(rig.renders(48000));
    for (const auto time : {30ms, 100ms}) {
        rig.renderer.blockOnce(time);
        ASSERT_TRUE(rig.renders(9600));
    }
    EXPECT_GE(rig.checkedLosses(), 2 * 512);
}

// The length of a cycle may change at any time; nothing that is captured or heard is lost by that.
// A machine that is late loses a cycle now and then: ours would be what each change of a kind
// loses.
TEST(PipeWireClockTest, AnotherLengthOfCyclesLosesNothing) {
    constexpr std::array kLengths{256, 2048, 512, 1024};
    Clocked rig({"--quantum", "1024"});
    GraphProbe listener("listener", 0, 1);
    rig.server.link("Tessivo:output_FL", "listener:in_0");
    ASSERT_TRUE(rig.renders(4800));
    std::vector<std::int64_t> changedAt; // frames of the feeder
    for (std::size_t change = 0; change < 20; ++change) {
        changedAt.push_back(rig.feeder.frames());
        rig.server.set("force-quantum", kLengths.at(change % kLengths.size()));
        ASSERT_TRUE(rig.renders(4800));
    }
    rig.checkedLosses();
    const std::vector<float> heard = listener.recording(0);
    auto last = std::find_if(heard.begin(), heard.end(), Mark::isExact);
    ASSERT_GT(heard.end() - last, 10 * 4800);
    for (auto sample = last + 1; sample != heard.end(); last = sample++) {
        if (*sample != Mark::sample(0, Mark::frame(*last) + 1)) {
            rig.lostAt.push_back(Mark::frame(*last));
            sample = std::find_if(sample, heard.end() - 1, Mark::isExact);
        }
    }
    for (std::size_t kind = 0; kind < kLengths.size(); ++kind) {
        bool isEachSpoilt = true;
        for (std::size_t change = kind; change < changedAt.size(); change += kLengths.size()) {
            const std::int64_t end =
                change + 1 < changedAt.size() ? changedAt[change + 1] : INT64_MAX;
            isEachSpoilt =
                isEachSpoilt &&
                std::any_of(rig.lostAt.begin(), rig.lostAt.end(), [&](std::int64_t lost) {
                    return lost >= changedAt[change] && lost < end;
                });
        }
        EXPECT_FALSE(isEachSpoilt) << "each change to " << kLengths.at(kind);
    }
}

// A graph that changes its rate stands still for some milliseconds; how long is told, so that what
// is captured and what is heard keep the time. It may then go on up to a cycle too early.
TEST(PipeWireClockTest, AnotherRateKeepsTheTime) {
    Clocked rig({"--quantum", "256"});
    ASSERT_TRUE(rig.renders(9600));
    const std::int64_t before = rig.renderer.frames();
    for (int change = 0; change < 20; ++change) {
        rig.server.forceRate(change % 2 == 0 ? 44100 : 48000);
        ASSERT_TRUE(rig.renders(9600));
    }
    rig.device.stop();
    double passed = 0.0;   // since the first change, frames
    std::int64_t told = 0; // of them
    double ahead = 0.0;    // of the time, at most until then
    int astray = 0;        // cycles one after the other; one that comes late has a later one's time
    RecordingRenderer::Cycle previous{};
    for (const RecordingRenderer::Cycle& cycle : rig.renderer.log()) {
        if (cycle.first > before) {
            passed += std::chrono::duration<double>(cycle.time - previous.time).count() * 48000;
            told += previous.frames + cycle.missed;
            const double untold = passed - static_cast<double>(told);
            ahead = std::max(ahead, -untold);
            astray = untold + ahead < 1500.0 ? 0 : astray + 1;
            EXPECT_LT(astray, kSettlingCycles) << cycle.first;
        }
        previous = cycle;
    }
    EXPECT_GT(told, rig.renderer.frames() - before); // the graph did stand still
    EXPECT_LT(ahead, 20 * 256.0);
    EXPECT_LT(rig.device.missedOutputFrames(), 20 * 256);
}

// Half of what is stated, because the virtual microphone and speaker, which are linked as well,
// state nothing.
TEST(PipeWireClockTest, TheLatenciesAreThoseThatTheGraphStates) {
    Clocked rig({"--quantum", "1024"});
    ASSERT_TRUE(rig.renders(9600));
    EXPECT_LT(rig.device.inputLatency(), 0.001);
    EXPECT_LT(rig.device.outputLatency(), 0.001);
    const GraphProbe source("early", 1, 0, 0, 40ms);
    const GraphProbe sink("late", 0, 1, 0, 100ms);
    rig.server.link("early:out_0", "Tessivo:input_FL");
    rig.server.link("Tessivo:output_FL", "late:in_0");
    const auto states = [](double latency, double seconds) {
        return std::abs(latency - seconds) < 0.001;
    };
    EXPECT_TRUE(eventually([&] { return states(rig.device.inputLatency(), 0.02); }))
        << rig.device.inputLatency();
    EXPECT_TRUE(eventually([&] { return states(rig.device.outputLatency(), 0.05); }))
        << rig.device.outputLatency();
}

// Short while the input is heard, and longer when the machine cannot keep up.
TEST(PipeWireClockTest, ShortCyclesAreAskedForOnlyWhileTheyAreWanted) {
    Clocked rig({"--quantum", "1024"});
    rig.server.set("min-quantum", 32);
    const auto become = [&rig](std::uint32_t frames) {
        return eventually([&] { return rig.cycleLength() == frames; });
    };
    ASSERT_TRUE(rig.renders(4800));
    EXPECT_EQ(rig.cycleLength(), 1024U);
    rig.device.setShortCycles(true);
    EXPECT_TRUE(become(64));
    for (int attempt = 0; attempt < 20 && rig.lines == 0; ++attempt) {
        std::this_thread::sleep_for(400ms);
        rig.renderer.blockOnce(30ms);
    }
    EXPECT_GE(rig.lines, 1);
    EXPECT_TRUE(eventually([&] { return rig.cycleLength() >= 128; })) << rig.cycleLength();
    rig.device.setShortCycles(false);
    EXPECT_TRUE(become(1024)) << rig.cycleLength();
    rig.checkedLosses();

    // What the user has set comes first.
    setenv("PIPEWIRE_LATENCY", "256/48000", 1);
    RecordingRenderer renderer;
    PipeWireDuplexDevice device("Set");
    device.start(renderer, {});
    unsetenv("PIPEWIRE_LATENCY");
    device.setShortCycles(true);
    ASSERT_TRUE(eventually([&] { return renderer.frames() > 24000; }));
    EXPECT_EQ(renderer.log().back().frames, 256U);
}

} // namespace

} // namespace tessivo::test
