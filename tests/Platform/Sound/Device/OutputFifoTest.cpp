#include "Platform/Sound/Device/OutputFifo.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

namespace tessivo::test {

namespace {

// A queue that is fed with counting samples, so that each one that comes out says how many
// frames earlier it went in. 0 is silence.
struct CountingFifo {
    void push(std::uint32_t frames) {
        std::vector<float> samples(frames);
        for (float& sample : samples) {
            sample = static_cast<float>(++pushed);
        }
        late += fifo.beginCycle();
        fifo.push(std::array<const float*, 2>{samples.data(), samples.data()}, frames);
    }

    std::vector<float> pop(std::uint32_t frames) {
        std::vector<float> left(frames, -1.0F);
        std::vector<float> right(frames, -1.0F);
        silence += fifo.pop(std::array<float*, 2>{left.data(), right.data()}, frames);
        EXPECT_EQ(left, right);
        return left;
    }

    float newest() const { return static_cast<float>(pushed); }

    sound::OutputFifo fifo;
    std::int64_t pushed = 0;
    std::uint32_t silence = 0;
    std::uint32_t late = 0;
};

// What waited while nobody played must not be heard late.
TEST(OutputFifoTest, DropsWhatWasNotFetchedInItsCycle) {
    CountingFifo fifo;
    for (int cycle = 0; cycle < 100; ++cycle) {
        fifo.push(8192);
    }
    EXPECT_EQ(fifo.pop(8192).back(), fifo.newest());
    EXPECT_EQ(fifo.fifo.size(), 0U);
    EXPECT_EQ(fifo.late, 99U * 8192U);
}

// The two sides of a rate conversion need the same number of frames, but not in each cycle.
TEST(OutputFifoTest, BridgesUnevenCyclesAndForgetsWhatItDoesNotNeed) {
    CountingFifo fifo;
    const auto turn = [&fifo](int cycle) {
        fifo.push(cycle % 3 == 0 ? 70 : 69);
        return fifo.pop(cycle % 3 == 2 ? 70 : 69);
    };
    fifo.push(400); // a late start
    fifo.pop(40);
    for (int cycle = 0; cycle < 3000; ++cycle) {
        turn(cycle);
    }
    EXPECT_EQ(fifo.silence, 0U);
    EXPECT_LE(fifo.fifo.size(), 2U);

    // One shortage is bridged with silence, and the order is kept.
    fifo.push(10);
    const std::vector<float> heard = fifo.pop(69);
    EXPECT_GE(fifo.silence, 57U);
    EXPECT_EQ(heard.back(), 0.0F);
    fifo.push(69);
    EXPECT_EQ(fifo.pop(69).front(), fifo.newest() - 68.0F);
}

} // namespace

} // namespace tessivo::test
