#include "Audio/EngineRig.h"
#include "Audio/SimpleRecorder.h"
#include "Platform/Sound/AudioError.h"

#include <gtest/gtest.h>

using namespace tessivo;
using namespace tessivo::test;
using sound::AudioFormat;
using std::chrono::milliseconds;

namespace {

const std::string kTag = "🎛️ [ENGINE] ";

} // namespace

TEST(SimpleAudioEngineTest, SaysWhatItConnects) {
    const auto expect = [](std::uint32_t channels, double rate, const Lines& ofThisInput) {
        EngineRig rig(formats(channels, rate));
        const AudioFormat input(rate, channels);
        Lines lines{"Audio session setup for macOS (automatic)",
                    kTag + "Input format: " + input.description(),
                    kTag + "Output format: " + AudioFormat(48000.0, 2).description()};
        lines.insert(lines.end(), ofThisInput.begin(), ofThisInput.end());
        const std::string tap = AudioFormat(rate, std::min(channels, 2U)).description();
        lines.insert(lines.end(),
                     {kTag + "Starting with input format: " + input.description(),
                      kTag + "Input format settings: " + input.settings().description(),
                      kTag + "Enabling level monitoring", kTag + "Enabling level monitoring",
                      kTag + "Installing unified tap with format: " + tap,
                      kTag + "Audio engine setup completed"});
        EXPECT_EQ(rig.lines.take(), lines);
    };
    const std::string direct = kTag + "Channel count OK - direct connection";
    for (const std::uint32_t channels : {0U, 1U, 2U}) {
        expect(channels, 48000.0, {direct});
    }
    for (const std::uint32_t channels : {3U, 8U}) {
        expect(channels, 48000.0,
               {kTag + "High channel count detected: " + std::to_string(channels) + " channels",
                kTag + "Using selective channel approach to avoid frame size errors",
                kTag + "Using stereo input format: " + AudioFormat(48000.0, 2).description()});
    }
    expect(2, 44100.0,
           {"🚨 [ENGINE] SAMPLE RATE MISMATCH DETECTED!",
            "🚨 [ENGINE] Input: 44100.0Hz, Output: 48000.0Hz",
            "🚨 [ENGINE] This will cause performance issues and frame size errors",
            kTag + "Attempting to use preferred sample rate: 48000.0Hz", direct});
    EngineRig nameless(formats(4, 0.0));
    EXPECT_EQ(nameless.lines.take().back(), "❌ [ENGINE] Failed to create stereo input format");
}

TEST(SimpleAudioEngineTest, StartsAndStopsOnceEach) {
    EngineRig rig;
    const AudioFormat format(48000.0, 2);
    int announced = 0;
    QObject::connect(rig.engine.get(), &ObservableObject::objectWillChange, [&] { ++announced; });
    rig.lines.take();
    rig.device->failToStart("no such server");
    EXPECT_THROW(rig.engine->start(), sound::AudioError);
    EXPECT_FALSE(rig.engine->isEngineRunning());
    EXPECT_EQ(rig.lines.take().size(), 2U) << "the format's two lines and nothing else";
    rig.device->failToStart("");
    for (int round = 0; round < 2; ++round) {
        rig.engine->start();
        rig.engine->start();
        EXPECT_TRUE(rig.engine->isEngineRunning());
        EXPECT_EQ(rig.lines.take(),
                  (Lines{kTag + "Starting with input format: " + format.description(),
                         kTag + "Input format settings: " + format.settings().description(),
                         kTag + "Enabling level monitoring",
                         kTag + "Installing unified tap with format: " + format.description(),
                         kTag + "Audio engine started successfully"}));
        rig.engine->stop();
        rig.engine->stop();
        EXPECT_FALSE(rig.engine->isEngineRunning());
        EXPECT_EQ(rig.lines.take(), Lines{"Audio engine stopped"});
    }
    EXPECT_EQ(announced, 4);
}

TEST(SimpleAudioEngineTest, LevelIsTheMeanMagnitudeOfTheFirstChannel) {
    const auto level = [](const std::vector<float>& first, std::uint32_t channels = 2) {
        const auto frames = static_cast<std::uint32_t>(first.size());
        sound::AudioPCMBuffer buffer(AudioFormat(48000.0, channels), frames);
        buffer.setFrameLength(frames);
        if (channels > 0) {
            std::copy(first.begin(), first.end(), buffer.channel(0).begin());
            std::fill(buffer.channel(1).begin(), buffer.channel(1).end(), 9.0F);
        }
        return SimpleAudioEngine::calculateLevel(buffer);
    };
    EXPECT_EQ(level(std::vector(2048, -0.5F)), 0.5F);
    EXPECT_EQ(level({}), 0.0F);
    EXPECT_EQ(level({1.0F}, 0), 0.0F);
    // A 32-bit sum in index order: what comes after the big value is too small to count.
    EXPECT_EQ(level({-0x1p25F, 1.0F, 1.0F, 1.0F}), 0x1p23F);
    EXPECT_EQ(level({1.0F, 1.0F, 2.0F, 0x1p25F}), 0x1p23F + 1.0F);
}

