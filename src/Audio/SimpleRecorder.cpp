#include "Audio/SimpleRecorder.h"

#include "Audio/SimpleAudioEngine.h"
#include "Platform/Sound/File/AudioFile.h"
#include "Platform/System/BackgroundCall.h"
#include "Platform/System/CommandMoment.h"
#include "Platform/System/LogLine.h"
#include "Platform/System/MainQueue.h"
#include "Platform/System/Paths.h"
#include "Platform/System/Trash.h"
#include "Utils/AudioUtils.h"
#include "Utils/TakeMarker.h"

#include <QPointer>

#include <cstdint>
#include <exception>
#include <string>
#include <system_error>
#include <utility>

namespace tessivo {
namespace {

// A progress line for every so many buffers: at 48 kHz one in about four seconds.
constexpr std::int64_t kProgressInterval = 100;

std::string text(bool value) {
    return value ? "true" : "false";
}

} // namespace

// A file being written and how many buffers it was given.
struct SimpleRecorder::Take {
    Take(SimpleRecorder& owner, const sound::AudioFileSettings& settings)
        : recorder(&owner)
        , file(pathOf(owner.recordingURL()), settings)
        , marker(file.path()) {}

    void write(const sound::AudioPCMBuffer& buffer);
    // Takes back what came after the press, when the main thread got to it late.
    void cut(std::int64_t frames);

    const QPointer<SimpleRecorder> recorder;
    sound::AudioFileWriter file;
    const TakeMarker marker;  // goes before the file is closed: then nobody holds it any more
    std::int64_t buffers = 0; // the tap thread's
    bool hasFailed = false;   // likewise
};

void SimpleRecorder::Take::write(const sound::AudioPCMBuffer& buffer) {
    ++buffers;
    if (buffers % kProgressInterval == 0 && buffer.frameLength() != 0) {
        logLine("📼 [RECORDER TAP] Writing buffer #" + std::to_string(buffers) + " with " +
                std::to_string(buffer.frameLength()) + " frames");
    }
    try {
        file.write(buffer);
        if (buffers == 1) {
            logLine("📼 [RECORDER TAP] ✅ First buffer written successfully!");
        }
    } catch (const std::exception& error) {
        logLine("❌ [RECORDER TAP ERROR] Error writing audio buffer #" + std::to_string(buffers) +
                ": " + error.what());
        if (!std::exchange(hasFailed, true)) {
            MainQueue::post([recorder = recorder] {
                if (recorder) {
                    emit recorder->writeFailed();
                }
            });
        }
    }
}

void SimpleRecorder::Take::cut(std::int64_t frames) {
    try {
        file.cut(frames);
    } catch (const std::exception& error) {
        logLine(std::string("❌ [RECORDER ERROR] Failed to cut the end of the take: ") +
                error.what());
    }
}

SimpleRecorder::SimpleRecorder(SimpleAudioEngine& audioEngine)
    : audioEngine_(audioEngine) {}

SimpleRecorder::~SimpleRecorder() = default;

void SimpleRecorder::startRecording() {
    const Moment pressed = CommandMoment::current();
    logLine("📼 [RECORDER] startRecording() called");
    if (isRecording_) {
        logLine("📼 [RECORDER] Already recording, returning");
        return;
    }
    // What is played while the file is being made belongs to the take.
    audioEngine_.holdRecording(pressed);
    const sound::AudioFormat format = audioEngine_.inputNode().outputFormat();
    logLine("📼 [RECORDER] Input format: " + format.description());

    const QUrl url = AudioUtils::createLoopFileURL();
    publish(recordingURL_, url);
    logLine("📼 [RECORDER] Recording URL created: " + url.toString().toStdString());
    logLine("📼 [RECORDER] Creating audio file with input format to avoid conversion");
    try {
        take_ = std::make_shared<Take>(*this, format.settings());
    } catch (const std::exception& error) {
        audioEngine_.releaseRecording();
        logLine(std::string("❌ [RECORDER ERROR] Failed to create audio file: ") + error.what());
        logLine("❌ [RECORDER ERROR] Input format settings: " + format.settings().description());
        throw;
    }
    logLine("📼 [RECORDER] Audio file created successfully with format: " + format.description());
    if (const auto& path = take_->file.path(); path != pathOf(url)) {
        publish(recordingURL_, urlOf(path)); // another take began in this second
    }

    logLine("📼 [RECORDER] Using unified tap system for recording");
    audioEngine_.enableRecording(
        [weakTake = std::weak_ptr(take_)](const auto& buffer, const auto&) {
            if (const auto take = weakTake.lock()) {
                take->write(buffer);
            }
        },
        pressed);
    isRecording_ = true;
    logLine("📼 [RECORDER] Recording started successfully to: " +
            recordingURL_.toString().toStdString());
    logLine("📼 [RECORDER] isRecording = " + text(isRecording_));
}

void SimpleRecorder::stopRecording() {
    const Moment pressed = CommandMoment::current();
    logLine("📼 [RECORDER] stopRecording() called");
    if (!isRecording_) {
        logLine("📼 [RECORDER] Not recording, returning");
        return;
    }
    logLine("📼 [RECORDER] Disabling recording in unified tap system");
    // The handler leaves the tap before the file is closed, so that the last buffers,
    // which it still gets here, are part of the take.
    const auto length = audioEngine_.disableRecording(pressed);
    if (take_) {
        if (length) {
            take_->cut(*length);
        }
        logLine("📼 [RECORDER] Closing audio file");
        take_.reset();
    }
    isRecording_ = false;
    logLine("📼 [RECORDER] Recording stopped - isRecording = " + text(isRecording_));
    if (!recordingURL_.isEmpty()) {
        logLine("📼 [RECORDER] Final recording URL: " + recordingURL_.toString().toStdString());
    }
}

void SimpleRecorder::useRecording(const QUrl& take) {
    publish(recordingURL_, take);
}

void SimpleRecorder::clearRecording(std::function<void()> cleared) {
    if (recordingURL_.isEmpty()) {
        cleared();
        return;
    }
    const auto remove = [path = pathOf(recordingURL_)] {
        std::error_code error;
        throwAway(path, error);
        return error;
    };
    runInBackground(BackgroundQueue::Priority::userInitiated, this, remove,
                    [this, cleared = std::move(cleared)](const auto& /*ignored*/) {
                        publish(recordingURL_, QUrl());
                        cleared();
                    });
}

} // namespace tessivo
