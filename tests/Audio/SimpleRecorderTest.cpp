#include "Audio/SimpleRecorder.h"

#include "Audio/EngineRig.h"
#include "Platform/Sound/AudioError.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <sys/resource.h>

using namespace tessivo;
using namespace tessivo::test;
using sound::AudioFormat;

namespace {

const std::string kTag = "📼 [RECORDER] ";
const std::string kEngine = "🎛️ [ENGINE] ";
const std::string kFirstBuffer = "📼 [RECORDER TAP] ✅ First buffer written successfully!";

struct RecorderRig : EngineRig {
    explicit RecorderRig(sound::AudioDevice::Formats deviceFormats = formats(2))
        : EngineRig(deviceFormats)
        , recorder(engine->createRecorder()) {
        engine->start();
        lines.take();
    }

    std::filesystem::path file() const { return pathOf(recorder.recordingURL()); }

    // A take of that input, in cycles of an uneven length.
    void record(const Channels& input) {
        recorder.startRecording();
        feed(input);
        recorder.stopRecording();
    }

    void feed(const Channels& input) const {
        const std::size_t frames = input.front().size();
        for (std::size_t at = 0; at < frames; at += 700) {
            const std::size_t count = std::min<std::size_t>(700, frames - at);
            Channels cycle;
            for (const auto& channel : input) {
                cycle.push_back(slice(channel, at, count));
            }
            device->turn(static_cast<std::uint32_t>(count), cycle);
        }
    }

    SimpleRecorder& recorder;
};

// Files of the process cannot grow beyond that many bytes; the write fails instead.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        ::getrlimit(RLIMIT_FSIZE, &previous_);
        const rlimit limit{bytes, previous_.rlim_max};
        previousHandler_ = std::signal(SIGXFSZ, SIG_IGN);
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &previous_);
        std::signal(SIGXFSZ, previousHandler_);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit previous_{};
    void (*previousHandler_)(int) = nullptr;
};

} // namespace

TEST(SimpleRecorderTest, SaysEachStepOfATake) {
    RecorderRig rig;
    rig.recorder.startRecording();
    const std::string format = AudioFormat(48000.0, 2).description();
    const std::string url = rig.recorder.recordingURL().toString().toStdString();
    EXPECT_EQ(url.rfind("file:///", 0), 0U) << url;
    EXPECT_EQ(
        rig.lines.take(),
        (Lines{kTag + "startRecording() called", kTag + "Input format: " + format,
               kTag + "Recording URL created: " + url,
               kTag + "Creating audio file with input format to avoid conversion",
               kTag + "Audio file created successfully with format: " + format,
               kTag + "Using unified tap system for recording",
               kEngine + "Enabling recording in unified tap",
               kEngine + "Installing unified tap with format: " + format,
               kTag + "Recording started successfully to: " + url, kTag + "isRecording = true"}));
    rig.recorder.startRecording();
    EXPECT_EQ(rig.lines.take(),
              (Lines{kTag + "startRecording() called", kTag + "Already recording, returning"}));

    rig.feed(Channels(2, std::vector(100, 0.5F)));
    rig.recorder.stopRecording();
    EXPECT_EQ(
        rig.lines.take(),
        (Lines{kTag + "stopRecording() called", kTag + "Disabling recording in unified tap system",
               kEngine + "Disabling recording in unified tap", kFirstBuffer,
               kEngine + "Installing unified tap with format: " + format,
               kTag + "Closing audio file", kTag + "Recording stopped - isRecording = false",
               kTag + "Final recording URL: " + url}));
    rig.recorder.stopRecording();
    EXPECT_EQ(rig.lines.take(),
              (Lines{kTag + "stopRecording() called", kTag + "Not recording, returning"}));
}

TEST(SimpleRecorderTest, TakeHoldsEveryFrameBitForBit) {
    for (const std::uint32_t channels : {1U, 2U, 8U}) {
        RecorderRig rig(formats(channels));
        Channels input{noise(10001, 1)};
        if (channels > 1) {
            input.push_back(noise(10001, 2));
        }
        rig.feed(Channels(input.size(), std::vector(3000, 1.0F))); // before the take
        rig.record(input);
        rig.feed(Channels(input.size(), std::vector(3000, 1.0F))); // and after it
        const Channels take = readFile(rig.file());
        ASSERT_EQ(take.size(), input.size());
        for (std::size_t c = 0; c < take.size(); ++c) {
            EXPECT_EQ(firstDifference(take[c], input[c]), -1) << channels << " channels, " << c;
        }
        EXPECT_EQ(sound::AudioFileReader(rig.file()).format().sampleRate(), 48000.0);
    }
}

TEST(SimpleRecorderTest, EveryHundredthBufferIsReportedAndCountedAnewPerTake) {
    RecorderRig rig;
    for (int take = 0; take < 2; ++take) {
        rig.record(Channels(2, std::vector(std::size_t{2048} * 205 + 7, 0.1F)));
        Lines progress;
        for (const auto& line : rig.lines.take()) {
            if (line.find("[RECORDER TAP]") != std::string::npos) {
                progress.push_back(line);
            }
        }
        EXPECT_EQ(progress,
                  (Lines{kFirstBuffer, "📼 [RECORDER TAP] Writing buffer #100 with 2048 frames",
                         "📼 [RECORDER TAP] Writing buffer #200 with 2048 frames"}));
    }
}

