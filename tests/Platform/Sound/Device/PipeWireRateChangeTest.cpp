#include "Platform/Sound/Device/PipeWireDuplexDevice.h"
#include "Platform/Sound/Device/RecordingRenderer.h"
#include "support/PrivatePipeWire.h"

#include <gtest/gtest.h>

namespace tessivo::test {

using namespace std::chrono_literals;

// Every change takes the streams' buffers away while cycles run, so this is about memory.
TEST(PipeWireRateChangeTest, SurvivesAGraphThatKeepsChangingItsRate) {
    PrivatePipeWire server({"--quantum", "32"});
    RecordingRenderer renderer;
    sound::PipeWireDuplexDevice device("Tessivo");
    device.start(renderer, {});
    ASSERT_TRUE(eventually([&] { return renderer.cycles() > 10; }));
    for (int change = 0; change < 60; ++change) {
        try {
            server.forceRate(change % 2 == 0 ? 44100 : 48000);
        } catch (const std::runtime_error& error) {
            // The server itself can crash at it. Then the device has to come back to the next one.
            ASSERT_NE(std::string(error.what()).find("Host is down"), std::string::npos);
            server.kill(); // what is left of it
            server.restart();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20 + change));
    }
    const std::uint64_t before = renderer.cycles();
    EXPECT_TRUE(eventually([&] { return renderer.cycles() > before + 10; }));
    EXPECT_EQ(renderer.inputChannels(), 2U);
    EXPECT_EQ(device.formats().renderRate, 48000);
}

} // namespace tessivo::test
