#include "Audio/SimpleAudioEngine.h"

#include "Audio/EngineRig.h"
#include "Audio/SimplePlayer.h"
#include "Audio/SimpleRecorder.h"
#include "Platform/Sound/AudioError.h"

#include <gtest/gtest.h>

#include <limits>

using namespace tessivo;
using namespace tessivo::test;
using sound::AudioFormat;
using sound::AudioPCMBuffer;
using std::chrono::milliseconds;

namespace {

const std::string kEngine = "🎛️ [ENGINE] ";

// The lines of a construction: what is between the output's format and the setup's end.
Lines constructionLines(const AudioFormat& input, const AudioFormat& output, const Lines& middle) {
    Lines lines{"Audio session setup for macOS (automatic)",
                kEngine + "Input format: " + input.description(),
                kEngine + "Output format: " + output.description()};
    lines.insert(lines.end(), middle.begin(), middle.end());
    return lines;
}

Lines settingUp(const AudioFormat& input, const AudioFormat& tap) {
    return {kEngine + "Starting with input format: " + input.description(),
            kEngine + "Input format settings: " + input.settings().description(),
            kEngine + "Enabling level monitoring",
            kEngine + "Enabling level monitoring",
            kEngine + "Installing unified tap with format: " + tap.description(),
            kEngine + "Audio engine setup completed"};
}

Lines starting(const AudioFormat& tap) {
    return {kEngine + "Starting with input format: " + tap.description(),
            kEngine + "Input format settings: " + tap.settings().description(),
            kEngine + "Enabling level monitoring",
            kEngine + "Installing unified tap with format: " + tap.description(),
            kEngine + "Audio engine started successfully"};
}

Lines operator+(Lines a, const Lines& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

AudioPCMBuffer bufferOf(const Channels& channels) {
    const auto frames = static_cast<std::uint32_t>(channels.front().size());
    AudioPCMBuffer buffer(AudioFormat(48000.0, static_cast<std::uint32_t>(channels.size())),
                          frames);
    buffer.setFrameLength(frames);
    for (std::uint32_t c = 0; c < channels.size(); ++c) {
        std::copy(channels[c].begin(), channels[c].end(), buffer.channel(c).begin());
    }
    return buffer;
}

} // namespace

TEST(SimpleAudioEngineTest, SaysWhatItConnects) {
    const AudioFormat output(48000.0, 2);
    for (const std::uint32_t channels : {0U, 1U, 2U}) {
        EngineRig rig(formats(channels));
        const AudioFormat input(48000.0, channels);
        EXPECT_EQ(rig.lines.take(),
                  constructionLines(input, output,
                                    Lines{kEngine + "Channel count OK - direct connection"} +
                                        settingUp(input, input)));
    }
    for (const std::uint32_t channels : {3U, 8U}) {
        EngineRig rig(formats(channels));
        const AudioFormat input(48000.0, channels);
        const AudioFormat stereo(48000.0, 2);
        EXPECT_EQ(rig.lines.take(),
                  constructionLines(
                      input, output,
                      Lines{kEngine + "High channel count detected: " + std::to_string(channels) +
                                " channels",
                            kEngine + "Using selective channel approach to avoid frame size errors",
                            kEngine + "Using stereo input format: " + stereo.description()} +
                          settingUp(input, stereo)));
    }
    EngineRig slower(formats(2, 44100.0));
    const AudioFormat input(44100.0, 2);
    EXPECT_EQ(slower.lines.take(),
              constructionLines(
                  input, output,
                  Lines{"🚨 [ENGINE] SAMPLE RATE MISMATCH DETECTED!",
                        "🚨 [ENGINE] Input: 44100.0Hz, Output: 48000.0Hz",
                        "🚨 [ENGINE] This will cause performance issues and frame size errors",
                        kEngine + "Attempting to use preferred sample rate: 48000.0Hz",
                        kEngine + "Channel count OK - direct connection"} +
                      settingUp(input, input)));
}

TEST(SimpleAudioEngineTest, InputThatNoStereoFormatFitsIsMeteredOnceItHasOne) {
    EngineRig rig(formats(4, 0.0));
    const Lines lines = rig.lines.take();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "❌ [ENGINE] Failed to create stereo input format");
    rig.device->changeFormats(formats(2));
    runPosted();
    rig.lines.take();
    rig.engine->start();
    EXPECT_EQ(rig.lines.take(), starting(AudioFormat(48000.0, 2)));
}

TEST(SimpleAudioEngineTest, StartsAndStopsOnceEach) {
    EngineRig rig;
    rig.lines.take();
    int announced = 0;
    QObject::connect(rig.engine.get(), &ObservableObject::objectWillChange, [&] { ++announced; });
    rig.engine->stop();
    EXPECT_EQ(rig.lines.take(), Lines());

    rig.device->failToStart("no such server");
    try {
        rig.engine->start();
        FAIL() << "must throw";
    } catch (const sound::AudioError& error) {
        EXPECT_STREQ(error.what(), "no such server");
    }
    EXPECT_FALSE(rig.engine->isEngineRunning());
    EXPECT_EQ(rig.lines.take().size(), 2U) << "the format's two lines and nothing else";

    rig.device->failToStart("");
    for (int round = 0; round < 2; ++round) {
        rig.engine->start();
        rig.engine->start();
        EXPECT_TRUE(rig.engine->isEngineRunning());
        EXPECT_EQ(rig.lines.take(), starting(AudioFormat(48000.0, 2)));
        rig.engine->stop();
        rig.engine->stop();
        EXPECT_FALSE(rig.engine->isEngineRunning());
        EXPECT_EQ(rig.lines.take(), Lines{"Audio engine stopped"});
    }
    EXPECT_EQ(announced, 4);
}

