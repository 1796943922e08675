#include "Audio/SimpleRecorder.h"

#include "Audio/EngineRig.h"
#include "Platform/Sound/AudioError.h"
#include "Platform/System/CommandMoment.h"
#include "Platform/System/LogLine.h"
#include "Utils/AudioUtils.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

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

    void feed(const Channels& input) const {
        device->turn(static_cast<std::uint32_t>(input.front().size()), input);
    }
    void record(const Channels& input) {
        recorder.startRecording();
        feed(input);
        recorder.stopRecording();
    }

    // Returns when the disk has answered.
    void clear() const {
        recorder.clearRecording([] {});
        settle();
    }

    SimpleRecorder& recorder;
};

} // namespace

// Of an input with more channels the first two are taken.
TEST(SimpleRecorderTest, SaysEachStepOfATake) {
    RecorderRig rig(formats(8));
    int announced = 0;
    QObject::connect(&rig.recorder, &ObservableObject::objectWillChange, [&] { ++announced; });
    rig.recorder.startRecording();
    rig.recorder.startRecording();
    const std::string format = AudioFormat(48000.0, 2).description();
    const std::string url = rig.recorder.recordingURL().toString().toStdString();
    EXPECT_EQ(url.rfind("file:///", 0), 0U) << url;
    const std::string tap = kEngine + "Installing unified tap with format: " + format;
    EXPECT_EQ(
        rig.lines.take(),
        (Lines{kTag + "startRecording() called", kTag + "Input format: " + format,
               kTag + "Recording URL created: " + url,
               kTag + "Creating audio file with input format to avoid conversion",
               kTag + "Audio file created successfully with format: " + format,
               kTag + "Using unified tap system for recording",
               kEngine + "Enabling recording in unified tap", tap,
               kTag + "Recording started successfully to: " + url, kTag + "isRecording = true",
               kTag + "startRecording() called", kTag + "Already recording, returning"}));
    const Channels input(2, noise(100, 1));
    rig.feed(input);
    rig.recorder.stopRecording();
    rig.recorder.stopRecording();
    EXPECT_EQ(
        rig.lines.take(),
        (Lines{kTag + "stopRecording() called", kTag + "Disabling recording in unified tap system",
               kEngine + "Disabling recording in unified tap", kFirstBuffer, tap,
               kTag + "Closing audio file", kTag + "Recording stopped - isRecording = false",
               kTag + "Final recording URL: " + url, kTag + "stopRecording() called",
               kTag + "Not recording, returning"}));

    const auto file = rig.file();
    EXPECT_EQ(readFile(file), input);
    rig.clear();
    rig.clear();
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_TRUE(rig.recorder.recordingURL().isEmpty());
    EXPECT_EQ(announced, 2);
    EXPECT_EQ(rig.lines.take(), Lines());
}

TEST(SimpleRecorderTest, TakeHasAFileOfItsOwnWhichCanBeFetchedBackWhereThereIsATrash) {
    RecorderRig rig;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    for (auto second = std::chrono::floor<std::chrono::seconds>(now).count(), last = second + 3;
         second <= last; ++second) {
        std::ofstream(pathOf(AudioUtils::getLooperRecordingsDirectory()) /
                      ("loop_" + std::to_string(second) + ".wav"))
            << "another's";
    }
    const Channels input(2, noise(100, 1));
    for (const bool hasTrash : {true, false}) {
        rig.record(input);
        const auto file = rig.file();
        EXPECT_EQ(file.stem().string().substr(15), "-1");
        EXPECT_EQ(readFile(file), input);
        EXPECT_EQ(rig.lines.take().back(),
                  kTag + "Final recording URL: " + urlOf(file).toString().toStdString());
        if (!hasTrash) {
            std::filesystem::remove_all(rig.home.path() / ".local");
            std::ofstream(rig.home.path() / ".local") << "in the way";
        }
        rig.clear();
        EXPECT_FALSE(exists(file));
        EXPECT_EQ(exists(rig.home.trash() / file.filename()), hasTrash);
        EXPECT_FALSE(exists("files" / file.filename())) << "nowhere else";
    }
}

