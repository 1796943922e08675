#include "Platform/Sound/Device/PipeWireDuplexDevice.h"

#include "Platform/Sound/Device/RecordingRenderer.h"
#include "support/GraphProbe.h"
#include "support/PrivatePipeWire.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace tessivo::test {

namespace {

using namespace std::chrono_literals;
using sound::AudioFormat;
using sound::PipeWireDuplexDevice;

// A cycle long enough that a busy machine does not miss it.
const std::vector<std::string> kCalm{"--quantum", "1024"};

std::vector<std::string> calm(std::vector<std::string> options) {
    options.insert(options.end(), kCalm.begin(), kCalm.end());
    return options;
}

// The longest stretch of consecutive marks of one channel, bit for bit. A machine that is too
// busy loses a cycle now and then, which is not ours to mend; hence a stretch, not the whole.
std::vector<float> longestStretch(const std::vector<float>& samples, std::size_t channel) {
    std::size_t bestStart = 0;
    std::size_t bestLength = 0;
    std::size_t start = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const bool isMark = Mark::isExact(samples[i]) && Mark::channel(samples[i]) == channel;
        if (!isMark) {
            start = i + 1;
            continue;
        }
        if (i > start && Mark::frame(samples[i]) != Mark::frame(samples[i - 1]) + 1) {
            start = i;
        }
        if (i + 1 - start > bestLength) {
            bestLength = i + 1 - start;
            bestStart = start;
        }
    }
    const auto first = samples.begin() + static_cast<std::ptrdiff_t>(bestStart);
    return {first, first + static_cast<std::ptrdiff_t>(bestLength)};
}

constexpr std::size_t kStretch = 2 * 48000;

// Waits until a recording has such a stretch of kStretch frames.
template <typename Recording>
testing::AssertionResult delivers(Recording&& recording, std::size_t channel) {
    std::vector<float> samples;
    const bool found = eventually([&] {
        std::this_thread::sleep_for(200ms);
        samples = recording();
        return longestStretch(samples, channel).size() >= kStretch;
    });
    if (found) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << "the longest stretch of channel " << channel << " is "
           << longestStretch(samples, channel).size() << " of " << samples.size() << " frames";
}

bool rendersFor(const RecordingRenderer& renderer, std::int64_t frames) {
    const std::int64_t goal = renderer.frames() + frames;
    return eventually([&] { return renderer.frames() >= goal; });
}

// The construction is all the time that a device has to get its answers.
TEST(PipeWireDeviceTest, FormatsAreThoseOfTheDefaultDevices) {
    struct Case {
        std::vector<std::string> options;
        AudioFormat input;
        double renderRate;
    };
    for (const Case& c : {
             Case{{"--mic-channels", "3", "--rate", "96000"}, {96000, 3}, 96000},
             Case{{"--mic-rate", "44100", "--mic-channels", "8"}, {44100, 8}, 48000},
             Case{{"--mic-rate", "44100", "--allowed-rates", "44100,48000"}, {44100, 2}, 44100},
             Case{{"--no-mic"}, {}, 48000},
         }) {
        SCOPED_TRACE(c.options.front());
        const PrivatePipeWire server(c.options);
        PipeWireDuplexDevice device("Tessivo");
        EXPECT_EQ(device.formats().input, c.input);
        EXPECT_EQ(device.formats().output.channelCount(), 2U);
        EXPECT_EQ(device.formats().renderRate, c.renderRate);
    }
}

// What reaches the engine is what the microphone gave, bit for bit, without a gap, and the
// first two channels of it are neither mixed with nor replaced by others.
TEST(PipeWireDeviceTest, CapturesTheFirstTwoChannelsBitForBit) {
    struct Case {
        std::vector<std::string> options;
        std::vector<std::string> ports;
    };
    for (const Case& c : {
             Case{{"--mic-channels", "1"}, {"MONO"}},
             Case{{"--mic-channels", "8"}, {"AUX0", "AUX1"}},
             Case{{"--mic-position", "FL,FR,FC,LFE,RL,RR,SL,SR"}, {"FL", "FR"}},
         }) {
        SCOPED_TRACE(c.ports.front());
        PrivatePipeWire server(calm(c.options));
        GraphProbe microphone("feeder", 8, 0);
        for (std::size_t port = 0; port < c.ports.size(); ++port) {
            server.link("feeder:out_" + std::to_string(port), "mic:input_" + c.ports[port]);
        }
        RecordingRenderer renderer;
        PipeWireDuplexDevice device("Tessivo");
        device.start(renderer, {});
        EXPECT_TRUE(delivers([&] { return renderer.input(0); }, 0));
        EXPECT_TRUE(delivers([&] { return renderer.input(1); }, c.ports.size() - 1));
        EXPECT_EQ(renderer.inputChannels(), 2U);
        device.stop();
        const std::int64_t stopped = renderer.frames();
        std::this_thread::sleep_for(100ms);
        EXPECT_EQ(renderer.frames(), stopped);
    }
}