TEST(SimpleRecorderTest, ClearDeletesTheLastTakeAndForgetsIt) {
    RecorderRig rig;
    int announced = 0;
    QObject::connect(&rig.recorder, &ObservableObject::objectWillChange, [&] { ++announced; });
    rig.record(Channels(2, std::vector(10, 0.5F)));
    const auto file = rig.file();
    EXPECT_TRUE(std::filesystem::exists(file));
    rig.lines.take();
    rig.recorder.clearRecording();
    rig.recorder.clearRecording();
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_TRUE(rig.recorder.recordingURL().isEmpty());
    EXPECT_EQ(announced, 2);
    EXPECT_EQ(rig.lines.take(), Lines());
}

TEST(SimpleRecorderTest, TakeOfTheSameSecondLeavesAnOpenOneAlone) {
    RecorderRig rig;
    const Channels first{noise(5000, 1), noise(5000, 2)};
    const Channels second{noise(3000, 3), noise(3000, 4)};
    std::unique_ptr<sound::AudioFileReader> playing;
    std::filesystem::path firstFile;
    do { // again, should the second have ended in between
        rig.record(first);
        firstFile = rig.file();
        playing = std::make_unique<sound::AudioFileReader>(firstFile);
        rig.record(second);
    } while (rig.file() != firstFile);
    EXPECT_EQ(readFile(rig.file()), second);
    std::vector<float> interleaved(10000);
    EXPECT_EQ(playing->read(interleaved), 5000);
    EXPECT_EQ(interleaved[9998], first[0][4999]);
    EXPECT_EQ(interleaved[9999], first[1][4999]);
}

TEST(SimpleRecorderTest, FileThatCannotBeMadeFailsTheStartOnly) {
    RecorderRig rig;
    std::ofstream(rig.home.path() / "Documents") << "in the way";
    std::string reason;
    try {
        rig.recorder.startRecording();
    } catch (const sound::AudioError& error) {
        reason = error.what();
    }
    ASSERT_FALSE(reason.empty());
    const AudioFormat format(48000.0, 2);
    EXPECT_EQ(
        rig.lines.take(),
        (Lines{kTag + "startRecording() called", kTag + "Input format: " + format.description(),
               "Failed to create LooperFiles directory: Not a directory",
               kTag +
                   "Recording URL created: " + rig.recorder.recordingURL().toString().toStdString(),
               kTag + "Creating audio file with input format to avoid conversion",
               "❌ [RECORDER ERROR] Failed to create audio file: " + reason,
               "❌ [RECORDER ERROR] Input format settings: " + format.settings().description()}));
    EXPECT_FALSE(rig.recorder.isRecording());
    EXPECT_FALSE(std::filesystem::exists(rig.file()));

    std::filesystem::remove(rig.home.path() / "Documents");
    const Channels input(2, std::vector(10, 0.5F));
    rig.record(input);
    EXPECT_EQ(readFile(rig.file()), input);
}

TEST(SimpleRecorderTest, NoInputFailsTheStartUntilThereIsOne) {
    RecorderRig rig(formats(0));
    EXPECT_THROW(rig.recorder.startRecording(), sound::AudioError);
    EXPECT_FALSE(rig.recorder.isRecording());
    EXPECT_FALSE(std::filesystem::exists(rig.file()));
    rig.device->changeFormats(formats(1));
    runPosted();
    const Channels input{noise(3000, 1)};
    rig.record(input);
    EXPECT_EQ(readFile(rig.file()), input);
}

TEST(SimpleRecorderTest, FailedWritesAreReportedOneByOneAndTheTakeGoesOn) {
    RecorderRig rig;
    rig.recorder.startRecording();
    const auto input = noise(std::size_t{2048} * 4, 1);
    {
        const FileSizeLimit limit(30000);
        rig.feed({input, input});
        ASSERT_TRUE(runUntil([&] {
            const Lines lines = rig.lines.take();
            return !lines.empty() &&
                   lines.back().rfind("❌ [RECORDER TAP ERROR] Error writing audio buffer #4: ",
                                      0) == 0;
        }));
    }
    EXPECT_TRUE(rig.recorder.isRecording());
    rig.recorder.stopRecording();
    const Channels take = readFile(rig.file());
    EXPECT_EQ(slice(take[0], 0, 2048), slice(input, 0, 2048));
}

TEST(SimpleRecorderTest, EngineThatGoesCompletesTheTake) {
    RecorderRig rig;
    const Channels input{noise(2500, 1), noise(2500, 2)};
    rig.recorder.startRecording();
    rig.feed(input);
    const auto file = rig.file();
    rig.engine.reset();
    EXPECT_EQ(readFile(file), input);
}