TEST(SimpleAudioEngineTest, LevelIsTheMeanMagnitudeOfTheFirstChannel) {
    const auto level = [](const Channels& channels) {
        return SimpleAudioEngine::calculateLevel(bufferOf(channels));
    };
    EXPECT_EQ(level({std::vector(2048, -0.5F), noise(2048, 1)}), 0.5F);
    EXPECT_EQ(level({{}}), 0.0F);
    EXPECT_EQ(SimpleAudioEngine::calculateLevel(AudioPCMBuffer(AudioFormat(), 16)), 0.0F);
    // A 32-bit sum in index order: what comes after the big value is too small to count.
    EXPECT_EQ(level({{-0x1p25F, 1.0F, 1.0F, 1.0F}}), 0x1p23F);
    EXPECT_EQ(level({{1.0F, 1.0F, 1.0F, 0x1p25F}}), 0x1p23F + 1.0F);
}

TEST(SimpleAudioEngineTest, MetersAtMostThirtyTimesASecondAndNeverADeadEngine) {
    EngineRig rig;
    rig.engine->start();
    std::vector<float> levels;
    QObject::connect(rig.engine.get(), &SimpleAudioEngine::inputLevelChanged,
                     [&] { levels.push_back(rig.engine->inputLevel()); });
    const auto turn = [&](const std::vector<float>& samples) {
        rig.device->turn(static_cast<std::uint32_t>(samples.size()), {samples, samples});
    };
    std::vector<float> two(2048, 0.5F);
    two.insert(two.end(), 2048, 0.25F);
    runFor(milliseconds(40));
    turn(two);
    EXPECT_TRUE(levels.empty());
    ASSERT_TRUE(runUntil([&] { return !levels.empty(); }));
    runFor(milliseconds(40));
    turn(std::vector<float>(2048, 0.125F));
    ASSERT_TRUE(runUntil([&] { return levels.size() == 2; }));
    EXPECT_EQ(levels, (std::vector{0.5F, 0.125F})) << "the second of two came too soon";

    std::this_thread::sleep_for(milliseconds(40));
    turn(std::vector<float>(2048, 1.0F));
    std::this_thread::sleep_for(milliseconds(20));
    rig.engine.reset();
    runPosted();
    EXPECT_EQ(levels.size(), 2U);
}

TEST(SimpleAudioEngineTest, MonitoringIsAllOrNothing) {
    EngineRig rig;
    rig.engine->start();
    rig.lines.take();
    const Channels input(2, std::vector(480, 0.5F));
    const auto heard = [&] {
        rig.device->turn(480, input); // the ramp
        return rig.device->turn(480, input);
    };
    const Channels silence(2, std::vector(480, 0.0F));
    EXPECT_EQ(heard(), silence);
    rig.engine->setInputMonitoring(true);
    EXPECT_EQ(heard(), input);
    rig.engine->setInputMonitoring(false);
    EXPECT_EQ(heard(), silence);
    EXPECT_EQ(rig.lines.take(),
              (Lines{kEngine + "Input monitoring enabled", kEngine + "Input monitoring disabled"}));
}

TEST(SimpleAudioEngineTest, ChangedDevicesAreReportedAndATakeKeepsItsFormat) {
    EngineRig rig;
    rig.engine->start();
    auto& recorder = rig.engine->createRecorder();
    const auto changeTo = [&](const AudioFormat& format) {
        rig.lines.take();
        rig.device->changeFormats({format, AudioFormat(48000.0, 2), 48000.0});
        EXPECT_EQ(rig.lines.take(), Lines()) << "not before the main queue";
        runPosted();
        return Lines{"🔄 [ENGINE] Audio configuration changed!",
                     "🔄 [ENGINE] New input format: " + format.description(),
                     "🔄 [ENGINE] New format settings: " + format.settings().description()};
    };
    const Lines idle = changeTo(AudioFormat(48000.0, 1));
    EXPECT_EQ(rig.lines.take(), idle + Lines{"🔄 [ENGINE] ✅ Not recording - next recording "
                                             "will use new format automatically"});
    recorder.startRecording();
    const Lines busy = changeTo(AudioFormat(44100.0, 2));
    const Lines warning{
        "🔄 [ENGINE] ⚠️ Device change detected during recording!",
        "🔄 [ENGINE] Current recording would need to be restarted with new format",
        "🔄 [ENGINE] This is why inputFormat.settings is queried fresh each recording"};
    EXPECT_EQ(rig.lines.take(), busy + warning);
    rig.device->turn(480, {noise(480, 1)});
    recorder.stopRecording();
    EXPECT_EQ(sound::AudioFileReader(pathOf(recorder.recordingURL())).format(),
              AudioFormat(48000.0, 1));
}

TEST(SimpleAudioEngineTest, MakesOneRecorderAndOnePlayer) {
    EngineRig rig;
    rig.lines.take();
    const auto& recorder = rig.engine->createRecorder();
    EXPECT_EQ(&rig.engine->createRecorder(), &recorder);
    EXPECT_EQ(rig.lines.take(), (Lines{kEngine + "createRecorder() called",
                                       kEngine + "Creating new recorder instance",
                                       kEngine + "createRecorder() called",
                                       kEngine + "Returning existing recorder instance"}));
    const auto& player = rig.engine->createPlayer();
    EXPECT_EQ(&rig.engine->createPlayer(), &player);
    EXPECT_EQ(rig.lines.take(), Lines());
}