TEST(SimpleAudioEngineTest, MetersAtMostThirtyTimesASecondAndNeverADeadEngine) {
    EngineRig rig;
    rig.engine->start();
    std::vector<float> levels;
    QObject::connect(rig.engine.get(), &SimpleAudioEngine::inputLevelChanged,
                     [&] { levels.push_back(rig.engine->inputLevel()); });
    const auto turn = [&](std::vector<float> samples) {
        std::this_thread::sleep_for(milliseconds(40));
        rig.device->turn(static_cast<std::uint32_t>(samples.size()), {samples, samples});
    };
    std::vector<float> two(2048, 0.5F);
    two.insert(two.end(), 2048, 0.25F);
    turn(two);
    EXPECT_TRUE(levels.empty());
    ASSERT_TRUE(runUntil([&] { return !levels.empty(); }));
    turn(std::vector(2048, 0.125F));
    ASSERT_TRUE(runUntil([&] { return levels.size() == 2; }));
    EXPECT_EQ(levels, (std::vector{0.5F, 0.125F})) << "the second of two came too soon";
    rig.engine->createRecorder().startRecording();
    turn(std::vector(2048, 0.25F));
    EXPECT_TRUE(runUntil([&] { return levels.back() == 0.25F; })) << "also during a take";
    rig.engine->createRecorder().stopRecording();

    turn(std::vector(2048, 1.0F));
    std::this_thread::sleep_for(milliseconds(20));
    rig.engine.reset();
    EXPECT_EQ(rig.lines.take().back(), "Audio engine stopped");
    runPosted();
    EXPECT_EQ(levels.size(), 3U);
}

TEST(SimpleAudioEngineTest, TellsOfEverySampleAtFullScale) {
    struct Case {
        float sample;
        std::size_t channel;
        std::size_t frame; // from 2048 on, no buffer of the meter has it
        bool peaks;
    };
    for (const Case& c : {Case{0.9999F, 0, 1000, false}, Case{1.0F, 0, 2047, true},
                          Case{-1.0F, 1, 0, true}, Case{7.0F, 1, 3000, true}}) {
        EngineRig rig;
        rig.engine->start();
        int levels = 0;
        int peaks = 0;
        QObject::connect(rig.engine.get(), &SimpleAudioEngine::inputLevelChanged,
                         [&] { ++levels; });
        QObject::connect(rig.engine.get(), &SimpleAudioEngine::inputPeaked, [&] { ++peaks; });
        Channels input(2, std::vector(4096, 0.25F));
        input[c.channel][c.frame] = c.sample;
        for (int turn = 1; turn <= 2; ++turn) {
            std::this_thread::sleep_for(milliseconds(40));
            rig.device->turn(4096, input);
            EXPECT_TRUE(runUntil([&] { return levels == turn; }));
            EXPECT_EQ(peaks, c.peaks ? 1 : 0) << c.sample;
            input.assign(2, std::vector(4096, 0.5F));
        }
    }
}

TEST(SimpleAudioEngineTest, ChangedDevicesAreReportedAndATakeKeepsItsFormat) {
    EngineRig rig;
    rig.engine->start();
    auto& recorder = rig.engine->createRecorder();
    const auto changeTo = [&](const AudioFormat& format, const Lines& rest) {
        rig.lines.take();
        rig.device->changeFormats({format, AudioFormat(48000.0, 2), 48000.0});
        EXPECT_EQ(rig.lines.take(), Lines()) << "not before the main queue";
        runPosted();
        Lines expected{"🔄 [ENGINE] Audio configuration changed!",
                       "🔄 [ENGINE] New input format: " + format.description(),
                       "🔄 [ENGINE] New format settings: " + format.settings().description()};
        expected.insert(expected.end(), rest.begin(), rest.end());
        EXPECT_EQ(rig.lines.take(), expected);
    };
    changeTo(AudioFormat(48000.0, 1),
             {"🔄 [ENGINE] ✅ Not recording - next recording will use new format automatically"});
    recorder.startRecording();
    changeTo(AudioFormat(44100.0, 2),
             {"🔄 [ENGINE] ⚠️ Device change detected during recording!",
              "🔄 [ENGINE] Current recording would need to be restarted with new format",
              "🔄 [ENGINE] This is why inputFormat.settings is queried fresh each recording"});
    rig.device->turn(480, {noise(480, 1)});
    recorder.stopRecording();
    EXPECT_EQ(sound::AudioFileReader(pathOf(recorder.recordingURL())).format(),
              AudioFormat(48000.0, 1));

    // A notice on its way to an engine that is gone does nothing.
    rig.device->changeFormats(formats(2));
    rig.engine.reset();
    rig.lines.take();
    runPosted();
    EXPECT_EQ(rig.lines.take(), Lines());
}

TEST(SimpleAudioEngineTest, MakesOneRecorderAndOnePlayer) {
    EngineRig rig;
    rig.lines.take();
    EXPECT_EQ(&rig.engine->createRecorder(), &rig.engine->createRecorder());
    EXPECT_EQ(&rig.engine->createPlayer(), &rig.engine->createPlayer());
    EXPECT_EQ(
        rig.lines.take(),
        (Lines{kTag + "createRecorder() called", kTag + "Creating new recorder instance",
               kTag + "createRecorder() called", kTag + "Returning existing recorder instance"}));
}