TEST(SimpleRecorderTest, EveryHundredthBufferIsReportedAndCountedAnewPerTake) {
    RecorderRig rig;
    for (int take = 0; take < 2; ++take) {
        rig.record(Channels(2, std::vector(std::size_t{2048} * 205 + 7, 0.1F)));
        Lines progress = rig.lines.take();
        std::erase_if(progress, [](const auto& line) { return line.find("TAP]") == line.npos; });
        EXPECT_EQ(progress,
                  (Lines{kFirstBuffer, "📼 [RECORDER TAP] Writing buffer #100 with 2048 frames",
                         "📼 [RECORDER TAP] Writing buffer #200 with 2048 frames"}));
    }
}

TEST(SimpleRecorderTest, FileThatCannotBeMadeFailsTheStartOnly) {
    RecorderRig rig;
    std::ofstream(rig.home.recordings()) << "in the way";
    std::string reason;
    try {
        rig.recorder.startRecording();
    } catch (const sound::AudioError& error) {
        reason = error.what();
    }
    const AudioFormat format(48000.0, 2);
    const std::string settings = format.settings().description();
    const std::string url = rig.recorder.recordingURL().toString().toStdString();
    EXPECT_EQ(
        rig.lines.take(),
        (Lines{kTag + "startRecording() called", kTag + "Input format: " + format.description(),
               "Failed to create LooperFiles directory: Not a directory",
               kTag + "Recording URL created: " + url,
               kTag + "Creating audio file with input format to avoid conversion",
               "❌ [RECORDER ERROR] Failed to create audio file: " + reason,
               "❌ [RECORDER ERROR] Input format settings: " + settings}));
    EXPECT_FALSE(reason.empty());
    EXPECT_FALSE(rig.recorder.isRecording());

    std::filesystem::remove(rig.home.recordings());
    const Channels input(2, noise(10, 1));
    rig.record(input);
    EXPECT_EQ(readFile(rig.file()), input);
}

TEST(SimpleRecorderTest, NoInputFailsTheStartUntilThereIsOne) {
    RecorderRig rig(formats(0));
    EXPECT_THROW(rig.recorder.startRecording(), sound::AudioError);
    EXPECT_FALSE(std::filesystem::exists(rig.file()));
    rig.device->changeFormats(formats(1));
    runPosted();
    const Channels input{noise(3000, 1)};
    rig.record(input);
    EXPECT_EQ(readFile(rig.file()), input);
}

TEST(SimpleRecorderTest, TakeIsWhatWasPlayedBetweenThePressesHoweverLateTheyAreHandled) {
    RecorderRig rig;
    rig.device->startClock();
    const Moment origin = rig.device->time();
    const auto played = noise(240'000, 1);
    const auto pressedAt = [&](std::int64_t frame) {
        return CommandMoment(origin + std::chrono::nanoseconds(frame * 1'000'000'000 / 48'000));
    };
    rig.feed(Channels(2, slice(played, 0, 24'000)));
    {
        const auto pressed = pressedAt(20'011);
        // The disk takes three and a half seconds to make the file.
        setLogSink([&](std::string_view line) {
            if (line.find("Creating audio file") != std::string_view::npos) {
                rig.feed(Channels(2, slice(played, 24'000, 168'000)));
                std::this_thread::sleep_for(std::chrono::milliseconds(120));
            }
        });
        rig.recorder.startRecording();
    }
    rig.feed(Channels(2, slice(played, 192'000, 48'000)));
    {
        // Before the file was there.
        const auto pressed = pressedAt(140'000);
        rig.recorder.stopRecording();
    }
    EXPECT_EQ(readFile(rig.file()), Channels(2, slice(played, 20'011, 119'989)));
}