// At one rate, the way through the engine is as long as a cable: the speaker hears the
// device and a direct link at once.
TEST(PipeWireDeviceTest, MonitoringAddsNoFramesToADirectLink) {
    PrivatePipeWire server({"--quantum", "256"});
    GraphProbe microphone("feeder", 2, 0);
    server.link("feeder:out_0", "mic:input_FL");
    server.link("feeder:out_1", "mic:input_FR");
    // The cable: the microphone's right channel goes to the speaker's left side, where the
    // device, which plays only on the right, is silent.
    server.link("mic:capture_FR", "speaker:playback_FL");
    RecordingRenderer renderer(RecordingRenderer::Output::monitorRight);
    PipeWireDuplexDevice device("Tessivo");
    device.start(renderer, {});
    ASSERT_TRUE(rendersFor(renderer, 4800));
    GraphProbe speaker("listener", 0, 2);
    server.link("speaker:monitor_FL", "listener:in_0");
    server.link("speaker:monitor_FR", "listener:in_1");
    EXPECT_TRUE(delivers([&] { return speaker.recording(0); }, 1));
    EXPECT_TRUE(delivers([&] { return speaker.recording(1); }, 1));
    const std::vector<float> cable = speaker.recording(0);
    const std::vector<float> monitored = speaker.recording(1);
    std::size_t together = 0;
    for (std::size_t i = 0; i < std::min(cable.size(), monitored.size()); ++i) {
        together += static_cast<std::size_t>(cable[i] != 0.0F && cable[i] == monitored[i]);
    }
    EXPECT_GE(together, kStretch);
}

TEST(PipeWireDeviceTest, PlaysBitForBitWithoutAMicrophone) {
    PrivatePipeWire server(calm({"--no-mic"}));
    RecordingRenderer renderer;
    PipeWireDuplexDevice device("Tessivo");
    device.start(renderer, {});
    GraphProbe speaker("listener", 0, 2);
    server.link("speaker:monitor_FL", "listener:in_0");
    server.link("speaker:monitor_FR", "listener:in_1");
    EXPECT_TRUE(delivers([&] { return speaker.recording(0); }, 0));
    EXPECT_TRUE(delivers([&] { return speaker.recording(1); }, 1));
    EXPECT_EQ(renderer.inputChannels(), 0U);
}

// A stereo signal reaches a speaker with one channel, too.
TEST(PipeWireDeviceTest, IsHeardOnASpeakerWithOneChannel) {
    PrivatePipeWire server(calm({"--speaker-position", "MONO"}));
    RecordingRenderer renderer;
    PipeWireDuplexDevice device("Tessivo");
    device.start(renderer, {});
    GraphProbe speaker("listener", 0, 1);
    server.link("speaker:monitor_MONO", "listener:in_0");
    ASSERT_TRUE(rendersFor(renderer, 24000));
    const std::vector<float> heard = speaker.recording(0);
    EXPECT_GT(std::count_if(heard.begin(), heard.end(), [](float s) { return s != 0.0F; }), 12000);
}

// Two devices of one process do not disturb each other, and the one that wants no input
// opens none.
TEST(PipeWireDeviceTest, TwoDevicesWorkAtOnceAndOneCanDoWithoutInput) {
    PrivatePipeWire server(kCalm);
    RecordingRenderer both;
    RecordingRenderer outputOnly;
    PipeWireDuplexDevice looper("Looper");
    PipeWireDuplexDevice preview("Preview");
    looper.start(both, {.capture = true});
    preview.start(outputOnly, {.capture = false});
    ASSERT_TRUE(rendersFor(both, 24000));
    ASSERT_TRUE(rendersFor(outputOnly, 24000));
    EXPECT_EQ(both.inputChannels(), 2U);
    EXPECT_EQ(outputOnly.inputChannels(), 0U);
    const std::string links = server.links();
    EXPECT_NE(links.find("Looper:input_FL"), std::string::npos);
    EXPECT_NE(links.find("Preview:output_FL"), std::string::npos);
    EXPECT_EQ(links.find("Preview:input"), std::string::npos);
    preview.stop();
    EXPECT_TRUE(rendersFor(both, 4800));
}

} // namespace

} // namespace tessivo::test
