#include "Platform/Sound/AudioError.h"
#include "support/OfflineRig.h"

#include <gtest/gtest.h>

using namespace tessivo::sound;
using namespace tessivo::test;

namespace {

// Input, through a monitoring mixer, to the main mix.
struct MonitoringRig : OfflineRig {
    explicit MonitoringRig(AudioDevice::Formats deviceFormats = formats(2))
        : OfflineRig(deviceFormats) {
        engine->attach(monitor);
        engine->connect(engine->inputNode(), *monitor);
        engine->connect(*monitor, *engine->mainMixerNode());
        engine->start();
    }

    std::shared_ptr<MixerNode> monitor = std::make_shared<MixerNode>();
};

} // namespace

TEST(AudioEngineTest, MonitoringPassesEveryBitInTheSameCycle) {
    for (const std::uint32_t quantum : {16U, 64U, 8192U, 20000U}) {
        MonitoringRig rig;
        const Channels input{noise(quantum, 1), noise(quantum, 2)};
        const auto output = rig.device->turn(quantum, input);
        EXPECT_EQ(firstDifference(output[0], input[0]), -1) << quantum;
        EXPECT_EQ(firstDifference(output[1], input[1]), -1) << quantum;
    }
    MonitoringRig mono(formats(1));
    const Channels input{noise(64, 3)};
    const auto output = mono.device->turn(64, input);
    EXPECT_EQ(firstDifference(output[0], input[0]), -1);
    EXPECT_EQ(firstDifference(output[1], input[0]), -1);
    EXPECT_EQ(mono.device->turn(64), Channels(2, std::vector<float>(64, 0.0F))) << "input gone";
}

TEST(AudioEngineTest, GainChangesAtOnceAndSoundsOverThreeMilliseconds) {
    MonitoringRig rig;
    const Channels ones(2, std::vector<float>(64, 1.0F));
    rig.device->turn(64, ones);
    rig.monitor->setOutputVolume(0.0F);
    EXPECT_EQ(rig.monitor->outputVolume(), 0.0F);
    Channels heard;
    for (int cycle = 0; cycle < 4; ++cycle) {
        append(heard, rig.device->turn(64, ones));
    }
    const auto& left = heard[0];
    for (std::size_t i = 1; i < 144; ++i) {
        ASSERT_LT(left[i], left[i - 1]) << i;
        ASSERT_GT(left[i - 1] - left[i], 0.0F) << i;
        ASSERT_LT(left[i - 1] - left[i], 0.01F) << i;
    }
    EXPECT_EQ(slice(left, 144, 112), std::vector<float>(112, 0.0F));

    rig.monitor->setOutputVolume(1.0F);
    for (int cycle = 0; cycle < 3; ++cycle) {
        rig.device->turn(64, ones);
    }
    const Channels input{noise(64, 4), noise(64, 5)};
    EXPECT_EQ(firstDifference(rig.device->turn(64, input)[0], input[0]), -1) << "unity is exact";

    // What was set before the first cycle was never otherwise: a microphone that is switched
    // off at first must not be heard at all.
    MonitoringRig off;
    off.monitor->setOutputVolume(0.0F);
    EXPECT_EQ(off.device->turn(64, ones), Channels(2, std::vector<float>(64, 0.0F)));
}

TEST(AudioEngineTest, EditsOfTheGraphTakeEffectWhileItRuns) {
    MonitoringRig rig;
    const Channels ones(2, std::vector<float>(8, 1.0F));
    EXPECT_EQ(rig.device->turn(8, ones), ones);
    rig.engine->detach(*rig.monitor);
    EXPECT_EQ(rig.device->turn(8, ones), Channels(2, std::vector<float>(8, 0.0F)));
    EXPECT_FALSE(rig.monitor->isAttached());
    rig.engine->attach(rig.monitor);
    EXPECT_THROW(rig.engine->attach(rig.monitor), AudioError);
    rig.engine->connect(rig.engine->inputNode(), *rig.monitor);
    rig.engine->connect(*rig.monitor, *rig.engine->mainMixerNode());
    EXPECT_EQ(rig.device->turn(8, ones), ones);
    rig.engine->stop();
    EXPECT_FALSE(rig.engine->isRunning());
    EXPECT_EQ(rig.device->turn(8, ones), Channels(2, std::vector<float>(8, 0.0F)));
}
